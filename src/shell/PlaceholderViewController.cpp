#include "PlaceholderViewController.h"

PlaceholderViewController::PlaceholderViewController(const QString& bundleName, QObject* parent)
    : ViewController(parent), m_bundleName(bundleName) {
    setTitle(bundleName);
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/PlaceholderView.qml")));
}

void PlaceholderViewController::didClickClose() {
    if (presentingViewController() != nullptr || parentViewController() != nullptr) {
        dismissViewController(true);
    }
}
