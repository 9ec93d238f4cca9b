#pragma once

#include <QFile>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "CloudFile.h"
#include "DropboxTokenStore.h"

#include <QTemporaryFile>

class QNetworkAccessManager;
class QNetworkReply;

// Where the service lives. Tests point all three at a local fake through
// CORVANTIS_DROPBOX_API_URL, CORVANTIS_DROPBOX_CONTENT_URL and
// CORVANTIS_DROPBOX_AUTH_URL.
// How long a call may go without a byte moving before it fails.
constexpr int dropboxStallTimeoutMs = 60000;

struct DropboxEndpoints {
    QUrl api;
    QUrl content;
    QUrl auth;

    static DropboxEndpoints fromEnvironment();
};

// A failed call, with the service's words for it.
struct CallError {
    QString description;
};

// One entry of a listing page: a folder, or anything else, which counts as a file.
struct Metadata {
    bool isFolder = false;
    QString name;
    std::optional<QString> pathLower;
};

struct ListFolderResult {
    std::vector<Metadata> entries;
    QString cursor;
    bool hasMore = false;
};

using ListFolderResponse = std::variant<ListFolderResult, CallError>;

// The form the service accepts: runs of "/" collapsed, no trailing "/", and the
// root as "" (it answers "/" with 400 and "a/" with 409 malformed_path).
QString dropboxWirePath(const QString& path);
// JSON for an HTTP header: compact, with every character beyond ASCII as \uXXXX.
QByteArray dropboxHeaderJson(const QJsonObject& object);

class DropboxClient;

// How many bytes one ranged request of a download asks for, and how many such
// requests run at once. The transfer layer may hold a whole answer in memory
// before the file sees it, so these bound the memory of a download however
// fast the peer is; the second request hides the pause between pieces.
constexpr qint64 dropboxDownloadPieceBytes = 4 * 1024 * 1024;
constexpr int dropboxDownloadPiecesInFlight = 2;

// One file transfer, fetched in ranged pieces of the same revision, each
// written at its place in a temporary file next to the destination, which is
// renamed onto it when complete; so a failed or cancelled transfer never
// leaves a partial file under the destination's name.
class DropboxDownloadRequest : public QObject {
    Q_OBJECT

public:
    using ProgressHandler = std::function<void(const TransferProgress&)>;
    using ResponseHandler = std::function<void(const std::optional<CallError>& error)>;

    void progress(ProgressHandler handler) { m_onProgress = std::move(handler); }
    // Runs once, later, on the main thread; the request deletes itself afterwards.
    void response(ResponseHandler handler) { m_onResponse = std::move(handler); }
    void cancel();

private:
    friend class DropboxClient;
    // What tells one revision of the file from another, as the service's
    // metadata header gives it; empty fields are not compared.
    struct Revision {
        QString rev;
        QString contentHash;
        qint64 size = -1;
    };
    struct Piece {
        qint64 start = 0;
        qint64 length = -1;  // once its headers are in; -1 for a whole file of unknown length
        qint64 received = 0;
        bool accepted = false;
        bool retried = false;
        QPointer<QNetworkReply> reply;
    };

    DropboxDownloadRequest(DropboxClient* client, QString path, QString destination);
    void start();
    // Asks for the next pieces while fewer than the limit are on their way.
    void requestMore();
    void send(Piece* piece);
    Piece* pieceOf(QNetworkReply* reply);
    // Checks a piece's headers once: its place in the file and its revision.
    bool accepted(Piece* piece);
    std::optional<CallError> acceptHeaders(Piece* piece);
    void onReadyRead(Piece* piece);
    void onFinished(QNetworkReply* reply);
    void reportProgress();
    void complete();
    void finish(std::optional<CallError> error);

    DropboxClient* m_client;
    QString m_path;
    QString m_destination;
    std::unique_ptr<QTemporaryFile> m_partial;
    std::vector<std::unique_ptr<Piece>> m_pieces;  // on their way
    ProgressHandler m_onProgress;
    ResponseHandler m_onResponse;
    qint64 m_requested = 0;              // where the next piece starts
    qint64 m_written = 0;                // bytes of finished pieces
    qint64 m_total = -1;                 // -1 until the first answer tells it
    std::optional<Revision> m_revision;  // of the first piece
    QByteArray m_chunk;                  // reused for every read, so reading allocates nothing
    bool m_cancelled = false;
    bool m_done = false;
};

// The signed-in client: the calls the application makes of the service, with
// the access token refreshed once, transparently, when it has run out.
class DropboxClient : public QObject {
    Q_OBJECT

public:
    DropboxClient(DropboxTokens tokens, DropboxEndpoints endpoints, QObject* parent = nullptr);
    ~DropboxClient() override;

    // The first page of a folder.
    void listFolder(const QString& path, std::function<void(const ListFolderResponse&)> done);
    void listFolderContinue(const QString& cursor,
                            std::function<void(const ListFolderResponse&)> done);
    // A transfer of the file at `path` into `destination`; set its handlers
    // before control returns to the event loop.
    DropboxDownloadRequest* download(const QString& path, const QString& destination);
    // Revokes the token at the service; `done` runs however that ends.
    void revoke(std::function<void()> done);

    const DropboxTokens& tokens() const { return m_tokens; }

private:
    friend class DropboxDownloadRequest;
    using JsonHandler = std::function<void(const std::variant<QJsonObject, CallError>&)>;

    void rpc(const QString& route, const QJsonObject& arguments, JsonHandler done,
             bool retried = false);
    // Runs `then` with a usable access token: read from the keychain first if
    // it is kept there, refreshed first if it has run out.
    void withFreshToken(std::function<void(bool ok)> then);
    // The tokens are kept in the keychain, which could not give them.
    bool tokensUnreadable() const;
    void refresh(std::function<void(bool ok)> then);
    QByteArray authorization() const;

    DropboxTokens m_tokens;
    DropboxEndpoints m_endpoints;
    QNetworkAccessManager* m_network;
    std::vector<std::function<void(bool)>> m_refreshWaiters;
    std::vector<std::function<void(bool)>> m_keychainWaiters;
};

// The service's words for a failed HTTP exchange (status, error body, headers).
CallError dropboxCallError(QNetworkReply* reply, const QByteArray& body);
