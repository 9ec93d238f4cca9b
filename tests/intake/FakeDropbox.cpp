#include "FakeDropbox.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QRegularExpression>
#include <QSet>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <QUrlQuery>
#include <functional>

#include "DropboxClient.h"

namespace {

// Generated bodies repeat a block of prime length, so that a byte shifted by
// any power of two lands on a different value; sent by slices, it costs a copy.
constexpr qint64 patternPeriod = 65521;
constexpr qint64 sendSlice = 256 * 1024;

const QByteArray& patternBlock() {
    static const QByteArray block = [] {
        QByteArray bytes(patternPeriod + sendSlice, Qt::Uninitialized);
        for (qint64 i = 0; i < bytes.size(); ++i) {
            const qint64 k = i % patternPeriod;
            bytes[i] = static_cast<char>((k * 31 + (k >> 7)) & 0xff);
        }
        return bytes;
    }();
    return block;
}

}  // namespace

struct FakeDropbox::State {
    mutable std::mutex mutex;
    QHash<QString, Entry> entries;         // by lower-case path; "" is the root
    QHash<QString, QStringList> children;  // folder to its entries, in insertion order
    QList<int> pageSizes{1000};
    Listing listing = Listing::ends;
    QHash<QString, QList<QPair<int, Failure>>> failures;
    int slowChunk = 0;
    int slowInterval = 0;
    qint64 dropAfter = -1;
    bool ignoreRange = false;
    QHash<QString, int> revisions;  // lower-case path to the downloads left before a new revision
    bool deny = false;
    struct Grant {
        QString challenge;
        QString redirectUri;
    };
    QHash<QString, Grant> codes;
    QSet<QString> accessTokens;
    QSet<QString> expiredTokens;
    QSet<QString> refreshTokens;
    int serial = 0;
    QList<Request> log;
    int connections = 0;

    QString nextToken(const char* kind) {
        return QStringLiteral("%1-%2-%3")
            .arg(QLatin1String(kind))
            .arg(++serial)
            .arg(QString::number(QDateTime::currentMSecsSinceEpoch(), 36));
    }
};

namespace {

QString parentOf(const QString& lowerPath) {
    const qsizetype slash = lowerPath.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QString() : lowerPath.left(slash);
}

QByteArray compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray errorJson(const QString& summary, const QJsonObject& error) {
    return compact({{"error_summary", summary}, {"error", error}});
}

QByteArray pathError(const char* tag) {
    return errorJson(QStringLiteral("path/%1/..").arg(QLatin1String(tag)),
                     QJsonObject{{".tag", "path"}, {"path", QJsonObject{{".tag", tag}}}});
}

QByteArray tokenError(const char* tag) {
    return errorJson(QLatin1String(tag) + '/', QJsonObject{{".tag", tag}});
}

struct Response {
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    Response(int status = 200, Headers headers = {}, QByteArray body = {})
        : status(status), headers(std::move(headers)), body(std::move(body)) {}
    int status;
    Headers headers;
    QByteArray body;
    // A download body: content or a generated size.
    bool isDownload = false;
    QByteArray content;
    qint64 generatedSize = -1;
    qint64 bodyStart = 0;  // the range sent, of a download
    qint64 bodyLength = 0;
    qint64 cutAfter = -1;  // bytes of the body sent before the connection closes
};

Response text(int status, const QByteArray& body) {
    return {status, {{"Content-Type", "text/plain; charset=utf-8"}}, body};
}

Response json(int status, const QByteArray& body) {
    return {status, {{"Content-Type", "application/json"}}, body};
}

// The service's answer to a call it cannot read: plain text naming the function.
Response apiError(const QString& function, const QByteArray& detail) {
    return text(400, "Error in call to API function \"" + function.toUtf8() + "\": " + detail);
}

QByteArray reason(int status) {
    static const QHash<int, QByteArray> reasons{{200, "OK"},
                                                {206, "Partial Content"},
                                                {302, "Found"},
                                                {400, "Bad Request"},
                                                {401, "Unauthorized"},
                                                {409, "Conflict"},
                                                {416, "Range Not Satisfiable"},
                                                {429, "Too Many Requests"}};
    return reasons.value(status, "Error");
}

}  // namespace

