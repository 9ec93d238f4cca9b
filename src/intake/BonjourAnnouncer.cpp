#include "BonjourAnnouncer.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/thread-watch.h>

#include <QLoggingCategory>

#include "Log.h"

Q_LOGGING_CATEGORY(lcBonjour, "corvantis.intake.bonjour", QtWarningMsg)

// Everything below runs on Avahi's own poll thread once the poll is started;
// before that (inside avahi_client_new) on the caller's thread.
struct BonjourAnnouncer::State {
    AvahiThreadedPoll* poll = nullptr;
    AvahiClient* client = nullptr;
    AvahiEntryGroup* group = nullptr;
    char* name = nullptr;
    quint16 port = 0;

    ~State() {
        if (poll) {
            avahi_threaded_poll_stop(poll);
        }
        // Freeing the client frees its groups too.
        if (client) {
            avahi_client_free(client);
        }
        if (poll) {
            avahi_threaded_poll_free(poll);
        }
        avahi_free(name);
    }

    void addService(AvahiClient* owner) {
        if (!group) {
            group = avahi_entry_group_new(owner, &State::onGroup, this);
            if (!group) {
                qCWarning(lcBonjour)
                    << "cannot make an entry group:" << avahi_strerror(avahi_client_errno(owner));
                return;
            }
        }
        if (!avahi_entry_group_is_empty(group)) {
            return;
        }
        const int error = avahi_entry_group_add_service(group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                                        AvahiPublishFlags(0), name, "_http._tcp",
                                                        nullptr, nullptr, port, nullptr);
        if (error == AVAHI_ERR_COLLISION) {
            rename();
            addService(owner);
            return;
        }
        if (error < 0 || avahi_entry_group_commit(group) < 0) {
            qCWarning(lcBonjour) << "cannot announce the service:" << avahi_strerror(error);
        }
    }

    void rename() {
        char* alternative = avahi_alternative_service_name(name);
        avahi_free(name);
        name = alternative;
        if (group) {
            avahi_entry_group_reset(group);
        }
    }

    static void onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state, void* context) {
        auto* self = static_cast<State*>(context);
        if (state == AVAHI_ENTRY_GROUP_COLLISION) {
            self->rename();
            self->addService(avahi_entry_group_get_client(group));
        } else if (state == AVAHI_ENTRY_GROUP_ESTABLISHED) {
            qCDebug(lcBonjour) << "announced as" << self->name;
        }
    }

    static void onClient(AvahiClient* client, AvahiClientState state, void* context) {
        auto* self = static_cast<State*>(context);
        switch (state) {
            case AVAHI_CLIENT_S_RUNNING:
                self->addService(client);
                break;
            case AVAHI_CLIENT_S_COLLISION:
            case AVAHI_CLIENT_S_REGISTERING:
                if (self->group) {
                    avahi_entry_group_reset(self->group);
                }
                break;
            case AVAHI_CLIENT_FAILURE:
                qCWarning(lcBonjour)
                    << "daemon connection lost:" << avahi_strerror(avahi_client_errno(client));
                break;
            case AVAHI_CLIENT_CONNECTING:
                break;
        }
    }
};

BonjourAnnouncer::BonjourAnnouncer() = default;

BonjourAnnouncer::~BonjourAnnouncer() = default;

void BonjourAnnouncer::announce(const QString& name, quint16 port) {
    withdraw();
    auto state = std::make_unique<State>();
    state->name = avahi_strdup(name.toUtf8().constData());
    state->port = port;
    state->poll = avahi_threaded_poll_new();
    if (!state->poll) {
        systemLog(QStringLiteral("Bonjour announcement skipped: cannot start its event loop"));
        return;
    }
    int error = 0;
    state->client = avahi_client_new(avahi_threaded_poll_get(state->poll), AvahiClientFlags(0),
                                     &State::onClient, state.get(), &error);
    if (!state->client) {
        systemLog(QStringLiteral("Bonjour announcement skipped: ") +
                  QString::fromUtf8(avahi_strerror(error)));
        return;
    }
    if (avahi_threaded_poll_start(state->poll) < 0) {
        systemLog(QStringLiteral("Bonjour announcement skipped: cannot start its event loop"));
        return;
    }
    m_state = std::move(state);
}

void BonjourAnnouncer::withdraw() {
    m_state.reset();
}
