#include "DropboxTokenStore.h"

#include <sys/stat.h>

#include <qt6keychain/keychain.h>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QTimer>
#include <memory>

#include "AppDirectories.h"

Q_LOGGING_CATEGORY(lcTokenStore, "corvantis.intake.cloud.tokens")

namespace {

// A keychain slower than this counts as failed; its job may still end later, unheard.
constexpr int keychainTimeoutMs = 3000;

const QString keychainService = QStringLiteral("Corvantis");
const QString keychainKey = QStringLiteral("dropbox");

struct Keychain {
    bool failed = false;     // once, for the rest of the run: the file only
    bool used = false;       // something was written there in this run
    quint64 generation = 0;  // of the newest save or removal
    int pending = 0;         // calls not yet ended or given up
};

Keychain& keychain() {
    static Keychain state;
    return state;
}

// Where no session bus can be found, no keychain is tried: asking would make
// the D-Bus library start a bus of its own.
bool sessionBusFound() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return true;
    }
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus"));
}

void keychainFailed(const QString& reason) {
    if (std::exchange(keychain().failed, true)) {
        return;
    }
    qCWarning(lcTokenStore).noquote()
        << "the system keychain does not work (" + reason +
               "); the sign-in is kept in a file only the user can read";
}

// Starts `job`; `done` runs once, with the job when it ended in time, else
// with null. A job is never deleted while the keychain may still answer it.
void runBounded(QKeychain::Job* job, std::function<void(QKeychain::Job*)> done) {
    ++keychain().pending;
    auto pending = std::make_shared<std::function<void(QKeychain::Job*)>>(
        [done = std::move(done)](QKeychain::Job* job) {
            --keychain().pending;
            done(job);
        });
    job->setAutoDelete(true);
    job->setKey(keychainKey);
    QObject::connect(job, &QKeychain::Job::finished, job, [pending](QKeychain::Job* finished) {
        if (auto callback = std::exchange(*pending, nullptr)) {
            callback(finished);
        }
    });
    QTimer::singleShot(keychainTimeoutMs, QCoreApplication::instance(), [pending] {
        if (auto callback = std::exchange(*pending, nullptr)) {
            callback(nullptr);
        }
    });
    job->start();
}

QString failure(QKeychain::Job* job) {
    return job ? job->errorString() : QStringLiteral("no answer in time");
}

bool writeFile(const DropboxTokens& tokens, bool inKeychain) {
    QJsonObject object{
        {QLatin1String("app_key"), tokens.appKey},
        {QLatin1String("uid"), tokens.uid},
    };
    if (inKeychain) {
        object.insert(QLatin1String("in_keychain"), true);
    } else {
        object.insert(QLatin1String("access_token"), tokens.accessToken);
        object.insert(QLatin1String("refresh_token"), tokens.refreshToken);
    }
    if (tokens.expiresAt.isValid()) {
        object.insert(QLatin1String("expires_at"), tokens.expiresAt.toMSecsSinceEpoch());
    }
    QSaveFile file(DropboxTokenStore::filePath());
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(lcTokenStore) << "cannot store the sign-in:" << file.errorString();
        return false;
    }
    // Restrict the temporary file before a byte of a token reaches it; the
    // rename on commit keeps the mode.
    if (::fchmod(file.handle(), S_IRUSR | S_IWUSR) != 0) {
        qCWarning(lcTokenStore) << "cannot restrict the sign-in file; not stored";
        file.cancelWriting();
        return false;
    }
    file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
    if (!file.commit()) {
        qCWarning(lcTokenStore) << "cannot store the sign-in:" << file.errorString();
        return false;
    }
    return true;
}

// Copies the tokens into the keychain; once they are there, and no newer
// save or removal came meanwhile, the file keeps only the note.
void moveToKeychain(const DropboxTokens& tokens) {
    if (keychain().failed || !sessionBusFound()) {
        return;
    }
    keychain().used = true;
    const quint64 generation = keychain().generation;
    auto* job = new QKeychain::WritePasswordJob(keychainService);
    job->setBinaryData(
        QJsonDocument(QJsonObject{{QLatin1String("access_token"), tokens.accessToken},
                                  {QLatin1String("refresh_token"), tokens.refreshToken}})
            .toJson(QJsonDocument::Compact));
    runBounded(job, [tokens, generation](QKeychain::Job* finished) {
        if (!finished || finished->error() != QKeychain::NoError) {
            keychainFailed(failure(finished));
            return;
        }
        if (generation == keychain().generation) {
            writeFile(tokens, true);
        }
    });
}

