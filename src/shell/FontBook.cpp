#include "FontBook.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QHash>
#include <QLoggingCategory>
#include <QQmlEngine>

#include <fontconfig/fontconfig.h>

namespace {

Q_LOGGING_CATEGORY(lcFonts, "corvantis.fonts")

const QString kFamily = QStringLiteral("Lato");
const QString kIconFamily = QStringLiteral("Material Icons");

// Glyph name -> code point in the icon font.
const QHash<QString, char32_t>& glyphs() {
    static const QHash<QString, char32_t> points{
        {QStringLiteral("play"), 0xe037},       {QStringLiteral("pause"), 0xe034},
        {QStringLiteral("next"), 0xe044},       {QStringLiteral("previous"), 0xe045},
        {QStringLiteral("shuffle"), 0xe043},    {QStringLiteral("repeat"), 0xe040},
        {QStringLiteral("repeat one"), 0xe041}, {QStringLiteral("menu"), 0xe5d2},
        {QStringLiteral("add"), 0xe145},        {QStringLiteral("close"), 0xe5cd},
        {QStringLiteral("cloud"), 0xe2bd},      {QStringLiteral("folder"), 0xe2c7},
        {QStringLiteral("file"), 0xe24d},       {QStringLiteral("download"), 0xe2c4},
        {QStringLiteral("check"), 0xe5ca},      {QStringLiteral("search"), 0xe8b6},
        {QStringLiteral("back"), 0xe5c4},       {QStringLiteral("more"), 0xe5d4},
        {QStringLiteral("library"), 0xe030},    {QStringLiteral("equalizer"), 0xe1b8},
        {QStringLiteral("album"), 0xe019},      {QStringLiteral("person"), 0xe7fd},
        {QStringLiteral("note"), 0xe405},       {QStringLiteral("wifi"), 0xe63e},
        {QStringLiteral("delete"), 0xe872},     {QStringLiteral("edit"), 0xe3c9},
        {QStringLiteral("sort"), 0xe164},       {QStringLiteral("playlist"), 0xe03d},
        {QStringLiteral("speaker"), 0xe32d},    {QStringLiteral("tune"), 0xe429},
        {QStringLiteral("volume up"), 0xe050},  {QStringLiteral("volume down"), 0xe04d},
        {QStringLiteral("save"), 0xe161},       {QStringLiteral("expand more"), 0xe5cf},
    };
    return points;
}

const QHash<QString, QFont::Weight>& table() {
    static const QHash<QString, QFont::Weight> weights{
        {QStringLiteral("Avenir-Light"), QFont::Light},
        {QStringLiteral("Avenir-Black"), QFont::Black},
        {QStringLiteral("AvenirNext-Medium"), QFont::Medium},
        {QStringLiteral("AvenirNext-DemiBold"), QFont::DemiBold},
        {QStringLiteral("AvenirNext-Bold"), QFont::Bold},
    };
    return weights;
}

// The icon package puts its web copies in a directory of their own.
constexpr char kRejectWebIconFonts[] = R"(<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig><selectfont><rejectfont>
  <glob>*/material-design-icons-iconfont/*.woff</glob>
  <glob>*/material-design-icons-iconfont/*.woff2</glob>
</rejectfont></selectfont></fontconfig>)";

}  // namespace

bool FontBook::preferPlainIconFont() {
    // A configuration of our own, loaded once in place of the default one
    // Qt would otherwise load: the start reads the font caches no more often.
    FcConfig* config = FcInitLoadConfig();
    if (!config) {
        return false;
    }
    const bool loaded =
        FcConfigParseAndLoadFromMemory(
            config, reinterpret_cast<const FcChar8*>(kRejectWebIconFonts), FcFalse) &&
        FcConfigBuildFonts(config) && FcConfigSetCurrent(config);
    if (!loaded) {
        qCWarning(lcFonts) << "the icon font's web copies stay in: the font configuration"
                              " could not be changed";
    }
    FcConfigDestroy(config);  // the current configuration holds its own reference
    return loaded;
}

void FontBook::warmUp() {
    QList<QFont> faces{QFont(kFamily), QFont(kIconFamily)};
    for (const QFont::Weight weight : table()) {
        QFont face(kFamily);
        face.setWeight(weight);
        faces.append(face);
    }
    for (QFont& face : faces) {
        face.setPixelSize(16);
        // Asking for a measure opens the face.
        QFontMetricsF(face).height();
    }
}

FontBook* FontBook::create(QQmlEngine* engine, QJSEngine*) {
    return new FontBook(engine);
}

bool FontBook::isKnown(const QString& name) {
    return table().contains(name);
}

std::optional<QFont> FontBook::font(const QString& name, qreal pixelSize) {
    const auto found = table().constFind(name);
    if (found == table().constEnd()) {
        return std::nullopt;
    }
    QFont font(kFamily);
    font.setWeight(*found);
    font.setPixelSize(std::max(1, qRound(pixelSize)));
    return font;
}

QString FontBook::family(const QString& name) {
    return isKnown(name) ? kFamily : QGuiApplication::font().family();
}

int FontBook::weight(const QString& name) {
    const auto found = table().constFind(name);
    return found == table().constEnd() ? QFont::Normal : *found;
}

QString FontBook::iconFamily() {
    return kIconFamily;
}

QString FontBook::glyph(const QString& name) {
    const auto found = glyphs().constFind(name);
    if (found == glyphs().constEnd()) {
        qCWarning(lcFonts).noquote() << "No glyph named" << name;
        return {};
    }
    const char32_t point = *found;
    return QString::fromUcs4(&point, 1);
}

QStringList FontBook::glyphNames() {
    return glyphs().keys();
}
