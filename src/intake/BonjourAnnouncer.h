#pragma once

#include <QString>
#include <memory>

// Announces the upload server on the local network as an "_http._tcp"
// service through the Avahi daemon. Without a reachable daemon it writes one
// log line and does nothing more: the server works the same, only browsers
// cannot find it by name.
class BonjourAnnouncer {
public:
    BonjourAnnouncer();
    ~BonjourAnnouncer();
    BonjourAnnouncer(const BonjourAnnouncer&) = delete;
    BonjourAnnouncer& operator=(const BonjourAnnouncer&) = delete;

    void announce(const QString& name, quint16 port);
    void withdraw();

private:
    struct State;
    std::unique_ptr<State> m_state;
};
