#include "ImageCatalog.h"

#include <QHash>
#include <QLoggingCategory>
#include <QQmlEngine>

Q_LOGGING_CATEGORY(lcImages, "corvantis.images")

namespace {

// Literal name -> drawing. Names keep their original endings ("... Icon.png")
// because the screens ask for them that way.
const QHash<QString, QString>& table() {
    static const QHash<QString, QString> images{
        {QStringLiteral("wave"), QStringLiteral("qrc:/images/wave.svg")},
        {QStringLiteral("Album Art Placeholder"),
         QStringLiteral("qrc:/images/Album Art Placeholder.svg")},
        {QStringLiteral("cd-90"), QStringLiteral("qrc:/images/cd-90.svg")},
        {QStringLiteral("person-90"), QStringLiteral("qrc:/images/person-90.svg")},
        {QStringLiteral("Tutorial 1"), QStringLiteral("qrc:/images/Tutorial 1.svg")},
        {QStringLiteral("Tutorial 2"), QStringLiteral("qrc:/images/Tutorial 2.svg")},
        {QStringLiteral("AddBtn"), QStringLiteral("qrc:/images/AddBtn.svg")},
        {QStringLiteral("close_light_gray"), QStringLiteral("qrc:/images/close_light_gray.svg")},
        {QStringLiteral("Play (48pt)"), QStringLiteral("qrc:/images/Play (48pt).svg")},
        {QStringLiteral("Pause (48pt)"), QStringLiteral("qrc:/images/Pause (48pt).svg")},
        {QStringLiteral("Repeat Icon.png"), QStringLiteral("qrc:/images/Repeat Icon.svg")},
        {QStringLiteral("Repeat One Icon.png"), QStringLiteral("qrc:/images/Repeat One Icon.svg")},
        // The animated bars are a QML drawing of their own.
        {QStringLiteral("wave_1x"), QStringLiteral("qrc:/Corvantis/Shell/WaveBars.qml")},
    };
    return images;
}

}  // namespace

ImageCatalog* ImageCatalog::create(QQmlEngine* engine, QJSEngine*) {
    return new ImageCatalog(engine);
}

QUrl ImageCatalog::source(const QString& name) {
    const auto found = table().constFind(name);
    if (found == table().constEnd()) {
        qCWarning(lcImages).noquote() << "No drawing for the image" << name;
        return {};
    }
    return QUrl(*found);
}

bool ImageCatalog::contains(const QString& name) {
    return table().contains(name);
}

QStringList ImageCatalog::names() {
    return table().keys();
}
