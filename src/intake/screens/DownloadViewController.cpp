#include "DownloadViewController.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>

#include "AlertController.h"
#include "DesktopEntry.h"
#include "DocumentImporter.h"
#include "DropboxManager.h"
#include "Localization.h"
#include "Log.h"
#include "MimeType.h"
#include "Navigation.h"
#include "ProgressHUD.h"
#include "Storyboard.h"

using Intake::Group;

namespace {

void openInSystemBrowser(const QUrl& url) {
    if (!QDesktopServices::openUrl(url)) {
        systemLog(QStringLiteral("No browser could be opened for the sign-in page"));
    }
}

DownloadViewController::OpenUrl& openUrlHandler() {
    static DownloadViewController::OpenUrl handler = openInSystemBrowser;
    return handler;
}

// The redirect comes back through the desktop when our entry claims the
// service's links, else to a listener on the loopback address.
DropboxClientsManager::Redirect signInRedirect() {
    QFile entry(DesktopEntry::applicationsDirectory() + QLatin1Char('/') +
                DesktopEntry::fileName());
    if (entry.open(QIODevice::ReadOnly) &&
        entry.readAll().contains(
            (QStringLiteral("x-scheme-handler/db-") + DropboxClientsManager::appKey()).toUtf8())) {
        return DropboxClientsManager::Redirect::scheme;
    }
    return DropboxClientsManager::Redirect::loopback;
}

// Hands the importer's messages to the main thread in the order they come.
class QueuedPresenter : public MessagePresenter {
public:
    void presentMessage(const QString& title, const QString& message) override {
        QMetaObject::invokeMethod(
            qApp, [title, message] { DownloadViewController::presentMessage(title, message); },
            Qt::QueuedConnection);
    }
};

}  // namespace

void DownloadViewController::setOpenURL(OpenUrl openURL) {
    openUrlHandler() = openURL ? std::move(openURL) : openInSystemBrowser;
}

DownloadViewController::DownloadViewController(QObject* parent) : ViewController(parent) {}

QStringList DownloadViewController::audioNameFilters() {
    QStringList patterns;
    const auto& table = mimeTypesByExtension();
    for (auto it = table.begin(); it != table.end(); ++it) {
        if (it.value().group() == Group::audio) {
            patterns.append(QStringLiteral("*.") + it.key());
        }
    }
    std::sort(patterns.begin(), patterns.end());
    return {Localization::text("download_audio_files") + QStringLiteral(" (") +
            patterns.join(QLatin1Char(' ')) + QLatin1Char(')')};
}

void DownloadViewController::didClickDropBox() {
    ProgressHUD::shared().show(ProgressHUDType::loading, this);
    DropboxManager& manager = DropboxManager::shared();
    if (DropboxClientsManager::authorizedClient()) {
        ProgressHUD::shared().dismiss(0);
        performSegue(dropboxSegue);
        return;
    }
    QPointer<DownloadViewController> weak(this);
    manager.completion = [weak](const VoidResult& result) {
        if (!weak) {
            return;
        }
        if (result.isSuccess()) {
            ProgressHUD::shared().dismiss(0);
            weak->performSegue(dropboxSegue);
        } else {
            ProgressHUD::shared().showError(result.error(), weak);
        }
    };
    if (!DropboxClientsManager::authorizeFromController(openUrlHandler(), signInRedirect())) {
        manager.completion = nullptr;
        ProgressHUD::shared().show(ProgressHUDType::error, this,
                                   Localization::text("download_dropbox_not_configured"));
    }
}

void DownloadViewController::didClickFiles() {
    emit documentPickerRequested();
}

void DownloadViewController::didClickWiFi() {
    performSegue(wifiSegue);
}

void DownloadViewController::didTapClose() {
    dismissViewController(true);
}

void DownloadViewController::documentPickerDidPickDocumentsAtURLs(const QList<QUrl>& urls) {
    importDocuments(urls);
}

void DownloadViewController::documentPickerWasCancelled() {
    ::documentPickerWasCancelled();
}

void DownloadViewController::performSegue(const QString& identifier) {
    const QString target = identifier == wifiSegue      ? QStringLiteral("wifi")
                           : identifier == dropboxSegue ? QStringLiteral("dropbox")
                                                        : QString();
    if (target.isEmpty()) {
        systemLog(QStringLiteral("No screen behind the segue ") + identifier);
        return;
    }
    ViewController* next = Storyboard::storyboardWithName(QStringLiteral("Download"))
                               .instantiateViewControllerWithIdentifier(target);
    presentViewController(next, true);
}

void DownloadViewController::setImporting(bool importing) {
    if (m_importing != importing) {
        m_importing = importing;
        emit importingChanged();
    }
}

void DownloadViewController::importDocuments(const QList<QUrl>& urls) {
    setImporting(true);
    ProgressHUD::shared().show(ProgressHUDType::loading, this, {}, false);
    QPointer<DownloadViewController> weak(this);
    const auto showProgress = [weak](int handled, int total) {
        QMetaObject::invokeMethod(
            qApp,
            [weak, handled, total] {
                if (weak && weak->m_importing) {
                    ProgressHUD::shared().show(
                        ProgressHUDType::loading, weak,
                        Localization::text("download_importing_progress").arg(handled).arg(total),
                        false);
                }
            },
            Qt::QueuedConnection);
    };
    // The copy streams through the disk on a worker so that the window keeps
    // drawing; the messages and the end are queued behind each other.
    (void)QtConcurrent::run([urls, showProgress, weak] {
        QueuedPresenter presenter;
        ::importDocuments(urls, presenter, showProgress);
        QMetaObject::invokeMethod(
            qApp,
            [weak] {
                ProgressHUD::shared().dismiss(0);
                if (weak) {
                    weak->setImporting(false);
                    emit weak->importFinished();
                }
            },
            Qt::QueuedConnection);
    });
}

void DownloadViewController::presentMessage(const QString& title, const QString& message) {
    Navigation& navigation = Navigation::shared();
    ViewController* top =
        navigation.hasKeyWindow() ? navigation.topPresentedViewController() : nullptr;
    if (!top) {
        systemLog(
            QStringLiteral("Failed to find a suitable view controller to present the alert."));
        return;
    }
    top->presentViewController(AlertController::okAlert(title, message), true);
}
