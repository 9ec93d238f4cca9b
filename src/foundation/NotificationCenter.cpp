#include "NotificationCenter.h"

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(const QString& name, QObject* receiver,
                                                          Handler handler) {
    std::lock_guard lock(m_mutex);
    const Token token = m_nextToken++;
    m_entries.push_back(Entry{token, name, receiver != nullptr, QPointer<QObject>(receiver),
                              std::make_shared<Handler>(std::move(handler))});
    return token;
}

void NotificationCenter::removeObserver(Token token) {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_entries, [token](const Entry& entry) { return entry.token == token; });
}

void NotificationCenter::removeObserver(QObject* receiver) {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_entries, [receiver](const Entry& entry) {
        return entry.bound && (entry.receiver.isNull() || entry.receiver.data() == receiver);
    });
}

void NotificationCenter::post(const QString& name, QObject* object, const QVariantMap& userInfo) {
    struct Delivery {
        Token token;
        bool bound;
        QPointer<QObject> receiver;
        std::shared_ptr<Handler> handler;
    };
    std::vector<Delivery> deliveries;
    {
        std::lock_guard lock(m_mutex);
        std::erase_if(m_entries, [](const Entry& e) { return e.bound && e.receiver.isNull(); });
        for (const Entry& entry : m_entries) {
            if (entry.name == name) {
                deliveries.push_back({entry.token, entry.bound, entry.receiver, entry.handler});
            }
        }
    }
    // Delivered outside the lock: a handler may add or remove observers, or post.
    const Notification notification{name, object, userInfo};
    for (const Delivery& delivery : deliveries) {
        if (delivery.bound && delivery.receiver.isNull()) {
            continue;
        }
        {
            // An observer removed by an earlier handler of this same post is not called.
            std::lock_guard lock(m_mutex);
            const bool stillThere =
                std::any_of(m_entries.begin(), m_entries.end(),
                            [&](const Entry& entry) { return entry.token == delivery.token; });
            if (!stillThere) {
                continue;
            }
        }
        (*delivery.handler)(notification);
    }
}
