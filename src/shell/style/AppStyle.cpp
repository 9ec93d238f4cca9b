#include "AppStyle.h"

#include <QtQml/qqmlextensionplugin.h>
#include <QQuickStyle>

Q_IMPORT_QML_PLUGIN(Corvantis_StylePlugin)

void installAppStyle() {
    QQuickStyle::setStyle(QStringLiteral("Corvantis.Style"));
    QQuickStyle::setFallbackStyle(QStringLiteral("Basic"));
}
