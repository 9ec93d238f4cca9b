#include "SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include "AppDirectories.h"

Q_LOGGING_CATEGORY(lcInstance, "corvantis.instance")

namespace {

constexpr char kAccepted = '+';
constexpr char kRefused = '-';
const char* const kAnsweredProperty = "corvantisAnswered";

// Holds the kernel's lock on a file for a scope, waiting for it up to a
// bound. The kernel lets go when its holder dies, so no lock outlives a start
// that crashed, and nothing is written: a start does not wait on the disk.
class StartLock {
public:
    StartLock(const QString& path, int timeoutMs) {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (m_fd < 0) {
            m_error = QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        QElapsedTimer waited;
        waited.start();
        while (::flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK || waited.elapsed() >= timeoutMs) {
                m_error = errno == EWOULDBLOCK ? QStringLiteral("another start holds it")
                                               : QString::fromLocal8Bit(std::strerror(errno));
                ::close(m_fd);
                m_fd = -1;
                return;
            }
            QThread::msleep(5);
        }
    }
    ~StartLock() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    StartLock(const StartLock&) = delete;
    StartLock& operator=(const StartLock&) = delete;

    bool isLocked() const { return m_fd >= 0; }
    const QString& error() const { return m_error; }

private:
    int m_fd = -1;
    QString m_error;
};

}  // namespace

SingleInstance& SingleInstance::shared() {
    static SingleInstance* instance = new SingleInstance;
    return *instance;
}

SingleInstance* SingleInstance::create(QQmlEngine*, QJSEngine*) {
    SingleInstance* instance = &shared();
    QQmlEngine::setObjectOwnership(instance, QQmlEngine::CppOwnership);
    return instance;
}

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

QString SingleInstance::serverName(const QString& home) {
    const QFileInfo info(home);
    const QString canonical = info.canonicalFilePath();
    const QString path = canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
    const QByteArray hash =
        QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    return QStringLiteral("corvantis-%1-%2").arg(getuid()).arg(QString::fromLatin1(hash));
}

QString SingleInstance::socketPath(const QString& home) {
    QString directory = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (directory.isEmpty()) {
        directory = QDir::tempPath();
    }
    return QDir(directory).filePath(serverName(home));
}

QByteArray SingleInstance::encode(const QList<QUrl>& urls) {
    QByteArray payload;
    for (const QUrl& url : urls) {
        if (!payload.isEmpty()) {
            payload += '\n';
        }
        payload += url.toEncoded();
    }
    QByteArray frame(kMagic, sizeof kMagic);
    char length[4];
    qToBigEndian(static_cast<quint32>(payload.size()), length);
    frame.append(length, sizeof length);
    return frame + payload;
}

SingleInstance::Message SingleInstance::decode(const QByteArray& bytes) {
    using Status = Message::Status;
    const QByteArrayView magic(kMagic, sizeof kMagic);
    // Garbage is refused as soon as its first bytes show it, not after a wait.
    if (!magic.startsWith(bytes.left(magic.size()))) {
        return {Status::refused, {}, QStringLiteral("it is not a message of this application")};
    }
    if (bytes.size() < kHeaderSize) {
        return {};
    }
    const quint32 length = qFromBigEndian<quint32>(bytes.constData() + magic.size());
    if (length > kMaxPayload) {
        return {Status::refused,
                {},
                QStringLiteral("it announces %1 bytes, more than %2").arg(length).arg(kMaxPayload)};
    }
    const qsizetype end = kHeaderSize + static_cast<qsizetype>(length);
    if (bytes.size() < end) {
        return {};
    }
    if (bytes.size() > end) {
        return {Status::refused, {}, QStringLiteral("bytes follow the message")};
    }
    const QByteArray payload = bytes.sliced(kHeaderSize);
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8(payload);
    if (utf8.hasError()) {
        return {Status::refused, {}, QStringLiteral("it is not UTF-8 text")};
    }
    Message message{Status::complete, {}, {}};
    if (text.isEmpty()) {
        return message;
    }
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        const QUrl url = QUrl::fromEncoded(line.toUtf8(), QUrl::StrictMode);
        if (line.isEmpty() || !url.isValid()) {
            return {Status::refused, {}, QStringLiteral("\"%1\" is not a link").arg(line.left(80))};
        }
        message.urls.append(url);
    }
    return message;
}

SingleInstance::Claim SingleInstance::claim(const QList<QUrl>& urls) {
    const QString name = socketPath(AppDirectories::home());
    // Two starts at once must not both find nobody and take the socket from
    // each other.
    const StartLock lock(name + QStringLiteral(".lock"), kTimeoutMs);
    if (!lock.isLocked()) {
        qCWarning(lcInstance).noquote() << "Could not lock" << name + QStringLiteral(".lock:")
                                        << lock.error() << "; going on without";
    }
    QLocalSocket socket;
    socket.connectToServer(name);
    if (socket.waitForConnected(kTimeoutMs)) {
        return handOver(socket, urls) ? Claim::handedOver : Claim::unanswered;
    }
    // Nobody answers: whatever is at the name was left by a start that crashed.
    QLocalServer::removeServer(name);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(name)) {
        qCWarning(lcInstance).noquote()
            << "Cannot listen on" << name << ":" << m_server->errorString()
            << "; later starts will open windows of their own";
        return Claim::primary;
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::onNewConnection);
    return Claim::primary;
}

bool SingleInstance::handOver(QLocalSocket& socket, const QList<QUrl>& urls) {
    socket.write(encode(urls));
    if (!socket.waitForBytesWritten(kTimeoutMs) ||
        (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(kTimeoutMs))) {
        qCWarning(lcInstance).noquote()
            << "The running window did not answer:" << socket.errorString();
        return false;
    }
    char reply = 0;
    if (!socket.getChar(&reply) || reply != kAccepted) {
        qCWarning(lcInstance) << "The running window refused what this start was given";
        return false;
    }
    return true;
}

bool SingleInstance::isListening() const {
    return m_server != nullptr && m_server->isListening();
}

void SingleInstance::onNewConnection() {
    while (QLocalSocket* peer = m_server->nextPendingConnection()) {
        connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
        connect(peer, &QLocalSocket::readyRead, this, [this, peer] { onReadyRead(peer); });
        QTimer::singleShot(kTimeoutMs, peer, [this, peer] {
            if (!peer->property(kAnsweredProperty).toBool()) {
                qCWarning(lcInstance) << "Refused a message from another start: it sent no whole "
                                         "message in time";
                answer(peer, false);
            }
        });
    }
}

void SingleInstance::onReadyRead(QLocalSocket* peer) {
    if (peer->property(kAnsweredProperty).toBool()) {
        peer->readAll();
        return;
    }
    // Nothing is taken off the socket until the message is whole; the bound
    // on its length keeps what is held small.
    const Message message = decode(peer->peek(kHeaderSize + kMaxPayload + 1));
    switch (message.status) {
        case Message::Status::incomplete:
            return;
        case Message::Status::refused:
            qCWarning(lcInstance).noquote()
                << "Refused a message from another start:" << message.reason;
            answer(peer, false);
            return;
        case Message::Status::complete:
            break;
    }
    answer(peer, true);
    qCDebug(lcInstance) << "Another start asked for the window with" << message.urls.size()
                        << "link(s)";
    emit activationRequested();
    for (const QUrl& url : message.urls) {
        emit urlReceived(url);
    }
}

void SingleInstance::answer(QLocalSocket* peer, bool accepted) {
    peer->setProperty(kAnsweredProperty, true);
    peer->readAll();
    peer->putChar(accepted ? kAccepted : kRefused);
    peer->disconnectFromServer();
}