// The HTTP side: lives on the fake's thread.
class FakeDropboxServer : public QTcpServer {
public:
    explicit FakeDropboxServer(FakeDropbox::State& state) : m_state(state) {}

protected:
    void incomingConnection(qintptr descriptor) override {
        auto* socket = new QTcpSocket(this);
        socket->setSocketDescriptor(descriptor);
        // Head and body go out as separate writes; without this, each small
        // answer waits out the peer's delayed acknowledgement.
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto connection = std::make_shared<Connection>();
        connection->socket = socket;
        const auto count = [this](int change) {
            std::lock_guard lock(m_state.mutex);
            m_state.connections += change;
        };
        count(1);
        connect(socket, &QTcpSocket::readyRead, this, [this, connection] { serve(*connection); });
        connect(socket, &QTcpSocket::bytesWritten, this, [this, connection] { pump(*connection); });
        connect(socket, &QTcpSocket::disconnected, this, [socket, count] {
            count(-1);
            socket->deleteLater();
        });
    }

private:
    struct Connection {
        QTcpSocket* socket = nullptr;
        QByteArray buffer;
        bool sending = false;
        QByteArray content;
        qint64 generated = -1;
        qint64 offset = 0;  // in the file, of the next byte to send
        qint64 end = 0;
        qint64 dropAt = -1;
        int chunk = 0;
        int interval = 0;
        bool waiting = false;
        bool closeAfter = false;
    };

    void serve(Connection& c) {
        c.buffer += c.socket->readAll();
        while (!c.sending) {
            const qsizetype end = c.buffer.indexOf("\r\n\r\n");
            if (end < 0) {
                return;
            }
            FakeDropbox::Request request;
            const QList<QByteArray> lines = c.buffer.left(end).split('\n');
            const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
            request.method = first.value(0);
            const QByteArray target = first.value(1);
            for (qsizetype i = 1; i < lines.size(); ++i) {
                const qsizetype colon = lines[i].indexOf(':');
                if (colon > 0) {
                    const QByteArray name = lines[i].left(colon).trimmed().toLower();
                    request.headers.insert(name, lines[i].mid(colon + 1).trimmed());
                }
            }
            const qint64 length = request.headers.value("content-length", "0").toLongLong();
            if (c.buffer.size() < end + 4 + length) {
                return;
            }
            request.body = c.buffer.mid(end + 4, length);
            c.buffer.remove(0, end + 4 + length);
            const QUrl url(QString::fromLatin1(target));
            request.path = url.path();
            c.closeAfter = request.headers.value("connection").toLower() == "close";
            respond(c, route(request, QUrlQuery(url)));
        }
    }

    void respond(Connection& c, const Response& response) {
        QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + " " +
                          reason(response.status) + "\r\n";
        for (const auto& [name, value] : response.headers) {
            head += name + ": " + value + "\r\n";
        }
        const qint64 length = response.isDownload ? response.bodyLength : response.body.size();
        head += "Content-Length: " + QByteArray::number(length) + "\r\n\r\n";
        c.socket->write(head);
        if (response.cutAfter >= 0) {
            c.socket->write(response.body.left(response.cutAfter));
            c.socket->disconnectFromHost();
            return;
        }
        if (!response.isDownload) {
            c.socket->write(response.body);
            if (c.closeAfter) {
                c.socket->disconnectFromHost();
            }
            return;
        }
        std::lock_guard lock(m_state.mutex);
        c.sending = true;
        c.content = response.content;
        c.generated = response.generatedSize;
        c.offset = response.bodyStart;
        c.end = response.bodyStart + length;
        const qint64 dropAfter = std::exchange(m_state.dropAfter, -1);
        c.dropAt = dropAfter >= 0 ? c.offset + dropAfter : -1;
        c.chunk = m_state.slowChunk;
        c.interval = m_state.slowInterval;
        QMetaObject::invokeMethod(
            this,
            [this, socket = QPointer(c.socket), &c] {
                if (socket)
                    pump(c);
            },
            Qt::QueuedConnection);
    }

