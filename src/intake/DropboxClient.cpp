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

Q_LOGGING_CATEGORY(lcDropbox, "corvantis.intake.cloud")

namespace {

constexpr qint64 readBufferBytes = 1024 * 1024;
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

int httpStatus(QNetworkReply* reply) {
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// Fewer bytes than the answer announced: the connection went before its end.
bool endedEarly(QNetworkReply* reply, const QByteArray& body) {
    bool known = false;
    const qint64 announced = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
    return known && body.size() < announced;
}

}  // namespace

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
    const int status = httpStatus(reply);
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
            const int status = httpStatus(reply);
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
        const bool ok = httpStatus(reply) == 200 && !accessToken.isEmpty();
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
        if (httpStatus(reply) != 200) {
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

// ---- one transfer ----

namespace {

bool isBody(int status) {
    return status == 200 || status == 206;
}

CallError changedDuringDownload() {
    return {QStringLiteral("Client error: the file changed on the service during the download")};
}

// "bytes FIRST-LAST/TOTAL", or "bytes */TOTAL" on a 416; TOTAL may be "*".
struct ContentRange {
    qint64 first = -1;
    qint64 last = -1;
    qint64 total = -1;
};

std::optional<ContentRange> parseContentRange(const QByteArray& header) {
    static const QRegularExpression pattern(
        QStringLiteral(R"(^bytes\s+(?:(\d+)-(\d+)|\*)/(\d+|\*)$)"));
    const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(header.trimmed()));
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    ContentRange range;
    if (match.hasCaptured(1)) {
        range.first = match.captured(1).toLongLong();
        range.last = match.captured(2).toLongLong();
        if (range.last < range.first) {
            return std::nullopt;
        }
    }
    if (match.captured(3) != QLatin1String("*")) {
        range.total = match.captured(3).toLongLong();
        if (range.last >= range.total && range.total >= 0) {
            return std::nullopt;
        }
    }
    return range;
}

}  // namespace

DropboxDownloadRequest::DropboxDownloadRequest(DropboxClient* client, QString path,
                                               QString destination)
    : QObject(client),
      m_client(client),
      m_path(std::move(path)),
      m_destination(std::move(destination)) {}

void DropboxDownloadRequest::start() {
    const QFileInfo target(m_destination);
    m_partial = std::make_unique<QTemporaryFile>(
        target.dir().filePath(QStringLiteral(".%1.XXXXXX.part").arg(target.fileName())));
    if (!m_partial->open()) {
        finish(CallError{QStringLiteral("Client error: cannot write ") + m_destination +
                         QStringLiteral(": ") + m_partial->errorString()});
        return;
    }
    m_chunk.resize(readBufferBytes);
    requestMore();
}

void DropboxDownloadRequest::requestMore() {
    // Until the first answer tells the size, one piece at a time.
    while (!m_done && int(m_pieces.size()) < dropboxDownloadPiecesInFlight &&
           (m_pieces.empty() || m_total >= 0) && (m_total < 0 || m_requested < m_total)) {
        m_pieces.push_back(std::make_unique<Piece>());
        m_pieces.back()->start =
            std::exchange(m_requested, m_requested + dropboxDownloadPieceBytes);
        send(m_pieces.back().get());
    }
}

void DropboxDownloadRequest::send(Piece* piece) {
    piece->accepted = false;
    piece->length = -1;
    piece->received = 0;
    m_client->withFreshToken([self = QPointer(this), piece](bool) {
        if (!self || self->m_done) {
            return;
        }
        if (self->m_client->tokensUnreadable()) {
            self->finish(keychainError());
            return;
        }
        QNetworkRequest request(
            join(self->m_client->m_endpoints.content, QStringLiteral("/2/files/download")));
        request.setRawHeader("Authorization", self->m_client->authorization());
        request.setRawHeader(
            "Dropbox-API-Arg",
            dropboxHeaderJson(QJsonObject{{QLatin1String("path"), dropboxWirePath(self->m_path)}}));
        // The content routes refuse a form content type; an empty one is what they expect.
        request.setRawHeader("Content-Type", QByteArray());
        request.setRawHeader("Range",
                             "bytes=" + QByteArray::number(piece->start) + '-' +
                                 QByteArray::number(piece->start + dropboxDownloadPieceBytes - 1));
        QNetworkReply* reply = self->m_client->m_network->post(request, QByteArray());
        // Holds the reply to about this much ahead of the file, once the
        // transfer thread has its side of the reply (a limit set before then
        // does not reach it, and the same value set again is ignored). The
        // piece's size bounds what piles up before that.
        reply->setReadBufferSize(readBufferBytes);
        connect(reply, &QNetworkReply::metaDataChanged, reply,
                [reply] { reply->setReadBufferSize(readBufferBytes + 1); });
        piece->reply = reply;
        connect(reply, &QNetworkReply::readyRead, self, [self, reply] {
            if (Piece* piece = self->pieceOf(reply)) {
                self->onReadyRead(piece);
            }
        });
        connect(reply, &QNetworkReply::finished, self, [self, reply] { self->onFinished(reply); });
    });
}

DropboxDownloadRequest::Piece* DropboxDownloadRequest::pieceOf(QNetworkReply* reply) {
    for (const auto& piece : m_pieces) {
        if (piece->reply == reply) {
            return piece.get();
        }
    }
    return nullptr;
}

bool DropboxDownloadRequest::accepted(Piece* piece) {
    if (piece->accepted) {
        return !m_done;
    }
    if (m_done || !piece->reply || !isBody(httpStatus(piece->reply))) {
        return false;
    }
    if (std::optional<CallError> error = acceptHeaders(piece)) {
        finish(std::move(error));
        return false;
    }
    piece->accepted = true;
    requestMore();  // the size is known now
    return !m_done;
}

std::optional<CallError> DropboxDownloadRequest::acceptHeaders(Piece* piece) {
    QNetworkReply* reply = piece->reply;
    const QJsonObject metadata =
        QJsonDocument::fromJson(reply->rawHeader("Dropbox-API-Result")).object();
    const Revision revision{metadata.value(QLatin1String("rev")).toString(),
                            metadata.value(QLatin1String("content_hash")).toString(),
                            metadata.value(QLatin1String("size")).toInteger(-1)};
    qint64 total = -1;
    if (httpStatus(reply) == 206) {
        const std::optional<ContentRange> range =
            parseContentRange(reply->rawHeader("Content-Range"));
        if (!range || range->first < 0) {
            return CallError{QStringLiteral("Client error: unreadable Content-Range \"%1\"")
                                 .arg(QString::fromLatin1(reply->rawHeader("Content-Range")))};
        }
        total = range->total >= 0 ? range->total : revision.size;
        if (total < 0) {
            return CallError{QStringLiteral("Client error: the service did not tell the size")};
        }
        const qint64 asked = std::min(dropboxDownloadPieceBytes, total - piece->start);
        // A shorter piece would leave a hole before the next one.
        if (range->first != piece->start || range->last - range->first + 1 != asked) {
            return CallError{QStringLiteral("Client error: asked for bytes %1 to %2, got %3 to %4")
                                 .arg(piece->start)
                                 .arg(piece->start + asked - 1)
                                 .arg(range->first)
                                 .arg(range->last)};
        }
        piece->length = asked;
    } else {
        // The whole file in one answer, as from a server that does not do ranges.
        if (piece->start != 0) {
            return CallError{
                QStringLiteral("Client error: the service answered a piece with the whole file")};
        }
        bool known = false;
        piece->length = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
        if (!known) {
            piece->length = revision.size;
        }
        total = piece->length;
        m_requested = std::max<qint64>(total, 0);  // nothing more to ask for
    }
    if (!m_revision) {
        m_revision = revision;
        m_total = total;
        return std::nullopt;
    }
    const auto differs = [](const auto& a, const auto& b, const auto& none) {
        return a != none && b != none && a != b;
    };
    if (differs(m_revision->rev, revision.rev, QString()) ||
        differs(m_revision->contentHash, revision.contentHash, QString()) ||
        differs(m_revision->size, revision.size, qint64(-1)) ||
        differs(m_total, total, qint64(-1))) {
        return changedDuringDownload();
    }
    return std::nullopt;
}

void DropboxDownloadRequest::onReadyRead(Piece* piece) {
    if (!accepted(piece)) {
        return;  // an error body is read whole when the reply ends
    }
    if (!m_partial->seek(piece->start + piece->received)) {
        finish(CallError{QStringLiteral("Client error: ") + m_partial->errorString()});
        return;
    }
    qint64 n = 0;
    bool moved = false;
    while ((n = piece->reply->read(m_chunk.data(), m_chunk.size())) > 0) {
        piece->received += n;
        moved = true;
        if (m_partial->write(m_chunk.constData(), n) != n) {
            finish(CallError{QStringLiteral("Client error: cannot write ") + m_destination +
                             QStringLiteral(": ") + m_partial->errorString()});
            return;
        }
    }
    // A cancel has no more to tell.
    if (moved && !m_cancelled) {
        reportProgress();
    }
}

void DropboxDownloadRequest::reportProgress() {
    qint64 completed = m_written;
    for (const auto& piece : m_pieces) {
        completed += piece->received;
    }
    if (m_onProgress) {
        m_onProgress(TransferProgress{completed, std::max<qint64>(m_total, 0)});
    }
}

void DropboxDownloadRequest::onFinished(QNetworkReply* reply) {
    reply->deleteLater();
    Piece* piece = pieceOf(reply);
    if (m_done || !piece) {
        return;
    }
    if (m_cancelled) {
        finish(CallError{QStringLiteral("Client error: cancelled")});
        return;
    }
    const int status = httpStatus(reply);
    if (status == 401 && !piece->retried && !m_client->m_tokens.refreshToken.isEmpty()) {
        piece->retried = true;
        piece->reply.clear();
        const CallError failure = dropboxCallError(reply, reply->readAll());
        m_client->refresh([self = QPointer(this), piece, failure](bool ok) {
            if (!self || self->m_done) {
                return;
            }
            if (ok) {
                self->send(piece);
            } else {
                self->finish(failure);
            }
        });
        return;
    }
    if (status == 416 && piece->start == 0) {
        // No byte to give: an empty file.
        const std::optional<ContentRange> range =
            parseContentRange(reply->rawHeader("Content-Range"));
        if (range && range->total == 0) {
            m_total = 0;
            complete();
            return;
        }
    }
    if (!isBody(status) || reply->error() != QNetworkReply::NoError) {
        finish(dropboxCallError(reply, isBody(status) ? QByteArray() : reply->readAll()));
        return;
    }
    onReadyRead(piece);
    if (m_done) {
        return;
    }
    // A connection that ends early can look like a clean end to the reply;
    // the length the service announced tells.
    if (piece->length >= 0 && piece->received != piece->length) {
        finish(CallError{QStringLiteral("Client error: the connection ended after %1 of %2 bytes")
                             .arg(m_written + piece->received)
                             .arg(m_total >= 0 ? m_total : piece->length)});
        return;
    }
    m_written += piece->received;
    if (m_total < 0) {
        m_total = m_written;  // a whole file of unannounced length
        m_requested = m_total;
    }
    std::erase_if(m_pieces, [piece](const auto& p) { return p.get() == piece; });
    requestMore();
    if (m_pieces.empty()) {
        complete();
    }
}

void DropboxDownloadRequest::complete() {
    if (!m_partial->resize(m_total) || !m_partial->flush()) {
        finish(CallError{QStringLiteral("Client error: ") + m_partial->errorString()});
        return;
    }
    // No overwrite: a file that took the name meanwhile is kept, and this transfer fails.
    if (QFileInfo::exists(m_destination) || !m_partial->rename(m_destination)) {
        finish(CallError{QStringLiteral("Client error: cannot move the file to ") + m_destination});
        return;
    }
    m_partial->setAutoRemove(false);
    finish(std::nullopt);
}

void DropboxDownloadRequest::cancel() {
    if (m_done || m_cancelled) {
        return;
    }
    m_cancelled = true;
    // An abort ends its piece, and with it the request, at once in onFinished,
    // which empties the list of pieces: so the replies are taken first.
    QList<QPointer<QNetworkReply>> replies;
    for (const auto& piece : m_pieces) {
        if (piece->reply) {
            replies.append(piece->reply);
        }
    }
    for (const QPointer<QNetworkReply>& reply : replies) {
        if (reply) {
            reply->abort();
        }
    }
    finish(CallError{QStringLiteral("Client error: cancelled")});  // if no reply was on its way
}

void DropboxDownloadRequest::finish(std::optional<CallError> error) {
    if (m_done) {
        return;
    }
    m_done = true;
    if (error) {
        m_partial.reset();  // removes the partial file
    }
    // The other pieces have nothing more to bring.
    for (const auto& piece : std::exchange(m_pieces, {})) {
        if (piece->reply) {
            piece->reply->abort();
        }
    }
    // Answers arrive later on the main thread, never inside the caller's call:
    // a cancel must return before its request's failure is heard.
    MainQueue::async([self = QPointer(this), error = std::move(error)] {
        if (!self) {
            return;
        }
        if (self->m_onResponse) {
            self->m_onResponse(error);
        }
        self->deleteLater();
    });
}
