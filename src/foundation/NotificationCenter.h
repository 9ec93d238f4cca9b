#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <mutex>
#include <vector>

struct Notification {
    QString name;
    QObject* object = nullptr;
    QVariantMap userInfo;
};

// Named broadcasts with a userInfo map, delivered synchronously on the posting
// thread to every observer of that name, in the order they were added.
// An observer tied to a QObject is forgotten when that object is destroyed, so
// it is never called afterwards.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;
    using Token = quint64;

    static NotificationCenter& defaultCenter();

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // `receiver` bounds the observer's life; pass nullptr for one that lives
    // until removed by its token.
    Token addObserver(const QString& name, QObject* receiver, Handler handler);
    void removeObserver(Token token);
    // Removes every observer tied to `receiver`, of any name.
    void removeObserver(QObject* receiver);

    void post(const QString& name, QObject* object = nullptr, const QVariantMap& userInfo = {});

private:
    struct Entry {
        Token token;
        QString name;
        bool bound;
        QPointer<QObject> receiver;
        std::shared_ptr<Handler> handler;
    };

    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    Token m_nextToken = 1;
};