    void pump(Connection& c) {
        if (!c.sending || c.waiting) {
            return;
        }
        const qint64 limit = c.dropAt >= 0 ? std::min(c.dropAt, c.end) : c.end;
        while (c.offset < limit && c.socket->bytesToWrite() < (1 << 20)) {
            const qint64 n = std::min(
                {c.chunk > 0 ? std::min<qint64>(c.chunk, sendSlice) : sendSlice, limit - c.offset});
            c.socket->write(c.generated >= 0 ? patternBlock().constData() + c.offset % patternPeriod
                                             : c.content.constData() + c.offset,
                            n);
            c.offset += n;
            if (c.interval > 0) {
                c.waiting = true;
                QTimer::singleShot(c.interval, this, [this, socket = QPointer(c.socket), &c] {
                    if (socket) {
                        c.waiting = false;
                        pump(c);
                    }
                });
                return;
            }
        }
        if (c.offset < limit) {
            return;  // more once the socket has drained
        }
        if (c.dropAt >= 0 && c.dropAt < c.end) {
            c.socket->flush();
            c.socket->abort();
            return;
        }
        c.sending = false;
        c.content.clear();
        serve(c);
    }

    std::optional<Response> checkFailure(const QString& routeName) {
        auto& queue = m_state.failures[routeName];
        for (auto& [skip, failure] : queue) {
            if (skip-- == 0) {
                const FakeDropbox::Failure chosen = failure;
                queue.removeIf([](const auto& item) { return item.first < 0; });
                Response response = chosen.body.startsWith('{') ? json(chosen.status, chosen.body)
                                                                : text(chosen.status, chosen.body);
                if (!chosen.retryAfter.isEmpty()) {
                    response.headers.append({"Retry-After", chosen.retryAfter});
                }
                response.cutAfter = chosen.cutAfter;
                return response;
            }
        }
        return std::nullopt;
    }

    std::optional<Response> checkToken(const FakeDropbox::Request& request) {
        const QByteArray header = request.headers.value("authorization");
        const QString token = QString::fromLatin1(header.mid(7));
        if (!header.startsWith("Bearer ") || !m_state.accessTokens.contains(token)) {
            return json(401, tokenError("invalid_access_token"));
        }
        if (m_state.expiredTokens.contains(token)) {
            return json(401, tokenError("expired_access_token"));
        }
        return std::nullopt;
    }

    // The documented path rules: "" is the root, "/" is bad input, and a
    // trailing or doubled "/" is a malformed path.
    std::optional<Response> checkPath(const QString& routeName, const QString& path) {
        if (path == QLatin1String("/") ||
            (!path.isEmpty() && !path.startsWith('/') && !path.startsWith(QLatin1String("id:")))) {
            return apiError(routeName.mid(3), "request body: path: '" + path.toUtf8() +
                                                  "' did not match pattern "
                                                  "'(/(.|[\\r\\n])*)?|id:.*|(ns:[0-9]+(/.*)?)'");
        }
        if (path.endsWith('/') || path.contains(QLatin1String("//"))) {
            return json(409, pathError("malformed_path"));
        }
        return std::nullopt;
    }

    // The entry at a call's path, or the documented error when the path is
    // malformed, names nothing, or names the wrong kind of entry.
    struct Lookup {
        QString key;
        std::optional<Response> error;
    };
    Lookup find(const QString& routeName, const QString& path, bool wantFolder) {
        const QString key = path.toLower();
        const auto found = m_state.entries.constFind(key);
        if (auto bad = checkPath(routeName, path)) {
            return {key, bad};
        }
        if (found == m_state.entries.constEnd()) {
            return {key, json(409, pathError("not_found"))};
        }
        if (found->isFolder != wantFolder) {
            return {key, json(409, pathError(wantFolder ? "not_folder" : "not_file"))};
        }
        return {key, std::nullopt};
    }

