#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <functional>

class QTcpServer;
class QTcpSocket;

// How long a loopback listener waits for the browser before it shuts itself.
constexpr int dropboxLoopbackTimeoutMs = 10 * 60 * 1000;

// Receives the service's redirect where the application's own URL scheme
// can't be registered: a listener on 127.0.0.1 at a free port that takes the
// browser's one GET of the redirect address, answers it with a short page,
// hands the address on and closes. A request that is no redirect (another
// path, a malformed line) is answered with an error and the listener waits on.
class DropboxLoopbackRedirect : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(const QUrl&)>;

    DropboxLoopbackRedirect(Handler handler, int timeoutMs = dropboxLoopbackTimeoutMs,
                            QObject* parent = nullptr);
    ~DropboxLoopbackRedirect() override;

    // False when no port could be had.
    bool listen();
    bool isListening() const;
    // The address to give the service as redirect_uri; empty unless listening.
    QString redirectUri() const;
    // Stops listening; an answer on its way to the browser is still sent.
    void close();

private:
    void onConnection();
    void onReadyRead(QTcpSocket* socket);
    void answer(QTcpSocket* socket, int status, const QByteArray& reason, const QByteArray& page);

    Handler m_handler;
    QTcpServer* m_server;
    QTimer m_timeout;
};
