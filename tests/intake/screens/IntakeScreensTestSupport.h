#pragma once

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrl>

#include "CloudTestSupport.h"
#include "DownloadViewController.h"
#include "DropboxViewController.h"

// The user's browser, as far as a sign-in needs one: it visits the service's
// page and follows the redirect back to this machine's loopback listener.
inline void signInWithBrowser(FakeDropbox& fake, QNetworkAccessManager& network) {
    DownloadViewController::setOpenURL([&fake, &network](const QUrl& authorizeUrl) {
        const QUrl redirect(fake.visitAuthorizePage(authorizeUrl));
        QNetworkReply* reply = network.get(QNetworkRequest(redirect));
        QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    });
}

// The names of a browser's rows, in order.
inline QStringList rowNames(const FileManagerViewController& browser) {
    QStringList names;
    for (const FileProtocol& entry : browser.files()) {
        names.append(entry.name());
    }
    return names;
}

// The row of the entry named `name`; -1 when none.
inline int rowOf(const FileManagerViewController& browser, const QString& name) {
    return int(rowNames(browser).indexOf(name));
}