    QJsonObject metadata(const FakeDropbox::Entry& entry) const {
        const QString name = entry.displayPath.section('/', -1);
        QJsonObject object{{".tag", entry.isFolder ? "folder" : "file"},
                           {"name", name},
                           {"path_display", entry.displayPath},
                           {"id", "id:" + QString::number(qHash(entry.displayPath.toLower()), 36)}};
        if (!entry.withoutLowerPath) {
            object.insert("path_lower", entry.displayPath.toLower());
        }
        if (!entry.isFolder) {
            object.insert("size", entry.size());
            object.insert("rev",
                          QStringLiteral("015f0e1e0f0a%1").arg(entry.revision, 8, 16, QChar('0')));
            object.insert(
                "content_hash",
                QString::fromLatin1(QCryptographicHash::hash(entry.displayPath.toUtf8() +
                                                                 QByteArray::number(entry.revision),
                                                             QCryptographicHash::Sha256)
                                        .toHex()));
        }
        return object;
    }

    Response listPage(const QString& folder, int offset, int page) {
        const int pageSize = m_state.pageSizes.value(page, m_state.pageSizes.last());
        const QStringList& children = m_state.children[folder];
        QJsonArray entries;
        const qsizetype end = std::min<qsizetype>(children.size(), offset + pageSize);
        for (qsizetype i = offset; i < end; ++i) {
            entries.append(metadata(m_state.entries.value(children[i])));
        }
        const bool repeats = m_state.listing == FakeDropbox::Listing::repeatsItsCursor;
        const int taken = repeats ? 0 : int(std::max<qsizetype>(0, end - offset));
        const bool more = end < children.size() || m_state.listing != FakeDropbox::Listing::ends;
        const QString cursor = QString::fromLatin1(
            QStringList{folder, QString::number(offset + taken), QString::number(page + !repeats)}
                .join('\n')
                .toUtf8()
                .toBase64());
        return json(200, compact({{"entries", entries}, {"cursor", cursor}, {"has_more", more}}));
    }

    Response route(const FakeDropbox::Request& request, const QUrlQuery& query) {
        std::lock_guard lock(m_state.mutex);
        m_state.log.append(request);
        const QString& path = request.path;
        if (auto failure = checkFailure(path)) {
            return *failure;
        }
        if (path == QLatin1String("/oauth2/authorize") && request.method == "GET") {
            return authorize(query);
        }
        if (path == QLatin1String("/oauth2/token") && request.method == "POST") {
            return token(QUrlQuery(QString::fromUtf8(request.body)));
        }
        if (request.method != "POST") {
            return text(400, "Unsupported method");
        }
        if (auto denied = checkToken(request)) {
            return *denied;
        }
        if (path == QLatin1String("/2/auth/token/revoke")) {
            const QString token =
                QString::fromLatin1(request.headers.value("authorization").mid(7));
            m_state.accessTokens.remove(token);
            return json(200, "null");
        }
        if (path == QLatin1String("/2/files/download")) {
            return download(request);
        }
        const QByteArray type = request.headers.value("content-type");
        if (!type.startsWith("application/json")) {
            return apiError(path.mid(3), "Bad HTTP \"Content-Type\" header: \"" + type +
                                             "\".  Expecting one of \"application/json\", "
                                             "\"application/json; charset=utf-8\", \"text/plain; "
                                             "charset=dropbox-cors-hack\".");
        }
        QJsonParseError parseError;
        const QJsonObject arguments = QJsonDocument::fromJson(request.body, &parseError).object();
        if (parseError.error != QJsonParseError::NoError) {
            return apiError(path.mid(3), "request body: could not decode input as JSON");
        }
        if (path == QLatin1String("/2/files/list_folder")) {
            const auto found = find(path, arguments.value("path").toString(), true);
            return found.error ? *found.error : listPage(found.key, 0, 0);
        }
        if (path == QLatin1String("/2/files/list_folder/continue")) {
            const QStringList cursor =
                QString::fromUtf8(
                    QByteArray::fromBase64(arguments.value("cursor").toString().toLatin1()))
                    .split('\n');
            if (cursor.size() != 3) {
                return apiError("files/list_folder/continue", "Invalid \"cursor\" parameter");
            }
            return listPage(cursor[0], cursor[1].toInt(), cursor[2].toInt());
        }
        return text(400, "Unknown API function: \"" + path.toUtf8() + "\"");
    }

