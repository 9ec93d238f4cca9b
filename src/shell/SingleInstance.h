#pragma once

#include <QtQml/qqmlregistration.h>
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QUrl>

class QJSEngine;
class QLocalServer;
class QLocalSocket;
class QQmlEngine;

// One window per user and home. The first start listens on a local socket
// named after both; a later start hands its links to it, waits for the answer
// and leaves. A message is framed (a magic word, a length, then the links one
// a line) and bounded, so that a stray or hostile peer is turned away with a
// log line and never reaches the rest of the application.
class SingleInstance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    enum class Claim {
        primary,     // this start listens and opens the window
        handedOver,  // the running window took the links; this start is done
        unanswered,  // a window is running but did not take them
    };

    // The frame: magic, then the payload's length as four bytes, big-endian.
    static constexpr char kMagic[4] = {'C', 'V', 'I', '1'};
    static constexpr qsizetype kHeaderSize = 8;
    static constexpr qsizetype kMaxPayload = 64 * 1024;
    // How long either side waits for the other.
    static constexpr int kTimeoutMs = 10000;

    struct Message {
        enum class Status { incomplete, complete, refused };
        Status status = Status::incomplete;
        QList<QUrl> urls;
        QString reason;  // why it was refused
    };

    static SingleInstance& shared();
    static SingleInstance* create(QQmlEngine*, QJSEngine*);

    // The socket's name for the current user and `home` (any spelling of the
    // same folder gives the same name).
    static QString serverName(const QString& home);
    // Where that socket lives: the user's own runtime folder, which nobody
    // else can enter, so no other user can stand in for the window.
    static QString socketPath(const QString& home);
    static QByteArray encode(const QList<QUrl>& urls);
    // Reads what a peer has sent so far.
    static Message decode(const QByteArray& bytes);

    // Listens for later starts, or hands `urls` to the start that already
    // listens for this user and AppDirectories::home(). A socket left behind
    // by a start that crashed is removed.
    Claim claim(const QList<QUrl>& urls);
    bool isListening() const;

signals:
    // A later start asked for the window: it comes to the front (the window's
    // QML carries this out).
    void activationRequested();
    // A link a later start was given, in the order it was given.
    void urlReceived(const QUrl& url);

private:
    explicit SingleInstance(QObject* parent = nullptr);
    static bool handOver(QLocalSocket& socket, const QList<QUrl>& urls);
    void onNewConnection();
    void onReadyRead(QLocalSocket* peer);
    void answer(QLocalSocket* peer, bool accepted);

    QLocalServer* m_server = nullptr;
};
