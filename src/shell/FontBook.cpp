#include "FontBook.h"

#include <QGuiApplication>
#include <QHash>
#include <QQmlEngine>

namespace {

const QString kFamily = QStringLiteral("Lato");

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

}  // namespace

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
