#include "WiFiUploadServer.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <stdio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "AppDirectories.h"
#include "BonjourAnnouncer.h"
#include "ListenSocket.h"
#include "Log.h"
#include "UploadFileName.h"
#include "UploadLibraries.h"
#include "UploadStagingArea.h"
#include "WiFiAddress.h"

Q_LOGGING_CATEGORY(lcUploadServer, "corvantis.intake.upload", QtWarningMsg)

namespace {

// Used only once startWithPort() found the libraries loaded.
const UploadLibraries::Http& http() {
    return UploadLibraries::shared()->http;
}

const char* const kTextContentType = "text/plain; charset=utf-8";
// Headers and the read buffer of one connection live in this much memory, so
// it also bounds the size of a request's headers.
constexpr size_t kConnectionMemory = 256 * 1024;
constexpr size_t kPostBufferSize = 64 * 1024;
// A body that goes on renaming into a taken name is someone else's race; give up.
constexpr int kRenameAttempts = 1000;

enum class Route { Page, Upload, Files, NotFound, Busy };

Route routeOf(const char* method, const char* url) {
    const bool isGet = std::strcmp(method, MHD_HTTP_METHOD_GET) == 0;
    const bool isPost = std::strcmp(method, MHD_HTTP_METHOD_POST) == 0;
    if (std::strcmp(url, "/") == 0) {
        return isGet ? Route::Page : isPost ? Route::Upload : Route::NotFound;
    }
    if (std::strcmp(url, "/files") == 0 && isGet) {
        return Route::Files;
    }
    return Route::NotFound;
}

// One file part of a POST, streamed to its temporary file as it arrives.
struct FilePart {
    QString controlName;
    QString fileName;
    QString contentType;
    QString temporaryPath;  // empty once moved or removed
    int fd = -1;
    qint64 received = 0;
    int writeError = 0;

    QString description() const {
        return QStringLiteral(
                   "controlName=\"%1\" fileName=\"%2\" contentType=\"%3\" "
                   "temporaryPath=\"%4\"")
            .arg(controlName, fileName, contentType, temporaryPath);
    }
};

QString errnoText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// The client's address alone, the same for IPv4 and its IPv6-mapped form;
// empty for what is neither.
std::string addressKey(const sockaddr* address) {
    if (address && address->sa_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
        return std::string(reinterpret_cast<const char*>(&v4->sin_addr), sizeof v4->sin_addr);
    }
    if (address && address->sa_family == AF_INET6) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(address);
        const char* bytes = reinterpret_cast<const char*>(&v6->sin6_addr);
        return IN6_IS_ADDR_V4MAPPED(&v6->sin6_addr) ? std::string(bytes + 12, 4)
                                                    : std::string(bytes, sizeof v6->sin6_addr);
    }
    return {};
}

// Keeps track of the server's connections: how many each client address
// holds, and whether each request's headers arrive in time. The library's own
// timeout measures silence only, which a client that sends a byte now and then
// never breaks; such a connection is cut here once its time is up.
class ConnectionGuard {
public:
    using Clock = std::chrono::steady_clock;

    explicit ConnectionGuard(const WiFiUploadServer::Options& options)
        : m_crowd(options.connectionLimit - options.connectionLimit / 4),
          m_perAddressLimit(options.perAddressLimit),
          m_headerTime(std::chrono::seconds(options.headerTimeoutSeconds)),
          m_excessHeaderTime(std::chrono::seconds(
              std::min(options.headerTimeoutSeconds, WiFiUploadServer::kExcessHeaderSeconds))),
          m_keptAliveTime(std::chrono::seconds(
              std::max(options.headerTimeoutSeconds, options.idleTimeoutSeconds))),
          m_watch([this] { watch(); }) {}