    Response authorize(const QUrlQuery& query) {
        const QString redirect = query.queryItemValue("redirect_uri", QUrl::FullyDecoded);
        const QString state = query.queryItemValue("state", QUrl::FullyDecoded);
        if (query.queryItemValue("client_id") != QLatin1String(FakeDropbox::appKey) ||
            query.queryItemValue("code_challenge_method") != QLatin1String("S256") ||
            query.queryItemValue("response_type") != QLatin1String("code")) {
            return text(400, "Invalid authorize request");
        }
        QUrlQuery answer;
        QString code;
        if (m_state.deny) {
            answer.addQueryItem("error", "access_denied");
            answer.addQueryItem("error_description", "The user chose not to give your app access");
        } else {
            code = m_state.nextToken("code");
            m_state.codes.insert(code, {query.queryItemValue("code_challenge"), redirect});
            answer.addQueryItem("code", code);
        }
        answer.addQueryItem("state", state);
        if (redirect.isEmpty()) {
            return text(200, m_state.deny ? QByteArray("denied") : code.toUtf8());
        }
        // Joined as text: a URL parser would turn the host "2" into an address.
        return {
            302,
            {{"Location", redirect.toUtf8() + '?' + answer.query(QUrl::FullyEncoded).toUtf8()}}};
    }

    Response token(const QUrlQuery& form) {
        const auto fail = [](const char* description) {
            return json(400,
                        compact({{"error", "invalid_grant"}, {"error_description", description}}));
        };
        if (form.queryItemValue("client_id") != QLatin1String(FakeDropbox::appKey)) {
            return fail("unknown client_id");
        }
        const QString grant = form.queryItemValue("grant_type");
        QJsonObject answer{{"token_type", "bearer"}, {"expires_in", 14400}};
        if (grant == QLatin1String("authorization_code")) {
            const QString code = form.queryItemValue("code", QUrl::FullyDecoded);
            if (!m_state.codes.contains(code)) {
                return fail("code doesn't exist or has expired");
            }
            const FakeDropbox::State::Grant issued = m_state.codes.take(code);
            const QByteArray verifier = form.queryItemValue("code_verifier").toLatin1();
            const QByteArray challenge =
                QCryptographicHash::hash(verifier, QCryptographicHash::Sha256)
                    .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
            if (QString::fromLatin1(challenge) != issued.challenge) {
                return fail("invalid code verifier");
            }
            if (form.queryItemValue("redirect_uri", QUrl::FullyDecoded) != issued.redirectUri) {
                return fail("redirect_uri mismatch");
            }
            const QString refresh = m_state.nextToken("refresh");
            m_state.refreshTokens.insert(refresh);
            answer.insert("refresh_token", refresh);
            answer.insert("uid", "4242");
            answer.insert("account_id", "dbid:fake");
        } else if (grant == QLatin1String("refresh_token")) {
            if (!m_state.refreshTokens.contains(form.queryItemValue("refresh_token"))) {
                return fail("refresh token is invalid or revoked");
            }
        } else {
            return fail("unsupported grant_type");
        }
        const QString access = m_state.nextToken("access");
        m_state.accessTokens.insert(access);
        answer.insert("access_token", access);
        return json(200, compact(answer));
    }

