#include "DropboxClientsManager.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QUrlQuery>

#include "DropboxClient.h"
#include "DropboxLoopbackRedirect.h"
#include "DropboxTokenStore.h"
#include "MainQueue.h"
#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcDropboxAuth, "corvantis.intake.cloud.auth")

namespace {

struct PendingSignIn {
    QString verifier;
    QString state;
    QString redirectUri;  // empty when the code is shown to the user
};

struct State {
    QString appKey;
    bool configured = false;
    // Owned by the application object, so they go before it does.
    QPointer<DropboxClient> client;
    std::optional<PendingSignIn> pending;
    // Lives as long as the sign-in it waits for, or until it times out.
    QPointer<DropboxLoopbackRedirect> loopback;
    std::function<void(const QUrl&)> loopbackHandler;
    QPointer<QNetworkAccessManager> network;
};

State& state() {
    static State instance;
    return instance;
}

QString randomUrlSafe(int bytes) {
    QByteArray random(bytes, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(random.data()), bytes / 4);
    return QString::fromLatin1(
        random.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

// A sign-in that ends, or gives way to another, takes its listener along.
void endPendingSignIn() {
    State& s = state();
    s.pending.reset();
    if (s.loopback) {
        s.loopback->close();
        s.loopback->deleteLater();
        s.loopback.clear();
    }
}

QString redirectScheme() {
    return QStringLiteral("db-") + state().appKey;
}

QString redirectUri() {
    return redirectScheme() + QStringLiteral("://2/token");
}

bool isOurRedirect(const QUrl& url) {
    if (url.scheme() == redirectScheme()) {
        return true;
    }
    // Where the scheme can't be registered, the service redirects to loopback.
    return url.scheme() == QLatin1String("http") &&
           (url.host() == QLatin1String("127.0.0.1") || url.host() == QLatin1String("localhost"));
}

// Why the service gave no tokens for a code, in its words where it has any;
// a failure always has a text, so that the sign-in never ends unexplained.
QString exchangeFailure(QNetworkReply* reply, const QJsonObject& json) {
    for (const QLatin1String key : {QLatin1String("error_description"), QLatin1String("error")}) {
        if (const QString words = json.value(key).toString(); !words.isEmpty()) {
            return words;
        }
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0) {
        return reply->errorString();
    }
    if (status != 200) {
        return QStringLiteral("the service refused the sign-in code with HTTP status %1")
            .arg(status);
    }
    if (reply->error() != QNetworkReply::NoError) {
        return QStringLiteral("the connection closed before the whole answer arrived");
    }
    return QStringLiteral("the service's answer to the sign-in code held no access token");
}

void exchangeCode(const QString& code, const PendingSignIn& signIn,
                  DropboxClientsManager::RedirectCompletion completion) {
    State& s = state();
    if (!s.network) {
        s.network = new QNetworkAccessManager(QCoreApplication::instance());
        s.network->setTransferTimeout(dropboxStallTimeoutMs);
    }
    const DropboxEndpoints endpoints = DropboxEndpoints::fromEnvironment();
    QUrlQuery form;
    form.addQueryItem(QStringLiteral("code"), code);
    form.addQueryItem(QStringLiteral("grant_type"), QStringLiteral("authorization_code"));
    form.addQueryItem(QStringLiteral("client_id"), s.appKey);
    form.addQueryItem(QStringLiteral("code_verifier"), signIn.verifier);
    if (!signIn.redirectUri.isEmpty()) {
        form.addQueryItem(QStringLiteral("redirect_uri"), signIn.redirectUri);
    }
    QUrl url = endpoints.api;
    url.setPath(url.path() + QStringLiteral("/oauth2/token"));
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    QNetworkReply* reply = s.network->post(request, form.query(QUrl::FullyEncoded).toUtf8());
    QObject::connect(reply, &QNetworkReply::finished, [reply, endpoints, completion] {
        reply->deleteLater();
        const QByteArray body = reply->readAll();
        const QJsonObject json = QJsonDocument::fromJson(body).object();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        DropboxTokens tokens;
        tokens.appKey = state().appKey;
        tokens.accessToken = json.value(QLatin1String("access_token")).toString();
        tokens.refreshToken = json.value(QLatin1String("refresh_token")).toString();
        tokens.uid = json.value(QLatin1String("uid")).toString();
        const qint64 lifetime = json.value(QLatin1String("expires_in")).toInteger(-1);
        if (lifetime >= 0) {
            tokens.expiresAt = QDateTime::currentDateTimeUtc().addSecs(lifetime);
        }
        if (status != 200 || tokens.accessToken.isEmpty()) {
            completion(OAuthResult{OAuthResult::Kind::error, exchangeFailure(reply, json)});
            return;
        }
        DropboxTokenStore::save(tokens);
        delete state().client;
        state().client = new DropboxClient(tokens, endpoints, QCoreApplication::instance());
        completion(OAuthResult{OAuthResult::Kind::success, std::nullopt});
    });
}

}  // namespace

QString DropboxClientsManager::appKeyFromConfiguration() {
    QString key = qEnvironmentVariable("CORVANTIS_DROPBOX_APP_KEY");
    if (key.isEmpty()) {
        key = UserDefaults::standard()
                  .stringForKey(QStringLiteral("DropboxAppKey"))
                  .value_or(QString());
    }
    static const QRegularExpression valid(QStringLiteral("^[a-z0-9]{15}$"));
    if (!valid.match(key).hasMatch()) {
        if (!key.isEmpty()) {
            qCWarning(lcDropboxAuth) << "the configured application key is not 15 lower-case "
                                        "letters and digits; the cloud client stays off";
        }
        return {};
    }
    return key;
}

void DropboxClientsManager::setupWithAppKey(const QString& appKey) {
    State& s = state();
    s.appKey = appKey;
    s.configured = !appKey.isEmpty();
    delete s.client;
    endPendingSignIn();
    if (!s.configured) {
        return;
    }
    std::optional<DropboxTokens> tokens = DropboxTokenStore::load();
    if (tokens && tokens->appKey == appKey) {
        s.client = new DropboxClient(*tokens, DropboxEndpoints::fromEnvironment(),
                                     QCoreApplication::instance());
    }
}

bool DropboxClientsManager::isConfigured() {
    return state().configured;
}

QString DropboxClientsManager::appKey() {
    return state().appKey;
}

bool DropboxClientsManager::authorizeFromController(const OpenUrl& openURL, Redirect redirect,
                                                    int loopbackTimeoutMs) {
    State& s = state();
    if (!s.configured) {
        return false;
    }
    endPendingSignIn();
    PendingSignIn signIn{randomUrlSafe(64), randomUrlSafe(16), QString()};
    if (redirect == Redirect::scheme) {
        signIn.redirectUri = redirectUri();
    } else if (redirect == Redirect::loopback) {
        auto* listener = new DropboxLoopbackRedirect(
            [](const QUrl& url) {
                if (state().loopbackHandler) {
                    state().loopbackHandler(url);
                } else {
                    handleRedirectURL(url, [](const std::optional<OAuthResult>&) {});
                }
            },
            loopbackTimeoutMs, QCoreApplication::instance());
        if (listener->listen()) {
            s.loopback = listener;
            signIn.redirectUri = listener->redirectUri();
        } else {
            delete listener;  // the service shows the code instead
        }
    }
    const QByteArray challenge =
        QCryptographicHash::hash(signIn.verifier.toLatin1(), QCryptographicHash::Sha256)
            .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    QUrl url = DropboxEndpoints::fromEnvironment().auth;
    url.setPath(url.path() + QStringLiteral("/oauth2/authorize"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("client_id"), s.appKey);
    query.addQueryItem(QStringLiteral("response_type"), QStringLiteral("code"));
    query.addQueryItem(QStringLiteral("code_challenge"), QString::fromLatin1(challenge));
    query.addQueryItem(QStringLiteral("code_challenge_method"), QStringLiteral("S256"));
    query.addQueryItem(QStringLiteral("token_access_type"), QStringLiteral("offline"));
    query.addQueryItem(QStringLiteral("state"), signIn.state);
    if (!signIn.redirectUri.isEmpty()) {
        query.addQueryItem(QStringLiteral("redirect_uri"), signIn.redirectUri);
    }
    url.setQuery(query);
    s.pending = signIn;
    openURL(url);
    return true;
}

void DropboxClientsManager::cancelSignIn() {
    endPendingSignIn();
}

void DropboxClientsManager::setLoopbackHandler(std::function<void(const QUrl&)> handler) {
    state().loopbackHandler = std::move(handler);
}

bool DropboxClientsManager::isAwaitingLoopbackRedirect() {
    return state().loopback && state().loopback->isListening();
}

QUrl DropboxClientsManager::redirectUrlForCode(const QString& code) {
    const State& s = state();
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("code"), code);
    query.addQueryItem(QStringLiteral("state"), s.pending ? s.pending->state : QString());
    // The address the code was issued for, so that the exchange names the same.
    const QString base =
        s.pending && !s.pending->redirectUri.isEmpty() ? s.pending->redirectUri : redirectUri();
    return QUrl(base + QLatin1Char('?') + query.query(QUrl::FullyEncoded));
}

void DropboxClientsManager::handleRedirectURL(const QUrl& url, RedirectCompletion completion) {
    auto later = [completion](std::optional<OAuthResult> result) {
        MainQueue::async([completion, result] { completion(result); });
    };
    State& s = state();
    if (!s.configured || !isOurRedirect(url)) {
        later(std::nullopt);
        return;
    }
    const QUrlQuery query(url);
    const QString error = query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded);
    if (error == QLatin1String("access_denied")) {
        endPendingSignIn();
        later(OAuthResult{OAuthResult::Kind::cancel, std::nullopt});
        return;
    }
    if (!error.isEmpty()) {
        endPendingSignIn();
        const QString description =
            query.queryItemValue(QStringLiteral("error_description"), QUrl::FullyDecoded);
        later(OAuthResult{OAuthResult::Kind::error,
                          description.isEmpty() ? std::nullopt : std::optional(description)});
        return;
    }
    const QString code = query.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    if (code.isEmpty()) {
        later(std::nullopt);
        return;
    }
    if (!s.pending ||
        query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded) != s.pending->state) {
        later(OAuthResult{OAuthResult::Kind::error,
                          QStringLiteral("The answer belongs to no sign-in in progress")});
        return;
    }
    const PendingSignIn signIn = *s.pending;
    endPendingSignIn();
    exchangeCode(code, signIn, std::move(completion));
}

DropboxClient* DropboxClientsManager::authorizedClient() {
    return state().client;
}

void DropboxClientsManager::unlinkClients(std::function<void()> revoked) {
    State& s = state();
    DropboxTokenStore::remove();
    if (!s.client) {
        if (revoked) {
            MainQueue::async(std::move(revoked));
        }
        return;
    }
    // The client lives on until the service has heard the revocation.
    DropboxClient* client = std::exchange(s.client, nullptr);
    client->revoke([client, revoked = std::move(revoked)] {
        client->deleteLater();
        if (revoked) {
            revoked();
        }
    });
}