    ~ConnectionGuard() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        m_watch.join();
    }

    ConnectionGuard(const ConnectionGuard&) = delete;
    ConnectionGuard& operator=(const ConnectionGuard&) = delete;

    void opened(MHD_Connection* connection) {
        const MHD_ConnectionInfo* fd =
            http().getConnectionInfo(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        const MHD_ConnectionInfo* address =
            http().getConnectionInfo(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
        Peer peer;
        peer.fd = fd ? fd->connect_fd : -1;
        peer.address = addressKey(address ? address->client_addr : nullptr);
        {
            std::lock_guard lock(m_mutex);
            peer.admitted = take(peer.address);
            peer.deadline = Clock::now() + (peer.admitted ? m_headerTime : m_excessHeaderTime);
            m_peers.insert_or_assign(connection, peer);
        }
        m_wake.notify_one();
    }

    // Called before the library closes the socket, so that the watch never
    // touches a descriptor that may already name another file.
    void closed(MHD_Connection* connection) {
        std::lock_guard lock(m_mutex);
        const auto found = m_peers.find(connection);
        if (found == m_peers.end()) {
            return;
        }
        if (found->second.admitted) {
            release(found->second.address);
        }
        m_peers.erase(found);
    }

    // The headers of a request are in. False when its address already holds
    // all the connections it may, counting those that came before this one.
    bool admit(MHD_Connection* connection) {
        std::lock_guard lock(m_mutex);
        const auto found = m_peers.find(connection);
        if (found == m_peers.end()) {
            return true;
        }
        Peer& peer = found->second;
        peer.awaitingHeaders = false;
        if (!peer.admitted) {
            peer.admitted = take(peer.address);
        }
        return peer.admitted;
    }

    // Most of the pool is taken: a connection that stayed open for a next
    // request would keep a waiting client out.
    bool crowded() {
        std::lock_guard lock(m_mutex);
        return m_peers.size() >= m_crowd;
    }

    // The answer is out; a kept-alive connection waits for its next request.
    void answered(MHD_Connection* connection) {
        {
            std::lock_guard lock(m_mutex);
            const auto found = m_peers.find(connection);
            if (found == m_peers.end()) {
                return;
            }
            found->second.awaitingHeaders = true;
            found->second.deadline = Clock::now() + m_keptAliveTime;
        }
        m_wake.notify_one();
    }

private:
    struct Peer {
        int fd = -1;
        std::string address;
        Clock::time_point deadline;
        bool awaitingHeaders = true;
        bool admitted = false;
        bool cut = false;
    };

    bool take(const std::string& address) {
        if (m_perAddressLimit == 0) {
            return true;
        }
        unsigned& held = m_held[address];
        if (held >= m_perAddressLimit) {
            return false;
        }
        ++held;
        return true;
    }

    void release(const std::string& address) {
        if (m_perAddressLimit == 0) {
            return;
        }
        const auto found = m_held.find(address);
        if (found != m_held.end() && --found->second == 0) {
            m_held.erase(found);
        }
    }

    void watch() {
        static constexpr char timeout[] =
            "HTTP/1.1 408 Request Timeout\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
        std::unique_lock lock(m_mutex);
        while (!m_stopping) {
            // Asleep until the nearest deadline, or until a connection comes
            // or is answered and may bring a nearer one.
            const Clock::time_point now = Clock::now();
            Clock::time_point next = Clock::time_point::max();
            for (auto& [connection, peer] : m_peers) {
                if (!peer.awaitingHeaders || peer.cut || peer.fd < 0) {
                    continue;
                }
                if (now < peer.deadline) {
                    next = std::min(next, peer.deadline);
                    continue;
                }
                // Nothing else writes to a connection that has not sent its
                // headers yet; the shutdown wakes the library, which closes it.
                [[maybe_unused]] const ssize_t sent =
                    ::send(peer.fd, timeout, sizeof timeout - 1, MSG_NOSIGNAL | MSG_DONTWAIT);
                ::shutdown(peer.fd, SHUT_RDWR);
                peer.cut = true;
                qCDebug(lcUploadServer) << "a request's headers took too long; connection closed";
            }
            if (next == Clock::time_point::max()) {
                m_wake.wait(lock);
            } else {
                m_wake.wait_until(lock, next);
            }
        }
    }

    const size_t m_crowd;
    const unsigned m_perAddressLimit;
    const Clock::duration m_headerTime;
    const Clock::duration m_excessHeaderTime;
    const Clock::duration m_keptAliveTime;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::unordered_map<MHD_Connection*, Peer> m_peers;
    std::unordered_map<std::string, unsigned> m_held;  // admitted connections by address
    std::thread m_watch;                               // last: it uses all of the above
};

}  // namespace

struct WiFiUploadServer::Private {
    Options options;
    std::unique_ptr<WiFiUploadRecord> record;
    BonjourAnnouncer announcer;
    MHD_Daemon* daemon = nullptr;
    quint16 port = 0;
    int startError = 0;
    UploadStagingArea staging;
    mode_t fileMode = 0644;
    // Held from picking a stored name until the file is in place under it, so
    // that two requests never pick the same free name.
    std::mutex moveMutex;
    std::unique_ptr<ConnectionGuard> guard;  // while running