    Response download(const FakeDropbox::Request& request) {
        const QByteArray type = request.headers.value("content-type");
        if (!type.isEmpty() && type != "text/plain; charset=dropbox-cors-hack") {
            return apiError("files/download", "Bad HTTP \"Content-Type\" header: \"" + type +
                                                  "\".  Expecting one of \"text/plain; "
                                                  "charset=dropbox-cors-hack\".");
        }
        const QByteArray argument = request.headers.value("dropbox-api-arg");
        const QJsonObject arguments = QJsonDocument::fromJson(argument).object();
        if (std::any_of(argument.begin(), argument.end(),
                        [](char c) { return static_cast<unsigned char>(c) > 0x7e; }) ||
            !arguments.contains("path")) {
            return apiError("files/download",
                            "HTTP header \"Dropbox-API-Arg\": could not decode input as JSON");
        }
        const auto lookup = find(request.path, arguments.value("path").toString(), false);
        if (lookup.error) {
            return *lookup.error;
        }
        const FakeDropbox::Entry& found = m_state.entries[lookup.key];
        const qint64 size = found.size();
        Response response;
        response.isDownload = true;
        response.content = found.content;
        response.generatedSize = found.generatedSize;
        response.bodyLength = size;
        response.headers = {{"Content-Type", "application/octet-stream"},
                            {"Dropbox-API-Result", dropboxHeaderJson(metadata(found))}};
        if (const auto range = requestedRange(request.headers.value("range"), size);
            range && !m_state.ignoreRange) {
            const auto [first, last] = *range;
            if (first >= size) {
                response = text(416, QByteArray());
                response.headers.append({"Content-Range", "bytes */" + QByteArray::number(size)});
            } else {
                response.status = 206;
                response.bodyStart = first;
                response.bodyLength = last - first + 1;
                response.headers.append({"Content-Range", "bytes " + QByteArray::number(first) +
                                                              '-' + QByteArray::number(last) + '/' +
                                                              QByteArray::number(size)});
            }
        }
        const QString& key = lookup.key;
        if (m_state.revisions.contains(key) && --m_state.revisions[key] == 0) {
            m_state.revisions.remove(key);
            ++m_state.entries[key].revision;
        }
        return response;
    }

    // One range of "bytes=FIRST-LAST" or "bytes=FIRST-", with LAST cut to the
    // file; nothing for a header that is absent or unreadable, which a server
    // ignores. A FIRST past the end is kept: unsatisfiable.
    static std::optional<std::pair<qint64, qint64>> requestedRange(const QByteArray& header,
                                                                   qint64 size) {
        static const QRegularExpression pattern(QStringLiteral("^bytes=(\\d+)-(\\d*)$"));
        const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(header));
        const qint64 first = match.captured(1).toLongLong();
        const bool open = match.captured(2).isEmpty();
        const qint64 last = open ? size - 1 : match.captured(2).toLongLong();
        if (!match.hasMatch() || (!open && last < first)) {
            return std::nullopt;
        }
        return std::pair(first, std::min(last, size - 1));
    }

    FakeDropbox::State& m_state;
};

FakeDropbox::FakeDropbox()
    : m_state(std::make_unique<State>()), m_thread(std::make_unique<QThread>()) {
    m_state->entries.insert(QString(), Entry{true, QString(), {}, -1, false});
    m_server = new FakeDropboxServer(*m_state);
    m_server->listen(QHostAddress::LocalHost, 0);
    m_port = m_server->serverPort();
    m_server->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::finished, m_server, &QObject::deleteLater);
    m_thread->start();
}

FakeDropbox::~FakeDropbox() {
    m_thread->quit();
    m_thread->wait();
}

QUrl FakeDropbox::url() const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port));
}

void FakeDropbox::useFromClient() const {
    const QByteArray base = url().toString().toLatin1();
    qputenv("CORVANTIS_DROPBOX_API_URL", base);
    qputenv("CORVANTIS_DROPBOX_CONTENT_URL", base);
    qputenv("CORVANTIS_DROPBOX_AUTH_URL", base);
    qputenv("CORVANTIS_DROPBOX_APP_KEY", appKey);
}

void FakeDropbox::addFolder(const QString& path) {
    std::lock_guard lock(m_state->mutex);
    QString walked;
    for (const QString& part : path.split('/', Qt::SkipEmptyParts)) {
        walked += '/' + part;
        if (!m_state->entries.contains(walked.toLower())) {
            m_state->entries.insert(walked.toLower(), Entry{true, walked, {}, -1, false});
            m_state->children[parentOf(walked.toLower())].append(walked.toLower());
        }
    }
}

void FakeDropbox::addFile(const QString& path, const QByteArray& content) {
    addFolder(path.section('/', 0, -2));
    std::lock_guard lock(m_state->mutex);
    int revision = 0;
    if (const auto existing = m_state->entries.constFind(path.toLower());
        existing != m_state->entries.constEnd()) {
        revision = existing->revision + 1;
    } else {
        m_state->children[parentOf(path.toLower())].append(path.toLower());
    }
    m_state->entries.insert(path.toLower(), Entry{false, path, content, -1, false, revision});
}

