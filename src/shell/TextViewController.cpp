#include "TextViewController.h"

#include <QLoggingCategory>

#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcTextPage, "corvantis.textpage")

namespace {
const QString kPageAddressKey = QStringLiteral("BUTTON_CLICKED");
}

TextViewController::TextViewController(QObject* parent) : ViewController(parent) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/TextView.qml")));
}

void TextViewController::viewDidLoad() {
    // The page is all this screen has; there is nothing of the parent's to set up.
    const std::optional<QString> stored = UserDefaults::standard().stringForKey(kPageAddressKey);
    if (!stored) {
        return;
    }
    const QUrl url(*stored, QUrl::StrictMode);
    if (!url.isValid()) {
        qCWarning(lcTextPage).noquote() << "Not a page address, nothing is shown:" << *stored;
        return;
    }
    m_requestedUrl = url;
    emit loadRequested(m_requestedUrl);
}

void TextViewController::didClickDone() {
    dismissViewController(true);
}