    struct Request;

    static MHD_Result onRequest(void* context, MHD_Connection* connection, const char* url,
                                const char* method, const char* version, const char* uploadData,
                                size_t* uploadDataSize, void** requestContext);
    static void onCompleted(void* context, MHD_Connection* connection, void** requestContext,
                            MHD_RequestTerminationCode code);
    static void onConnection(void* context, MHD_Connection* connection, void** socketContext,
                             MHD_ConnectionNotificationCode code);
    MHD_Result answer(MHD_Connection* connection, Route route, unsigned status,
                      const QByteArray& body, const char* contentType);
    static MHD_Result onPostData(void* context, MHD_ValueKind kind, const char* key,
                                 const char* fileName, const char* contentType,
                                 const char* transferEncoding, const char* data, uint64_t offset,
                                 size_t size);
    static void onLibraryLog(void* context, const char* format, va_list arguments);

    QByteArray pageAnswer(const char** contentType) const;
    QByteArray finishUpload(Request& request);
    void ensureMusicDirectory() const;
    bool openTemporaryFile(FilePart& part) const;
    QString moveIntoPlace(FilePart& part, QString* storedName, qint64* size);
};

struct WiFiUploadServer::Private::Request {
    Private* server = nullptr;
    Route route = Route::NotFound;
    MHD_PostProcessor* processor = nullptr;
    bool isMultipart = false;
    bool malformed = false;
    // Once a part cannot be written the answer is settled; the rest of the
    // body is read and dropped.
    bool discarding = false;
    std::vector<FilePart> parts;

    ~Request() {
        if (processor) {
            http().destroyPostProcessor(processor);
        }
        for (FilePart& part : parts) {
            closeAndRemove(part);
        }
    }

    static void closeAndRemove(FilePart& part) {
        if (part.fd >= 0) {
            ::close(part.fd);
            part.fd = -1;
        }
        if (!part.temporaryPath.isEmpty()) {
            ::unlink(QFile::encodeName(part.temporaryPath).constData());
            part.temporaryPath.clear();
        }
    }

    void closeCurrent() {
        if (!parts.empty() && parts.back().fd >= 0) {
            FilePart& part = parts.back();
            if (::close(part.fd) != 0 && part.writeError == 0) {
                part.writeError = errno;
            }
            part.fd = -1;
        }
    }
};

void WiFiUploadServer::Private::onLibraryLog(void*, const char* format, va_list arguments) {
    char line[512];
    std::vsnprintf(line, sizeof line, format, arguments);
    qCDebug(lcUploadServer) << "libmicrohttpd:" << QByteArray(line).trimmed();
}

MHD_Result WiFiUploadServer::Private::onPostData(void* context, MHD_ValueKind, const char* key,
                                                 const char* fileName, const char* contentType,
                                                 const char*, const char* data, uint64_t offset,
                                                 size_t size) {
    auto* request = static_cast<Request*>(context);
    // Ordinary form fields do not count; every part with a file name does.
    if (!fileName || request->discarding) {
        return MHD_YES;
    }
    const QString controlName = QString::fromUtf8(key ? key : "");
    const QString name = QString::fromUtf8(fileName);
    // The library calls at least once per part, offsets counting from 0. An
    // empty part may be followed by a call at offset 0 for the same part, so a
    // new part is one that starts at 0 after data, or under other names.
    const FilePart* last = request->parts.empty() ? nullptr : &request->parts.back();
    const bool newPart =
        offset == 0 &&
        (!last || last->received > 0 || last->controlName != controlName || last->fileName != name);
    if (newPart) {
        request->closeCurrent();
        FilePart part;
        part.controlName = controlName;
        part.fileName = name;
        part.contentType = QString::fromUtf8(contentType ? contentType : "");
        if (!request->server->openTemporaryFile(part)) {
            request->discarding = true;
        }
        request->parts.push_back(part);
        if (request->discarding) {
            return MHD_YES;
        }
    }
    FilePart& part = request->parts.back();
    while (size > 0) {
        const ssize_t written = ::write(part.fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            part.writeError = written < 0 ? errno : ENOSPC;
            request->discarding = true;
            Request::closeAndRemove(part);
            return MHD_YES;
        }
        data += written;
        size -= size_t(written);
        part.received += written;
    }
    return MHD_YES;
}

