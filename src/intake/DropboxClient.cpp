#include "DropboxClient.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QUrlQuery>

#include "MainQueue.h"

using Intake::Metadata;

Q_LOGGING_CATEGORY(lcDropbox, "corvantis.intake.cloud")

namespace {

// A token this close to its end is refreshed before use rather than after a 401.
constexpr qint64 refreshMarginSeconds = 60;

QUrl endpoint(const QString& variable, const char* fallback) {
    const QString value = qEnvironmentVariable(variable.toLatin1().constData());
    return QUrl(value.isEmpty() ? QString::fromLatin1(fallback) : value);
}

QUrl join(const QUrl& base, const QString& route) {
    QUrl url = base;
    QString path = url.path();
    if (path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    url.setPath(path + route);
    return url;
}

CallError keychainError() {
    return {
        QStringLiteral("Client error: the sign-in kept in the system keychain could not be read")};
}

// Fewer bytes than the answer announced: the connection went before its end.
bool endedEarly(QNetworkReply* reply, const QByteArray& body) {
    bool known = false;
    const qint64 announced = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
    return known && body.size() < announced;
}

}  // namespace

int dropboxHttpStatus(QNetworkReply* reply) {
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

DropboxEndpoints DropboxEndpoints::fromEnvironment() {
    return {
        endpoint(QStringLiteral("CORVANTIS_DROPBOX_API_URL"), "https://api.dropboxapi.com"),
        endpoint(QStringLiteral("CORVANTIS_DROPBOX_CONTENT_URL"), "https://content.dropboxapi.com"),
        endpoint(QStringLiteral("CORVANTIS_DROPBOX_AUTH_URL"), "https://www.dropbox.com")};
}

QString dropboxWirePath(const QString& path) {
    QString wire;
    wire.reserve(path.size());
    for (const QChar c : path) {
        if (c == QLatin1Char('/') && wire.endsWith(QLatin1Char('/'))) {
            continue;
        }
        wire.append(c);
    }
    if (wire.endsWith(QLatin1Char('/'))) {
        wire.chop(1);
    }
    return wire;
}

QByteArray dropboxHeaderJson(const QJsonObject& object) {
    const QString json = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    QByteArray ascii;
    ascii.reserve(json.size());
    for (const QChar c : json) {
        if (c.unicode() < 0x7f) {
            ascii.append(char(c.unicode()));
        } else {
            ascii.append(
                QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toLatin1());
        }
    }
    return ascii;
}

CallError dropboxCallError(QNetworkReply* reply, const QByteArray& body) {
    const int status = dropboxHttpStatus(reply);
    const QByteArray requestId = reply->rawHeader("X-Dropbox-Request-Id");
    const QString prefix =
        requestId.isEmpty() ? QString() : QStringLiteral("[request-id %1] ").arg(requestId);
    // A good status with a failed transfer: the answer itself did not arrive.
    if (status >= 200 && status < 300 &&
        (reply->error() != QNetworkReply::NoError || endedEarly(reply, body))) {
        return {prefix + QStringLiteral("Client error: ") +
                (reply->error() == QNetworkReply::NoError ||
                         reply->error() == QNetworkReply::RemoteHostClosedError
                     ? QStringLiteral("the connection closed before the whole answer arrived")
                     : reply->errorString())};
    }
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    const QString summary = json.value(QLatin1String("error_summary")).toString();
    switch (status) {
        case 0:
            return {prefix + QStringLiteral("Client error: ") + reply->errorString()};
        case 400:
            return {prefix + QStringLiteral("Bad Input: ") + QString::fromUtf8(body).trimmed()};
        case 401:
            return {prefix + QStringLiteral("Authentication error: ") +
                    (summary.isEmpty() ? QString::fromUtf8(body).trimmed() : summary)};
        case 403:
            return {prefix + QStringLiteral("Access error: ") + summary};
        case 409:
            return {prefix + QStringLiteral("API route error - ") + summary};
        case 429: {
            const QByteArray retryAfter = reply->rawHeader("Retry-After");
            return {prefix + QStringLiteral("Rate limit error: ") + summary +
                    (retryAfter.isEmpty() ? QString()
                                          : QStringLiteral(" (retry after %1 seconds)")
                                                .arg(QString::fromLatin1(retryAfter)))};
        }
        default:
            if (status >= 500) {
                return {prefix + QStringLiteral("Internal Server Error %1").arg(status)};
            }
            return {prefix + QStringLiteral("HTTP error %1: ").arg(status) +
                    QString::fromUtf8(body).trimmed()};
    }
}

// ---- the client ----

DropboxClient::DropboxClient(DropboxTokens tokens, DropboxEndpoints endpoints, QObject* parent)
    : QObject(parent),
      m_tokens(std::move(tokens)),
      m_endpoints(std::move(endpoints)),
      m_network(new QNetworkAccessManager(this)) {
    // Never follow a redirect with the bearer token to another host.
    m_network->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    // A peer that stops sending ends the call instead of holding it forever.
    m_network->setTransferTimeout(dropboxStallTimeoutMs);
}

DropboxClient::~DropboxClient() = default;

std::optional<CallError> DropboxClient::tokenError() const {
    if (tokensUnreadable()) {
        return keychainError();
    }
    return std::nullopt;
}

bool DropboxClient::canRefresh() const {
    return !m_tokens.refreshToken.isEmpty();
}

QNetworkReply* DropboxClient::postContent(const QString& route, QNetworkRequest request) {
    request.setUrl(join(m_endpoints.content, route));
    request.setRawHeader("Authorization", authorization());
    // The content routes refuse a form content type; an empty one is what they expect.
    request.setRawHeader("Content-Type", QByteArray());
    return m_network->post(request, QByteArray());
}

QByteArray DropboxClient::authorization() const {
    return QByteArrayLiteral("Bearer ") + m_tokens.accessToken.toUtf8();
}

namespace {

ListFolderResult parseListFolder(const QJsonObject& object) {
    ListFolderResult result;
    for (const QJsonValue& value : object.value(QLatin1String("entries")).toArray()) {
        const QJsonObject entry = value.toObject();
        Metadata metadata;
        metadata.isFolder =
            entry.value(QLatin1String(".tag")).toString() == QLatin1String("folder");
        metadata.name = entry.value(QLatin1String("name")).toString();
        if (entry.contains(QLatin1String("path_lower"))) {
            metadata.pathLower = entry.value(QLatin1String("path_lower")).toString();
        }
        result.entries.push_back(std::move(metadata));
    }
    result.cursor = object.value(QLatin1String("cursor")).toString();
    result.hasMore = object.value(QLatin1String("has_more")).toBool();
    return result;
}

auto pageHandler(std::function<void(const ListFolderResponse&)> done) {
    return [done = std::move(done)](const std::variant<QJsonObject, CallError>& answer) {
        if (const auto* error = std::get_if<CallError>(&answer)) {
            done(*error);
        } else {
            done(parseListFolder(std::get<QJsonObject>(answer)));
        }
    };
}

}  // namespace

void DropboxClient::listFolder(const QString& path,
                               std::function<void(const ListFolderResponse&)> done) {
    const QJsonObject arguments{
        {QLatin1String("path"), dropboxWirePath(path)},
        {QLatin1String("recursive"), false},
        {QLatin1String("include_media_info"), false},
        {QLatin1String("include_deleted"), false},
        {QLatin1String("include_has_explicit_shared_members"), false},
        {QLatin1String("include_mounted_folders"), true},
        {QLatin1String("include_non_downloadable_files"), true},
    };
    rpc(QStringLiteral("/2/files/list_folder"), arguments, pageHandler(std::move(done)));
}

void DropboxClient::listFolderContinue(const QString& cursor,
                                       std::function<void(const ListFolderResponse&)> done) {
    rpc(QStringLiteral("/2/files/list_folder/continue"),
        QJsonObject{{QLatin1String("cursor"), cursor}}, pageHandler(std::move(done)));
}

void DropboxClient::rpc(const QString& route, const QJsonObject& arguments, JsonHandler done,
                        bool retried) {
    withFreshToken([=, this](bool) {
        if (tokensUnreadable()) {
            done(keychainError());
            return;
        }
        QNetworkRequest request(join(m_endpoints.api, route));
        request.setRawHeader("Authorization", authorization());
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArrayLiteral("application/json"));
        QNetworkReply* reply =
            m_network->post(request, QJsonDocument(arguments).toJson(QJsonDocument::Compact));
        connect(reply, &QNetworkReply::finished, this, [=, this] {
            reply->deleteLater();
            const QByteArray body = reply->readAll();
            const int status = dropboxHttpStatus(reply);
            if (status == 401 && !retried && !m_tokens.refreshToken.isEmpty()) {
                qCDebug(lcDropbox) << route << "answered 401; refreshing the token once";
                const CallError failure = dropboxCallError(reply, body);
                refresh([=, this](bool ok) {
                    if (ok) {
                        rpc(route, arguments, done, true);
                    } else {
                        done(failure);
                    }
                });
                return;
            }
            if (status == 200 && reply->error() == QNetworkReply::NoError &&
                !endedEarly(reply, body)) {
                QJsonParseError parseError;
                const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
                if (document.isObject()) {
                    done(document.object());
                } else {
                    // Valid JSON of another shape parses without an error to name.
                    done(CallError{QStringLiteral("Bad response from the server: ") +
                                   (parseError.error == QJsonParseError::NoError
                                        ? QStringLiteral("expected a JSON object")
                                        : parseError.errorString())});
                }
                return;
            }
            done(dropboxCallError(reply, body));
        });
    });
}

bool DropboxClient::tokensUnreadable() const {
    return m_tokens.inKeychain && m_tokens.accessToken.isEmpty() && m_tokens.refreshToken.isEmpty();
}

void DropboxClient::withFreshToken(std::function<void(bool ok)> then) {
    if (tokensUnreadable()) {
        // Every call waits for the one read; a failed read is tried again by the next call.
        m_keychainWaiters.push_back(std::move(then));
        if (m_keychainWaiters.size() > 1) {
            return;
        }
        DropboxTokenStore::readSecrets(
            [self = QPointer(this)](const std::optional<DropboxSecrets>& secrets) {
                if (!self) {
                    return;
                }
                if (secrets) {
                    self->m_tokens.accessToken = secrets->accessToken;
                    self->m_tokens.refreshToken = secrets->refreshToken;
                }
                for (auto& waiter : std::exchange(self->m_keychainWaiters, {})) {
                    if (secrets) {
                        self->withFreshToken(std::move(waiter));
                    } else {
                        waiter(false);
                    }
                }
            });
        return;
    }
    const bool expired =
        m_tokens.expiresAt.isValid() &&
        QDateTime::currentDateTimeUtc().secsTo(m_tokens.expiresAt) < refreshMarginSeconds;
    if (expired && !m_tokens.refreshToken.isEmpty()) {
        refresh(std::move(then));
    } else {
        then(true);
    }
}

void DropboxClient::refresh(std::function<void(bool ok)> then) {
    // Every caller that finds the token spent waits for the one refresh.
    m_refreshWaiters.push_back(std::move(then));
    if (m_refreshWaiters.size() > 1) {
        return;
    }
    QUrlQuery form;
    form.addQueryItem(QStringLiteral("grant_type"), QStringLiteral("refresh_token"));
    form.addQueryItem(QStringLiteral("refresh_token"), m_tokens.refreshToken);
    form.addQueryItem(QStringLiteral("client_id"), m_tokens.appKey);
    QNetworkRequest request(join(m_endpoints.api, QStringLiteral("/oauth2/token")));
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    QNetworkReply* reply = m_network->post(request, form.query(QUrl::FullyEncoded).toUtf8());
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        const QByteArray body = reply->readAll();
        const QJsonObject json = QJsonDocument::fromJson(body).object();
        const QString accessToken = json.value(QLatin1String("access_token")).toString();
        const bool ok = dropboxHttpStatus(reply) == 200 && !accessToken.isEmpty();
        if (ok) {
            m_tokens.accessToken = accessToken;
            const qint64 lifetime = json.value(QLatin1String("expires_in")).toInteger(-1);
            m_tokens.expiresAt =
                lifetime >= 0 ? QDateTime::currentDateTimeUtc().addSecs(lifetime) : QDateTime();
            DropboxTokenStore::save(m_tokens);
        } else {
            qCWarning(lcDropbox) << "token refresh failed:"
                                 << dropboxCallError(reply, body).description;
        }
        const auto waiters = std::exchange(m_refreshWaiters, {});
        for (const auto& waiter : waiters) {
            waiter(ok);
        }
    });
}

void DropboxClient::revoke(std::function<void()> done) {
    QNetworkRequest request(join(m_endpoints.api, QStringLiteral("/2/auth/token/revoke")));
    request.setRawHeader("Authorization", authorization());
    QNetworkReply* reply = m_network->post(request, QByteArray());
    connect(reply, &QNetworkReply::finished, this, [reply, done = std::move(done)] {
        reply->deleteLater();
        if (dropboxHttpStatus(reply) != 200) {
            qCWarning(lcDropbox) << "token revocation failed:"
                                 << dropboxCallError(reply, reply->readAll()).description;
        }
        if (done) {
            done();
        }
    });
}

DropboxDownloadRequest* DropboxClient::download(const QString& path, const QString& destination) {
    auto* request = new DropboxDownloadRequest(this, path, destination);
    request->start();
    return request;
}
