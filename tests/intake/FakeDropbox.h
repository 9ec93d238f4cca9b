#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QUrl>
#include <memory>
#include <mutex>

#include "DropboxTokenStore.h"

class QThread;
class FakeDropboxServer;

// A local stand-in for the cloud service's HTTP API, built from its public
// documentation: sign-in (authorize, token exchange and refresh, revoke), paged
// folder listings and downloads, with the documented errors. It listens on
// 127.0.0.1 on a thread of its own, so a client on the main thread and a peer
// such as curl see the same server.
class FakeDropbox {
public:
    static constexpr const char* appKey = "fakeappkey12345";

    FakeDropbox();
    ~FakeDropbox();
    FakeDropbox(const FakeDropbox&) = delete;
    FakeDropbox& operator=(const FakeDropbox&) = delete;

    QUrl url() const;
    // Points the client's three base URLs and its application key here.
    void useFromClient() const;

    // Content. Paths are display paths such as "/Music/Live"; parents are made.
    void addFolder(const QString& path);
    void addFile(const QString& path, const QByteArray& content);
    // A file whose listing entry has no path_lower, as for an unmounted one.
    void addFileWithoutLowerPath(const QString& path, const QByteArray& content);
    // A file of `size` bytes of a fixed pattern, made on the fly while sent.
    void addGeneratedFile(const QString& path, qint64 size);
    static QByteArray patternBytes(qint64 size);
    // Entries per listing page: the first page, the second, ...; the last
    // size repeats (the default is 1000).
    void setPageSizes(const QList<int>& entries);
    // How listings end: when the entries run out, as the service does, or
    // never, with every page announcing more under the cursor it was asked
    // with or under a new one each time.
    enum class Listing { ends, repeatsItsCursor, neverEnds };
    void setListing(Listing listing);

    // Behaviour.
    struct Failure {
        int status = 500;
        QByteArray body;        // JSON text or plain text
        QByteArray retryAfter;  // the Retry-After header, for 429
        // >= 0: the answer announces the whole body, sends this many bytes of
        // it and closes the connection.
        qint64 cutAfter = -1;
    };
    // The call to `route` after `successesFirst` good ones answers `failure`, once.
    void failOnce(const QString& route, const Failure& failure, int successesFirst = 0);
    // Download bodies go out in `chunkBytes` pieces every `intervalMs`.
    void setSlowTransfer(int chunkBytes, int intervalMs);
    // The next download sends its headers and `bytes` of its body, then drops the connection.
    void dropNextDownloadAfter(qint64 bytes);
    // Downloads answer a Range header with 206 and Content-Range, as the service
    // does; ignoring it, they send the whole file with 200 as a plain server would.
    void setIgnoreRange(bool ignore);
    // The file at `path` gets a new revision (same bytes) once `downloads`
    // requests for it have been answered, as when it is saved again meanwhile.
    void reviseFileAfterDownloads(const QString& path, int downloads);
    // The sign-in page answers "access_denied", as when the user declines.
    void setDenyAuthorization(bool deny);
    // Every access token issued so far is reported as expired from now on.
    void expireAccessTokens();

    // Sign-in without the browser: tokens the service accepts, for a test's store.
    DropboxTokens issueTokens();
    // What a user's browser does with the authorize address: the Location of the
    // redirect, or the page's text (the code) when no redirect URI was given.
    QString visitAuthorizePage(const QUrl& authorizeUrl);

    // Observation.
    struct Request {
        QByteArray method;
        QString path;
        QMap<QByteArray, QByteArray> headers;  // lower-case names
        QByteArray body;
    };
    QList<Request> requests(const QString& route) const;
    int count(const QString& route) const;
    int openConnections() const;

private:
    friend class FakeDropboxServer;
    struct Entry {
        bool isFolder = false;
        QString displayPath;
        QByteArray content;
        qint64 generatedSize = -1;  // >= 0 for a generated file
        bool withoutLowerPath = false;
        int revision = 0;  // goes up with every change of the content
        qint64 size() const { return generatedSize >= 0 ? generatedSize : content.size(); }
    };
    struct State;

    std::unique_ptr<State> m_state;
    std::unique_ptr<QThread> m_thread;
    FakeDropboxServer* m_server = nullptr;
    quint16 m_port = 0;
};