bool WiFiUploadServer::Private::openTemporaryFile(FilePart& part) const {
    QByteArray pattern = QFile::encodeName(staging.path() + QStringLiteral("/upload-XXXXXX"));
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0) {
        part.writeError = errno;
        return false;
    }
    // mkostemp makes files for the owner only; an uploaded file is an ordinary one.
    ::fchmod(fd, fileMode);
    part.fd = fd;
    part.temporaryPath = QFile::decodeName(pattern);
    return true;
}

QByteArray WiFiUploadServer::Private::pageAnswer(const char** contentType) const {
    *contentType = kTextContentType;
    const QString path =
        options.pagePath.isEmpty() ? QStringLiteral(":/index.html") : options.pagePath;
    if (!QFileInfo::exists(path)) {
        return QByteArrayLiteral("HTML file not found");
    }
    QFile page(path);
    if (!page.open(QIODevice::ReadOnly)) {
        return QByteArrayLiteral("Failed to read HTML file");
    }
    QByteArray bytes = page.readAll();
    if (page.error() != QFileDevice::NoError) {
        return QByteArrayLiteral("Failed to read HTML file");
    }
    *contentType = "text/html";
    return bytes;
}

void WiFiUploadServer::Private::ensureMusicDirectory() const {
    const QFileInfo info(options.musicDirectory);
    if (info.exists() || info.isSymLink()) {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(options.musicDirectory).toStdString(),
                                        error);
    if (error) {
        systemLog(QStringLiteral("Error creating directory: ") +
                  QString::fromStdString(error.message()));
    } else {
        systemLog(QStringLiteral("Created 'Downloaded Music' directory"));
    }
}

// The stored name on success; the real error otherwise.
QString WiFiUploadServer::Private::moveIntoPlace(FilePart& part, QString* storedName,
                                                 qint64* size) {
    std::lock_guard lock(moveMutex);
    *storedName = uploadStoredName(part.fileName, options.musicDirectory);
    if (part.writeError != 0) {
        return errnoText(part.writeError);
    }
    struct stat attributes {};
    if (::stat(QFile::encodeName(part.temporaryPath).constData(), &attributes) != 0) {
        return errnoText(errno);
    }
    *size = attributes.st_size;
    if (isUnsafeUploadName(part.fileName)) {
        return QStringLiteral("the name is not a plain file name");
    }
    const QByteArray from = QFile::encodeName(part.temporaryPath);
    for (int attempt = 0; attempt < kRenameAttempts; ++attempt) {
        const QByteArray to =
            QFile::encodeName(options.musicDirectory + QLatin1Char('/') + *storedName);
        // Never over an existing file, even one put there behind our back.
        int rc =
            ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE);
        if (rc != 0 && errno == EINVAL) {
            rc = ::rename(from.constData(), to.constData());
        }
        if (rc == 0) {
            part.temporaryPath.clear();
            return QString();
        }
        if (errno != EEXIST) {
            return errnoText(errno);
        }
        *storedName = uploadStoredName(part.fileName, options.musicDirectory);
    }
    return errnoText(EEXIST);
}

QByteArray WiFiUploadServer::Private::finishUpload(Request& request) {
    if (request.processor) {
        // A body cut short before its closing boundary may have left the last
        // part incomplete: none of it counts.
        const bool complete = http().destroyPostProcessor(request.processor) == MHD_YES;
        request.processor = nullptr;
        request.malformed = request.malformed || !complete;
    }
    request.closeCurrent();
    if (!request.isMultipart || request.malformed) {
        return QByteArrayLiteral("Invalid request");
    }
    systemLog(QStringLiteral("Files: ") + QString::number(request.parts.size()));
    if (request.parts.empty()) {
        return QByteArrayLiteral("No files found in request");
    }
    ensureMusicDirectory();
    for (FilePart& part : request.parts) {
        systemLog(QStringLiteral("Path: ") + part.temporaryPath);
        systemLog(QStringLiteral("PathFile: ") + part.description());
        QString storedName;
        qint64 size = 0;
        const QString error = moveIntoPlace(part, &storedName, &size);
        if (!error.isEmpty()) {
            systemLog(QStringLiteral("Error saving file ") + part.fileName + QStringLiteral(": ") +
                      error);
            // The client hears the same words whatever went wrong.
            return (QStringLiteral("Error saving file ") + part.fileName +
                    QStringLiteral(": File Exists"))
                .toUtf8();
        }
        systemLog(QStringLiteral("Saved file: %1 with size: %2 bytes")
                      .arg(storedName, QString::number(size)));
        record->append(storedName, size);
    }
    return QByteArray();
}

