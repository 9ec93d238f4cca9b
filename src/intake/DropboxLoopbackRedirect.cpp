#include "DropboxLoopbackRedirect.h"

#include <QLoggingCategory>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

Q_LOGGING_CATEGORY(lcLoopback, "corvantis.intake.cloud.loopback")

namespace {

const QString redirectPath = QStringLiteral("/dropbox-auth");
// A browser's GET of the redirect is well under this; anything longer is no redirect.
constexpr qsizetype maxRequestBytes = 16 * 1024;
// An answered browser that keeps its connection open is let go after this.
constexpr int lingerMs = 5000;

QByteArray page(const QByteArray& title, const QByteArray& text) {
    return "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + title +
           "</title></head>\n<body style=\"font-family: sans-serif; margin: 3em;\"><h1>" + title +
           "</h1><p>" + text + "</p></body></html>\n";
}

}  // namespace

DropboxLoopbackRedirect::DropboxLoopbackRedirect(Handler handler, int timeoutMs, QObject* parent)
    : QObject(parent), m_handler(std::move(handler)), m_server(new QTcpServer(this)) {
    connect(m_server, &QTcpServer::newConnection, this, &DropboxLoopbackRedirect::onConnection);
    m_timeout.setSingleShot(true);
    m_timeout.setInterval(timeoutMs);
    connect(&m_timeout, &QTimer::timeout, this, [this] {
        qCInfo(lcLoopback) << "no sign-in answer reached the loopback address in time; closed";
        close();
    });
}

DropboxLoopbackRedirect::~DropboxLoopbackRedirect() = default;

bool DropboxLoopbackRedirect::listen() {
    if (!m_server->listen(QHostAddress::LocalHost, 0)) {
        qCWarning(lcLoopback) << "cannot listen on the loopback address:"
                              << m_server->errorString();
        return false;
    }
    m_timeout.start();
    return true;
}

bool DropboxLoopbackRedirect::isListening() const {
    return m_server->isListening();
}

QString DropboxLoopbackRedirect::redirectUri() const {
    if (!isListening()) {
        return {};
    }
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server->serverPort()).arg(redirectPath);
}

void DropboxLoopbackRedirect::close() {
    m_timeout.stop();
    m_server->close();
    // Connections that have not brought the redirect go with the listener.
    for (QTcpSocket* socket : findChildren<QTcpSocket*>()) {
        socket->abort();
        socket->deleteLater();
    }
}

void DropboxLoopbackRedirect::onConnection() {
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void DropboxLoopbackRedirect::onReadyRead(QTcpSocket* socket) {
    // The request stays in the socket's buffer until it is whole.
    const QByteArray head = socket->peek(maxRequestBytes + 1);
    const qsizetype end = head.indexOf("\r\n\r\n");
    if (end < 0) {
        if (head.size() > maxRequestBytes) {
            answer(socket, 400, "Bad Request",
                   page("Bad request", "This address only takes the answer of Dropbox."));
        }
        return;
    }
    const QList<QByteArray> line = head.left(head.indexOf("\r\n")).split(' ');
    const QUrl target = QUrl::fromEncoded(line.value(1), QUrl::StrictMode);
    const QUrlQuery query(target);
    if (line.size() != 3 || line[0] != "GET" || !line[2].startsWith("HTTP/1.") ||
        !line[1].startsWith('/') || !target.isValid()) {
        answer(socket, 400, "Bad Request",
               page("Bad request", "This address only takes the answer of Dropbox."));
        return;
    }
    if (target.path() != redirectPath) {
        answer(socket, 404, "Not Found", page("Not found", "Nothing is here."));
        return;
    }
    if (!query.hasQueryItem(QStringLiteral("state")) ||
        (!query.hasQueryItem(QStringLiteral("code")) &&
         !query.hasQueryItem(QStringLiteral("error")))) {
        answer(socket, 400, "Bad Request",
               page("Bad request", "This is not an answer of Dropbox to a sign-in."));
        return;
    }
    // The browser's answer must outlive the listener, which closes now.
    socket->setParent(nullptr);
    answer(socket, 200, "OK",
           page("Corvantis",
                "Corvantis has received the answer of Dropbox to your sign-in. You can close "
                "this window and go back to Corvantis."));
    QUrl redirect(redirectUri());
    redirect.setQuery(target.query(QUrl::FullyEncoded), QUrl::StrictMode);
    close();
    m_handler(redirect);
}

void DropboxLoopbackRedirect::answer(QTcpSocket* socket, int status, const QByteArray& reason,
                                     const QByteArray& body) {
    socket->disconnect(this);  // one answer per connection; what follows is not read
    socket->write("HTTP/1.1 " + QByteArray::number(status) + ' ' + reason +
                  "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
                  QByteArray::number(body.size()) +
                  "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" + body);
    socket->flush();
    socket->disconnectFromHost();
    QTimer::singleShot(lingerMs, socket, [socket] {
        socket->abort();
        socket->deleteLater();
    });
}
