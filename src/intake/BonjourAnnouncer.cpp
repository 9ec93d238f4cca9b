#include "BonjourAnnouncer.h"

#include <QLoggingCategory>

#include "Log.h"
#include "UploadLibraries.h"

Q_LOGGING_CATEGORY(lcBonjour, "corvantis.intake.bonjour", QtWarningMsg)

namespace {

// Used only once announce() found the libraries loaded.
const UploadLibraries::Announcement& announcing() {
    return UploadLibraries::shared()->announcement;
}

}  // namespace

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
            announcing().threadedPollStop(poll);
        }
        // Freeing the client frees its groups too.
        if (client) {
            announcing().clientFree(client);
        }
        if (poll) {
            announcing().threadedPollFree(poll);
        }
        announcing().free(name);
    }

    void addService(AvahiClient* owner) {
        if (!group) {
            group = announcing().entryGroupNew(owner, &State::onGroup, this);
            if (!group) {
                qCWarning(lcBonjour) << "cannot make an entry group:"
                                     << announcing().strerror(announcing().clientErrno(owner));
                return;
            }
        }
        if (!announcing().entryGroupIsEmpty(group)) {
            return;
        }
        const int error = announcing().entryGroupAddService(
            group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), name, "_http._tcp",
            nullptr, nullptr, port, nullptr);
        if (error == AVAHI_ERR_COLLISION) {
            rename();
            addService(owner);
            return;
        }
        if (error < 0 || announcing().entryGroupCommit(group) < 0) {
            qCWarning(lcBonjour) << "cannot announce the service:" << announcing().strerror(error);
        }
    }

    void rename() {
        char* alternative = announcing().alternativeServiceName(name);
        announcing().free(name);
        name = alternative;
        if (group) {
            announcing().entryGroupReset(group);
        }
    }

    static void onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state, void* context) {
        auto* self = static_cast<State*>(context);
        if (state == AVAHI_ENTRY_GROUP_COLLISION) {
            self->rename();
            self->addService(announcing().entryGroupGetClient(group));
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
                    announcing().entryGroupReset(self->group);
                }
                break;
            case AVAHI_CLIENT_FAILURE:
                qCWarning(lcBonjour) << "daemon connection lost:"
                                     << announcing().strerror(announcing().clientErrno(client));
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
    if (!UploadLibraries::shared()) {
        return;
    }
    auto state = std::make_unique<State>();
    state->name = announcing().strdup(name.toUtf8().constData());
    state->port = port;
    state->poll = announcing().threadedPollNew();
    if (!state->poll) {
        systemLog(QStringLiteral("Bonjour announcement skipped: cannot start its event loop"));
        return;
    }
    int error = 0;
    state->client =
        announcing().clientNew(announcing().threadedPollGet(state->poll), AvahiClientFlags(0),
                               &State::onClient, state.get(), &error);
    if (!state->client) {
        systemLog(QStringLiteral("Bonjour announcement skipped: ") +
                  QString::fromUtf8(announcing().strerror(error)));
        return;
    }
    if (announcing().threadedPollStart(state->poll) < 0) {
        systemLog(QStringLiteral("Bonjour announcement skipped: cannot start its event loop"));
        return;
    }
    m_state = std::move(state);
}

void BonjourAnnouncer::withdraw() {
    m_state.reset();
}