MHD_Result WiFiUploadServer::Private::onRequest(void* context, MHD_Connection* connection,
                                                const char* url, const char* method, const char*,
                                                const char* uploadData, size_t* uploadDataSize,
                                                void** requestContext) {
    auto* self = static_cast<Private*>(context);
    auto* request = static_cast<Request*>(*requestContext);
    if (!request) {
        request = new Request;
        request->server = self;
        request->route = self->guard->admit(connection) ? routeOf(method, url) : Route::Busy;
        if (request->route == Route::Busy) {
            // At once, before any body: the client hears it without sending its file.
            *requestContext = request;
            return self->answer(
                connection, Route::Busy, MHD_HTTP_SERVICE_UNAVAILABLE,
                QByteArrayLiteral("Too many connections from this address; try again"),
                kTextContentType);
        }
        if (request->route == Route::Upload) {
            const char* type = http().lookupConnectionValue(connection, MHD_HEADER_KIND,
                                                            MHD_HTTP_HEADER_CONTENT_TYPE);
            request->isMultipart =
                type && strncasecmp(type, MHD_HTTP_POST_ENCODING_MULTIPART_FORMDATA,
                                    std::strlen(MHD_HTTP_POST_ENCODING_MULTIPART_FORMDATA)) == 0;
            if (request->isMultipart) {
                request->processor = http().createPostProcessor(connection, kPostBufferSize,
                                                                &Private::onPostData, request);
                request->malformed = request->processor == nullptr;
            }
        }
        *requestContext = request;
        return MHD_YES;
    }
    if (request->route == Route::Busy) {
        *uploadDataSize = 0;  // answered already; the body is not wanted
        return MHD_YES;
    }
    if (*uploadDataSize > 0) {
        if (request->processor && !request->malformed &&
            http().postProcess(request->processor, uploadData, *uploadDataSize) != MHD_YES) {
            request->malformed = true;
        }
        *uploadDataSize = 0;
        return MHD_YES;
    }

    QByteArray body;
    const char* contentType = kTextContentType;
    unsigned status = MHD_HTTP_OK;
    switch (request->route) {
        case Route::Page:
            body = self->pageAnswer(&contentType);
            break;
        case Route::Upload:
            body = self->finishUpload(*request);
            break;
        case Route::Files:
            body = self->record->reloadAsFilesJson();
            contentType = "application/json";
            break;
        case Route::NotFound:
        case Route::Busy:
            status = MHD_HTTP_NOT_FOUND;
            body = QByteArrayLiteral("Not Found");
            break;
    }
    return self->answer(connection, request->route, status, body, contentType);
}

MHD_Result WiFiUploadServer::Private::answer(MHD_Connection* connection, Route route,
                                             unsigned status, const QByteArray& body,
                                             const char* contentType) {
    MHD_Response* response = http().createResponseFromBuffer(
        size_t(body.size()), const_cast<char*>(body.constData()), MHD_RESPMEM_MUST_COPY);
    if (!response) {
        return MHD_NO;
    }
    http().addResponseHeader(response, MHD_HTTP_HEADER_CONTENT_TYPE, contentType);
    if (route == Route::Files) {
        http().addResponseHeader(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    }
    if (route == Route::Busy) {
        http().addResponseHeader(response, MHD_HTTP_HEADER_RETRY_AFTER, "1");
    }
    if (route == Route::Busy || guard->crowded()) {
        http().addResponseHeader(response, MHD_HTTP_HEADER_CONNECTION, "close");
    }
    const MHD_Result result = http().queueResponse(connection, status, response);
    http().destroyResponse(response);
    return result;
}

void WiFiUploadServer::Private::onConnection(void* context, MHD_Connection* connection, void**,
                                             MHD_ConnectionNotificationCode code) {
    ConnectionGuard& guard = *static_cast<Private*>(context)->guard;
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        guard.opened(connection);
    } else {
        guard.closed(connection);
    }
}

void WiFiUploadServer::Private::onCompleted(void* context, MHD_Connection* connection,
                                            void** requestContext,
                                            MHD_RequestTerminationCode code) {
    static_cast<Private*>(context)->guard->answered(connection);
    auto* request = static_cast<Request*>(*requestContext);
    if (request && code != MHD_REQUEST_TERMINATED_COMPLETED_OK && !request->parts.empty()) {
        qCDebug(lcUploadServer) << "upload ended early (" << int(code)
                                << "); its temporary files are removed";
    }
    // Whatever was not moved into the music folder goes with the request.
    delete request;
    *requestContext = nullptr;
}