void FakeDropbox::addFileWithoutLowerPath(const QString& path, const QByteArray& content) {
    addFile(path, content);
    std::lock_guard lock(m_state->mutex);
    m_state->entries[path.toLower()].withoutLowerPath = true;
}

void FakeDropbox::addGeneratedFile(const QString& path, qint64 size) {
    addFile(path, {});
    std::lock_guard lock(m_state->mutex);
    m_state->entries[path.toLower()].generatedSize = size;
}

QByteArray FakeDropbox::patternBytes(qint64 size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qint64 i = 0; i < size; ++i) {
        bytes[i] = patternBlock().at(i % patternPeriod);
    }
    return bytes;
}

void FakeDropbox::setPageSizes(const QList<int>& entries) {
    std::lock_guard lock(m_state->mutex);
    m_state->pageSizes = entries;
}

void FakeDropbox::setListing(Listing listing) {
    std::lock_guard lock(m_state->mutex);
    m_state->listing = listing;
}

void FakeDropbox::failOnce(const QString& route, const Failure& failure, int successesFirst) {
    std::lock_guard lock(m_state->mutex);
    m_state->failures[route].append({successesFirst, failure});
}

void FakeDropbox::setSlowTransfer(int chunkBytes, int intervalMs) {
    std::lock_guard lock(m_state->mutex);
    m_state->slowChunk = chunkBytes;
    m_state->slowInterval = intervalMs;
}

void FakeDropbox::dropNextDownloadAfter(qint64 bytes) {
    std::lock_guard lock(m_state->mutex);
    m_state->dropAfter = bytes;
}

void FakeDropbox::setIgnoreRange(bool ignore) {
    std::lock_guard lock(m_state->mutex);
    m_state->ignoreRange = ignore;
}

void FakeDropbox::reviseFileAfterDownloads(const QString& path, int downloads) {
    std::lock_guard lock(m_state->mutex);
    m_state->revisions.insert(path.toLower(), downloads);
}

void FakeDropbox::setDenyAuthorization(bool deny) {
    std::lock_guard lock(m_state->mutex);
    m_state->deny = deny;
}

void FakeDropbox::expireAccessTokens() {
    std::lock_guard lock(m_state->mutex);
    m_state->expiredTokens.unite(m_state->accessTokens);
}

DropboxTokens FakeDropbox::issueTokens() {
    std::lock_guard lock(m_state->mutex);
    DropboxTokens tokens;
    tokens.appKey = appKey;
    tokens.accessToken = m_state->nextToken("access");
    tokens.refreshToken = m_state->nextToken("refresh");
    tokens.uid = QStringLiteral("4242");
    m_state->accessTokens.insert(tokens.accessToken);
    m_state->refreshTokens.insert(tokens.refreshToken);
    return tokens;
}

QString FakeDropbox::visitAuthorizePage(const QUrl& authorizeUrl) {
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, m_port);
    if (!socket.waitForConnected(5000)) {
        return {};
    }
    socket.write("GET " + authorizeUrl.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority) +
                 " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
    QByteArray answer;
    while (socket.waitForReadyRead(5000)) {
        answer += socket.readAll();
    }
    answer += socket.readAll();
    const qsizetype end = answer.indexOf("\r\n\r\n");
    for (const QByteArray& line : answer.left(end).split('\n')) {
        if (line.toLower().startsWith("location:")) {
            return QString::fromLatin1(line.mid(9).trimmed());
        }
    }
    return QString::fromUtf8(answer.mid(end + 4));
}

QList<FakeDropbox::Request> FakeDropbox::requests(const QString& route) const {
    std::lock_guard lock(m_state->mutex);
    QList<Request> matching;
    for (const Request& request : m_state->log) {
        if (request.path == route) {
            matching.append(request);
        }
    }
    return matching;
}

int FakeDropbox::count(const QString& route) const {
    return requests(route).size();
}

int FakeDropbox::openConnections() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->connections;
}
