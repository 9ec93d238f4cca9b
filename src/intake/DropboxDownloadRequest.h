#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTemporaryFile>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "CloudFile.h"

class DropboxClient;
class QNetworkReply;

// A failed call, with the service's words for it.
struct CallError {
    QString description;
};

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