WiFiUploadServer::WiFiUploadServer() : WiFiUploadServer(Options()) {}

WiFiUploadServer::WiFiUploadServer(Options options) : d(std::make_unique<Private>()) {
    if (options.musicDirectory.isEmpty()) {
        options.musicDirectory = downloadedMusicDirectory();
    }
    options.musicDirectory = QDir(options.musicDirectory).absolutePath();
    d->options = options;
    d->record = std::make_unique<WiFiUploadRecord>(AppDirectories::settingsFile());
}

WiFiUploadServer::~WiFiUploadServer() {
    stop();
}

bool WiFiUploadServer::startWithPort(quint16 port, const QString& bonjourName) {
    stop();
    if (!UploadLibraries::shared()) {
        d->startError = ELIBACC;
        return false;
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    d->fileMode = 0666 & ~mask;

    // Temporary files live beside the music folder: on its file system, so
    // that a rename moves them in, yet out of sight of the track scans.
    const QString stagingRoot =
        QFileInfo(d->options.musicDirectory).absolutePath() + QStringLiteral("/.Uploading");
    int error = 0;
    if (!d->staging.open(stagingRoot, &error)) {
        systemLog(QStringLiteral("Cannot make a folder for uploads in progress in %1: %2")
                      .arg(stagingRoot, errnoText(error)));
        d->startError = error;
        return false;
    }

    const ListenSocket socket = openListenSocket(port, d->options.loopbackOnly);
    if (socket.fd < 0) {
        d->startError = socket.error;
        qCWarning(lcUploadServer) << "cannot listen on port" << port << ":"
                                  << errnoText(socket.error);
        d->staging.close();
        return false;
    }
    d->guard = std::make_unique<ConnectionGuard>(d->options);
    d->daemon = http().startDaemon(
        MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_EPOLL | MHD_USE_ERROR_LOG, socket.port, nullptr,
        nullptr, &Private::onRequest, d.get(), MHD_OPTION_EXTERNAL_LOGGER, &Private::onLibraryLog,
        nullptr, MHD_OPTION_LISTEN_SOCKET, socket.fd, MHD_OPTION_THREAD_POOL_SIZE,
        d->options.workerThreads, MHD_OPTION_CONNECTION_LIMIT, d->options.connectionLimit,
        MHD_OPTION_CONNECTION_TIMEOUT, d->options.idleTimeoutSeconds,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory, MHD_OPTION_NOTIFY_COMPLETED,
        &Private::onCompleted, d.get(), MHD_OPTION_NOTIFY_CONNECTION, &Private::onConnection,
        d.get(), MHD_OPTION_END);
    if (!d->daemon) {
        d->guard.reset();
        ::close(socket.fd);
        d->startError = EINVAL;
        qCWarning(lcUploadServer) << "the HTTP library did not start";
        d->staging.close();
        return false;
    }
    d->port = socket.port;
    d->startError = 0;
    if (d->options.announce) {
        d->announcer.announce(bonjourName, d->port);
    }
    if (const std::optional<QString> url = serverURL()) {
        systemLog(QStringLiteral("Web server started at: ") + *url);
    }
    return true;
}

void WiFiUploadServer::stop() {
    if (!d->daemon) {
        return;
    }
    d->announcer.withdraw();
    // Waits for the workers; requests still open are completed and cleaned up.
    http().stopDaemon(d->daemon);
    d->daemon = nullptr;
    d->guard.reset();
    d->port = 0;
    d->staging.close();
}

bool WiFiUploadServer::isRunning() const {
    return d->daemon != nullptr;
}

quint16 WiFiUploadServer::port() const {
    return d->port;
}

std::optional<QString> WiFiUploadServer::serverURL() const {
    if (!d->daemon) {
        return std::nullopt;
    }
    const std::optional<QString> address = getWiFiAddress();
    if (!address) {
        return std::nullopt;
    }
    return addressLabelText(address, d->port) + QLatin1Char('/');
}

int WiFiUploadServer::startError() const {
    return d->startError;
}

const QString& WiFiUploadServer::musicDirectory() const {
    return d->options.musicDirectory;
}

WiFiUploadRecord& WiFiUploadServer::record() {
    return *d->record;
}
