#include <unistd.h>

#include <QEventLoop>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>
#include <cerrno>
#include <optional>

#include "CliCommand.h"
#include "DownloadManager.h"
#include "DropboxManager.h"
#include "DropboxSignOut.h"
#include "DropboxTokenStore.h"
#include "NotificationCenter.h"
#include "PrintedMessages.h"

namespace {

// Runs the event loop until `done` holds, or `timeoutMs` passes (0: no limit).
bool waitFor(const std::function<bool()>& done, int timeoutMs = 0) {
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done()) {
            loop.quit();
        }
    });
    poll.start(10);
    bool timedOut = false;
    if (timeoutMs > 0) {
        QTimer::singleShot(timeoutMs, &loop, [&] {
            timedOut = true;
            loop.quit();
        });
    }
    if (!done()) {
        loop.exec();
    }
    return !timedOut && done();
}

int notConfigured() {
    return cliFail(
        "the cloud client is not configured: set CORVANTIS_DROPBOX_APP_KEY or the DropboxAppKey "
        "setting to the application's key (15 lower-case letters and digits)");
}

using Listing = Result<std::vector<FileProtocol>>;

std::optional<Listing> listFolder(const QString& path) {
    std::optional<Listing> listing;
    DropboxManager::shared().listFolder(path, std::nullopt, std::nullopt,
                                        [&](const Listing& answer) { listing = answer; });
    waitFor([&] { return listing.has_value(); });
    return listing;
}

// One line of standard input, read without holding the event loop, so that a
// redirect to the loopback address can come first.
class StdinLine : public QObject {
public:
    StdinLine() : m_notifier(STDIN_FILENO, QSocketNotifier::Read) {
        connect(&m_notifier, &QSocketNotifier::activated, this, &StdinLine::read);
    }

    std::optional<QString> line;
    bool ended = false;

private:
    void read() {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        if (n > 0) {
            m_bytes.append(buffer, n);
        }
        const qsizetype newline = m_bytes.indexOf('\n');
        if (newline >= 0 || n <= 0) {
            m_notifier.setEnabled(false);
            ended = n <= 0;
            if (newline >= 0 || !m_bytes.isEmpty()) {
                line = QString::fromUtf8(m_bytes.left(newline)).trimmed();
            }
        }
    }

    QSocketNotifier m_notifier;
    QByteArray m_bytes;
};

int login() {
    if (!DropboxClientsManager::isConfigured()) {
        return notConfigured();
    }
    std::optional<VoidResult> result;
    DropboxManager::shared().completion = [&](const VoidResult& answer) { result = answer; };
    bool redirected = false;
    DropboxClientsManager::setLoopbackHandler([&](const QUrl& url) {
        redirected = true;
        DropboxManager::shared().openURL(url);
    });
    // The browser comes back to this machine's loopback address; from another
    // machine's browser, the address it was sent to (or its code) is pasted here.
    DropboxClientsManager::authorizeFromController(
        [](const QUrl& url) {
            cliErr() << "Open this address and allow access. If this window does not go on by "
                        "itself, paste the code (or the address you were sent to) here:"
                     << Qt::endl;
            cliOut() << url.toString(QUrl::FullyEncoded) << Qt::endl;
        },
        DropboxClientsManager::Redirect::loopback);
    StdinLine input;
    waitFor([&] {
        return redirected || input.line ||
               (input.ended && !DropboxClientsManager::isAwaitingLoopbackRedirect());
    });
    if (!redirected) {
        const QString answer = input.line.value_or(QString());
        if (answer.isEmpty()) {
            return cliFail("no code given; not signed in");
        }
        const QUrl redirect = answer.contains(QLatin1String("://"))
                                  ? QUrl(answer)
                                  : DropboxClientsManager::redirectUrlForCode(answer);
        DropboxManager::shared().openURL(redirect);
    }
    waitFor([&] { return result.has_value(); });
    if (!result->isSuccess()) {
        cliErr() << "corvantis-cli: sign-in failed: " << errorText(result->error()) << Qt::endl;
        return 1;
    }
    cliOut() << "signed in" << Qt::endl;
    return 0;
}

