#include "DropboxTokenStore.h"

#include <sys/stat.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSaveFile>

#include "AppDirectories.h"

Q_LOGGING_CATEGORY(lcTokenStore, "corvantis.intake.cloud.tokens")

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
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    DropboxTokens tokens;
    tokens.appKey = object.value(QLatin1String("app_key")).toString();
    tokens.accessToken = object.value(QLatin1String("access_token")).toString();
    tokens.refreshToken = object.value(QLatin1String("refresh_token")).toString();
    tokens.uid = object.value(QLatin1String("uid")).toString();
    const qint64 expiresAt = object.value(QLatin1String("expires_at")).toInteger(-1);
    if (expiresAt >= 0) {
        tokens.expiresAt = QDateTime::fromMSecsSinceEpoch(expiresAt, Qt::UTC);
    }
    if (tokens.accessToken.isEmpty() && tokens.refreshToken.isEmpty()) {
        qCWarning(lcTokenStore) << "the stored sign-in holds no token; ignored";
        return std::nullopt;
    }
    return tokens;
}

bool save(const DropboxTokens& tokens) {
    QJsonObject object{
        {QLatin1String("app_key"), tokens.appKey},
        {QLatin1String("access_token"), tokens.accessToken},
        {QLatin1String("refresh_token"), tokens.refreshToken},
        {QLatin1String("uid"), tokens.uid},
    };
    if (tokens.expiresAt.isValid()) {
        object.insert(QLatin1String("expires_at"), tokens.expiresAt.toMSecsSinceEpoch());
    }
    QSaveFile file(filePath());
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

void remove() {
    QFile::remove(filePath());
}

}  // namespace DropboxTokenStore
