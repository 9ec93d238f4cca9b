#include "DropboxDownloadRequest.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTemporaryFile>

#include "DropboxClient.h"
#include "MainQueue.h"

namespace {

// How far the transfer layer reads ahead of the file, and the size of each read.
constexpr qint64 readBufferBytes = 1024 * 1024;

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
        if (std::optional<CallError> error = self->m_client->tokenError()) {
            self->finish(std::move(*error));
            return;
        }
        QNetworkRequest request;
        request.setRawHeader(
            "Dropbox-API-Arg",
            dropboxHeaderJson(QJsonObject{{QLatin1String("path"), dropboxWirePath(self->m_path)}}));
        request.setRawHeader("Range",
                             "bytes=" + QByteArray::number(piece->start) + '-' +
                                 QByteArray::number(piece->start + dropboxDownloadPieceBytes - 1));
        QNetworkReply* reply =
            self->m_client->postContent(QStringLiteral("/2/files/download"), request);
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
    if (m_done || !piece->reply || !isBody(dropboxHttpStatus(piece->reply))) {
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
    if (dropboxHttpStatus(reply) == 206) {
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
    const int status = dropboxHttpStatus(reply);
    if (status == 401 && !piece->retried && m_client->canRefresh()) {
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
