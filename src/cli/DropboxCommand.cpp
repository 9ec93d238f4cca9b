#include <fcntl.h>
#include <unistd.h>

#include <QEventLoop>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>
#include <cerrno>
#include <csignal>
#include <optional>

#include "CliCommand.h"
#include "DownloadManager.h"
#include "DropboxLoopbackRedirect.h"
#include "DropboxManager.h"
#include "DropboxSignOut.h"
#include "DropboxTokenStore.h"
#include "NotificationCenter.h"
#include "PrintedMessages.h"

using Intake::Status;

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

// Ctrl-C and SIGTERM while it lives reach the event loop through a pipe, the
// one thing a signal handler may safely write to; the former handlers come
// back when it goes.
class StopSignals {
public:
    StopSignals() {
        if (::pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
            return;
        }
        m_notifier.emplace(s_pipe[0], QSocketNotifier::Read);
        QObject::connect(&*m_notifier, &QSocketNotifier::activated, [this] {
            char number = 0;
            while (::read(s_pipe[0], &number, 1) == 1) {
                received = number;
            }
        });
        struct sigaction action {};
        action.sa_handler = onSignal;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_previousInt);
        sigaction(SIGTERM, &action, &m_previousTerm);
    }
    ~StopSignals() {
        if (!m_notifier) {
            return;
        }
        sigaction(SIGINT, &m_previousInt, nullptr);
        sigaction(SIGTERM, &m_previousTerm, nullptr);
        m_notifier.reset();
        ::close(std::exchange(s_pipe[0], -1));
        ::close(std::exchange(s_pipe[1], -1));
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int received = 0;

private:
    static void onSignal(int number) {
        const char byte = char(number);
        [[maybe_unused]] const auto written = ::write(s_pipe[1], &byte, 1);
    }

    static inline int s_pipe[2] = {-1, -1};
    std::optional<QSocketNotifier> m_notifier;
    struct sigaction m_previousInt {};
    struct sigaction m_previousTerm {};
};

QString minutesText(double minutes) {
    return minutes == 1 ? QStringLiteral("1 minute")
                        : QStringLiteral("%1 minutes").arg(QString::number(minutes));
}

int login(double minutes) {
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
    StopSignals stop;
    const int limitMs = int(minutes * 60 * 1000);
    // The browser comes back to this machine's loopback address; from another
    // machine's browser, the address it was sent to (or its code) is pasted here.
    DropboxClientsManager::authorizeFromController(
        [minutes](const QUrl& url) {
            cliErr() << "Open this address and allow access within " << minutesText(minutes)
                     << ". If this window does not go on by itself, paste the code (or the "
                        "address you were sent to) here:"
                     << Qt::endl;
            cliOut() << url.toString(QUrl::FullyEncoded) << Qt::endl;
        },
        DropboxClientsManager::Redirect::loopback, limitMs);
    // Its listener closes by itself when the time is up.
    const bool listening = DropboxClientsManager::isAwaitingLoopbackRedirect();
    const bool terminal = ::isatty(STDIN_FILENO) == 1;
    StdinLine input;
    const auto cancelled = [&] {
        return stop.received != 0 || (terminal && input.ended && !input.line);
    };
    // Standard input closed elsewhere than at a terminal is no answer: the
    // browser may still come back to the loopback address.
    const bool answered = waitFor(
        [&] {
            return redirected || input.line || cancelled() ||
                   (input.ended && !DropboxClientsManager::isAwaitingLoopbackRedirect());
        },
        limitMs);
    if (cancelled() && !redirected) {
        DropboxClientsManager::cancelSignIn();
        cliErr() << "corvantis-cli: sign-in cancelled; not signed in" << Qt::endl;
        return 1;
    }
    if (!redirected && !input.line && (!answered || listening)) {
        DropboxClientsManager::cancelSignIn();
        cliErr() << "corvantis-cli: no answer came from the browser within " << minutesText(minutes)
                 << "; not signed in" << Qt::endl;
        return 1;
    }
    if (!redirected) {
        const QString answer = input.line.value_or(QString());
        if (answer.isEmpty()) {
            DropboxClientsManager::cancelSignIn();
            return cliFail("no code given; not signed in");
        }
        const QUrl redirect = answer.contains(QLatin1String("://"))
                                  ? QUrl(answer)
                                  : DropboxClientsManager::redirectUrlForCode(answer);
        DropboxManager::shared().openURL(redirect);
    }
    // The exchange of the code is bounded by the client's own stall limit.
    waitFor([&] { return result.has_value() || stop.received != 0; });
    if (!result) {
        cliErr() << "corvantis-cli: sign-in cancelled; not signed in" << Qt::endl;
        return 1;
    }
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

// How long `login` waits for the browser, or for a code, unless told otherwise.
constexpr double defaultLoginMinutes = dropboxLoopbackTimeoutMs / 60000.0;

int runAction(const QString& action, const QStringList& arguments) {
    if (action == QLatin1String("login") && (arguments.size() == 1 || arguments.size() == 3)) {
        double minutes = defaultLoginMinutes;
        if (arguments.size() == 3) {
            bool ok = false;
            minutes = arguments[2].toDouble(&ok);
            if (arguments[1] != QLatin1String("--wait") || !ok || !(minutes > 0) ||
                minutes > 24 * 60) {
                return cliFail("login takes [--wait MINUTES], more than 0 and at most a day");
            }
        }
        return login(minutes);
    }
    // Without a key there is nobody to be signed in as.
    if ((action == QLatin1String("ls") || action == QLatin1String("get")) &&
        !DropboxClientsManager::isConfigured()) {
        return notConfigured();
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
    return cliFail(
        "usage: dropbox login [--wait MINUTES] | ls [PATH] | get PATH | status | logout");
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