QJsonObject readFile(QFile& file) {
    return QJsonDocument::fromJson(file.readAll()).object();
}

}  // namespace

namespace DropboxTokenStore {

QString filePath() {
    return AppDirectories::configDirectory() + QStringLiteral("/dropbox-auth.json");
}

std::optional<DropboxTokens> load() {
    QFile file(filePath());
    if (!file.exists()) {
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcTokenStore) << "cannot read the stored sign-in:" << file.errorString();
        return std::nullopt;
    }
    const QJsonObject object = readFile(file);
    DropboxTokens tokens;
    tokens.appKey = object.value(QLatin1String("app_key")).toString();
    tokens.accessToken = object.value(QLatin1String("access_token")).toString();
    tokens.refreshToken = object.value(QLatin1String("refresh_token")).toString();
    tokens.uid = object.value(QLatin1String("uid")).toString();
    tokens.inKeychain = object.value(QLatin1String("in_keychain")).toBool();
    const qint64 expiresAt = object.value(QLatin1String("expires_at")).toInteger(-1);
    if (expiresAt >= 0) {
        tokens.expiresAt = QDateTime::fromMSecsSinceEpoch(expiresAt, Qt::UTC);
    }
    if (tokens.inKeychain) {
        return tokens;
    }
    if (tokens.accessToken.isEmpty() && tokens.refreshToken.isEmpty()) {
        qCWarning(lcTokenStore) << "the stored sign-in holds no token; ignored";
        return std::nullopt;
    }
    moveToKeychain(tokens);
    return tokens;
}

bool save(const DropboxTokens& tokens) {
    ++keychain().generation;
    if (!writeFile(tokens, false)) {
        return false;
    }
    moveToKeychain(tokens);
    return true;
}

void remove() {
    ++keychain().generation;
    QFile file(filePath());
    const bool inKeychain =
        keychain().used || (file.open(QIODevice::ReadOnly) &&
                            readFile(file).value(QLatin1String("in_keychain")).toBool());
    file.close();
    QFile::remove(filePath());
    if (inKeychain && sessionBusFound()) {
        runBounded(new QKeychain::DeletePasswordJob(keychainService), [](QKeychain::Job*) {});
    }
}

void readSecrets(std::function<void(const std::optional<DropboxSecrets>&)> done) {
    if (!sessionBusFound()) {
        QTimer::singleShot(0, QCoreApplication::instance(), [done = std::move(done)] {
            keychainFailed(QStringLiteral("no session bus"));
            done(std::nullopt);
        });
        return;
    }
    runBounded(new QKeychain::ReadPasswordJob(keychainService),
               [done = std::move(done)](QKeychain::Job* finished) {
                   if (finished && finished->error() == QKeychain::EntryNotFound) {
                       qCWarning(lcTokenStore) << "the system keychain holds no sign-in";
                       done(std::nullopt);
                       return;
                   }
                   if (!finished || finished->error() != QKeychain::NoError) {
                       keychainFailed(failure(finished));
                       done(std::nullopt);
                       return;
                   }
                   const QJsonObject object =
                       QJsonDocument::fromJson(
                           static_cast<QKeychain::ReadPasswordJob*>(finished)->binaryData())
                           .object();
                   DropboxSecrets secrets{object.value(QLatin1String("access_token")).toString(),
                                          object.value(QLatin1String("refresh_token")).toString()};
                   if (secrets.accessToken.isEmpty() && secrets.refreshToken.isEmpty()) {
                       done(std::nullopt);
                       return;
                   }
                   done(secrets);
               });
}

bool keychainBusy() {
    return keychain().pending > 0;
}

}  // namespace DropboxTokenStore