int list(const QString& path) {
    const std::optional<Listing> listing = listFolder(path);
    if (!listing->isSuccess()) {
        cliErr() << "corvantis-cli: " << errorText(listing->error()) << Qt::endl;
        return 1;
    }
    for (const FileProtocol& entry : listing->value()) {
        if (entry.folder()) {
            cliOut() << "folder\t" << entry.name() << '\n';
        } else {
            cliOut() << "file\t" << entry.id() << '\t' << entry.name() << '\n';
        }
    }
    cliOut().flush();
    return 0;
}

std::optional<CloudFile> findFile(const std::vector<FileProtocol>& entries, const QString& name) {
    for (const Qt::CaseSensitivity sensitivity : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        for (const FileProtocol& entry : entries) {
            if (entry.cloudFile() && entry.name().compare(name, sensitivity) == 0) {
                return *entry.cloudFile();
            }
        }
    }
    return std::nullopt;
}

int get(const QString& path) {
    const QString parent = path.section(QLatin1Char('/'), 0, -2);
    const QString name = path.section(QLatin1Char('/'), -1);
    const std::optional<Listing> listing = listFolder(parent);
    if (!listing->isSuccess()) {
        cliErr() << "corvantis-cli: " << errorText(listing->error()) << Qt::endl;
        return 1;
    }
    const std::optional<CloudFile> file = findFile(listing->value(), name);
    if (!file) {
        return cliFail(QStringLiteral("no music file \"%1\" in \"%2\"").arg(name, parent));
    }
    DownloadManager& books = DownloadManager::shared();
    if (const Status status = books.downloadStatus(*file); status.kind == Status::Kind::completed) {
        cliErr() << "already downloaded" << Qt::endl;
        cliOut() << "saved: " << books.downloadedTasks.value(file->id) << Qt::endl;
        return 0;
    }
    NotificationCenter& center = NotificationCenter::defaultCenter();
    const auto token = center.addObserver(
        DownloadManager::statusDidChangeNotification, nullptr, [&](const Notification&) {
            const Status status = books.downloadStatus(*file);
            if (status.kind == Status::Kind::downloading) {
                cliErr() << "\r" << name << ": " << int(status.progress * 100) << "%" << Qt::flush;
            }
        });
    if (!books.startDownload(*file)) {
        center.removeObserver(token);
        return cliFail(QStringLiteral("cannot start the download of \"%1\"").arg(name));
    }
    waitFor([&] { return books.downloadStatus(*file).kind != Status::Kind::downloading; });
    center.removeObserver(token);
    cliErr() << Qt::endl;
    if (books.downloadStatus(*file).kind != Status::Kind::completed) {
        return cliFail(QStringLiteral("the download of \"%1\" failed").arg(name));
    }
    cliOut() << "saved: " << books.downloadedTasks.value(file->id) << Qt::endl;
    return 0;
}

int logout() {
    PrintedMessages messages;
    bool revoked = false;
    signOutOfDropbox(messages, [&] { revoked = true; });
    // The service hears of it within a bound; signing out locally never waits on it.
    waitFor([&] { return revoked; }, 10000);
    return messages.failed ? 1 : 0;
}

int runAction(const QString& action, const QStringList& arguments) {
    if (action == QLatin1String("login") && arguments.size() == 1) {
        return login();
    }
    if (action == QLatin1String("ls") && arguments.size() <= 2) {
        return list(arguments.value(1));
    }
    if (action == QLatin1String("get") && arguments.size() == 2) {
        return get(arguments[1]);
    }
    if (action == QLatin1String("status") && arguments.size() == 1) {
        cliOut() << (DropboxClientsManager::authorizedClient() ? "signed in" : "signed out")
                 << Qt::endl;
        return 0;
    }
    if (action == QLatin1String("logout") && arguments.size() == 1) {
        return logout();
    }
    return cliFail("usage: dropbox login | ls [PATH] | get PATH | status | logout");
}

}  // namespace

int runDropboxCommand(const QStringList& arguments) {
    DropboxManager::shared();
    const int code = runAction(arguments.value(0), arguments);
    // A sign-in on its way into the keychain (or out of it) gets there
    // before the command ends; the keychain's own bound keeps this short.
    waitFor([] { return !DropboxTokenStore::keychainBusy(); });
    return code;
}
