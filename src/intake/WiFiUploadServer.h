#pragma once

#include <QString>
#include <memory>
#include <optional>

#include "WiFiUploadRecord.h"

struct MHD_Daemon;

// The HTTP server behind the upload screen: GET / (the upload page), POST /
// (multipart file upload into the music folder) and GET /files (the upload
// record). Every answer has status 200; a POST answers an empty text on
// success and the failure text otherwise. File parts stream to temporary files
// beside the music folder and are moved in by rename once the whole body has
// arrived, so memory stays flat and a client that goes away mid-body leaves
// nothing behind. Handlers run on the server's worker threads; this object
// itself is started and stopped from one thread.
class WiFiUploadServer {
public:
    struct Options {
        QString musicDirectory;  // empty: downloadedMusicDirectory()
        QString pagePath;        // empty: the page in the resources
        bool loopbackOnly = false;
        unsigned workerThreads = 4;
        // Connections served at once; more wait in the listen backlog.
        unsigned connectionLimit = 64;
        // Connections one client address holds at once (0: no limit); one
        // more is answered 503 once its headers are in, so that a single
        // machine cannot take the whole pool.
        unsigned perAddressLimit = 16;
        unsigned idleTimeoutSeconds = 60;  // a stalled client loses its worker after this
        // A request's headers must be complete this long after its connection
        // opened (or, on a kept-alive connection, after the idle limit), however
        // slowly they trickle in; a connection over its address's limit gets
        // at most kExcessHeaderSeconds.
        unsigned headerTimeoutSeconds = 30;
        bool announce = true;  // Bonjour announcement
    };
    static constexpr unsigned kExcessHeaderSeconds = 2;

    WiFiUploadServer();
    explicit WiFiUploadServer(Options options);
    ~WiFiUploadServer();
    WiFiUploadServer(const WiFiUploadServer&) = delete;
    WiFiUploadServer& operator=(const WiFiUploadServer&) = delete;

    // Listens on `port` (0: any free port; 80 refused: the first free one from
    // 8080 up) and announces `bonjourName`. False when nothing could be bound.
    bool startWithPort(quint16 port, const QString& bonjourName);
    void stop();

    bool isRunning() const;
    // The port actually bound, 0 when not running.
    quint16 port() const;
    // "http://<address>[:port]/" while running and an address is known.
    std::optional<QString> serverURL() const;
    // errno of the failed bind, when startWithPort returned false.
    int startError() const;

    const QString& musicDirectory() const;
    WiFiUploadRecord& record();

    struct Private;

private:
    std::unique_ptr<Private> d;
};
