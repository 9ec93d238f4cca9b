#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <functional>

#include "NowPlayingPublisher.h"

class PlaybackManager;

// The player on the desktop's session bus as an MPRIS 2.2 media player: media
// keys, the shell's media controls and playerctl reach the four remote
// command handlers through it, and it shows what updateNowPlayingInfo() last
// published. Main thread only; bus calls arrive on the event loop.
class MprisService final : public QObject, public NowPlayingPublisher {
    Q_OBJECT

public:
    static constexpr QLatin1String kServiceName{"org.mpris.MediaPlayer2.corvantis"};
    static constexpr QLatin1String kObjectPath{"/org/mpris/MediaPlayer2"};

    // Microseconds on a clock that only ever moves forward.
    using Clock = std::function<qint64()>;

    explicit MprisService(PlaybackManager& manager, QObject* parent = nullptr);
    ~MprisService() override;

    // Takes the bus name (with an instance suffix when another player holds
    // it) and exports the object. False, with one log line, when there is no
    // bus to be on; the player then plays on without it.
    bool registerOn(QDBusConnection connection);
    // The name taken on the bus; empty until registered.
    QString serviceName() const { return m_serviceName; }

    void publish(const NowPlayingInfo& info) override;

    // What the bus properties read.
    QString playbackStatus() const { return m_playbackStatus; }
    QVariantMap metadata() const { return m_metadata; }
    // Microseconds into the track. The player publishes its time only at
    // play, pause, seek and track change; while it plays, clients that read
    // Position expect it to move, so it runs on from the published time by
    // the clock, up to the track's length.
    qint64 position() const;

    // Replaces the system's monotonic clock (tests).
    void setClock(Clock clock);

    // The bus methods.
    void play();
    void pause();
    void playPause();
    void next();
    void previous();

signals:
    // A published time that departs from where the running clock had got
    // to: a seek, a track change, a repeat. Clients reset their own clocks.
    void seeked(qint64 position);

private:
    QString trackId() const;
    // A file URL of the cover written for the bus, or empty.
    QString writeArtwork(const NowPlayingArtwork& artwork, const QString& trackId);

    PlaybackManager& m_manager;
    QDBusConnection m_connection;
    QString m_serviceName;
    QString m_playbackStatus = QStringLiteral("Paused");
    QVariantMap m_metadata;
    Clock m_clock;
    bool m_playing = false;
    // The published time, when it was published, and the track's length; all
    // in microseconds.
    qint64 m_position = 0;
    qint64 m_publishedAt = 0;
    qint64 m_length = 0;
    QString m_artTrackId;
    QString m_artUrl;
};

// org.mpris.MediaPlayer2: who the player is. It can neither raise a window
// nor be told to quit.
class MprisRootAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ canQuit)
    Q_PROPERTY(bool CanRaise READ canRaise)
    Q_PROPERTY(bool HasTrackList READ hasTrackList)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ supportedUriSchemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ supportedMimeTypes)

public:
    explicit MprisRootAdaptor(MprisService* service) : QDBusAbstractAdaptor(service) {}

    bool canQuit() const { return false; }
    bool canRaise() const { return false; }
    bool hasTrackList() const { return false; }
    QString identity() const { return QStringLiteral("Corvantis"); }
    QString desktopEntry() const { return QStringLiteral("corvantis"); }
    QStringList supportedUriSchemes() const { return {}; }
    QStringList supportedMimeTypes() const { return {}; }

public slots:
    void Raise() {}
    void Quit() {}
};

// org.mpris.MediaPlayer2.Player: the transport. There is no seek command on
// purpose; a client runs its own clock from Position.
class MprisPlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(bool CanGoNext READ canControl)
    Q_PROPERTY(bool CanGoPrevious READ canControl)
    Q_PROPERTY(bool CanPlay READ canControl)
    Q_PROPERTY(bool CanPause READ canControl)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)

public:
    explicit MprisPlayerAdaptor(MprisService* service)
        : QDBusAbstractAdaptor(service), m_service(service) {
        connect(service, &MprisService::seeked, this, &MprisPlayerAdaptor::Seeked);
    }

    QString playbackStatus() const { return m_service->playbackStatus(); }
    double rate() const { return 1.0; }
    QVariantMap metadata() const { return m_service->metadata(); }
    double volume() const { return 1.0; }
    qlonglong position() const { return m_service->position(); }
    // The commands are never disabled.
    bool canControl() const { return true; }
    bool canSeek() const { return false; }

public slots:
    void Play() { m_service->play(); }
    void Pause() { m_service->pause(); }
    // Not one of the player's own commands, but what a desktop's single
    // play/pause media key and most shell widgets send; it toggles by what
    // the player node is doing, as the two commands it stands for would.
    void PlayPause() { m_service->playPause(); }
    // Desktop clients send Stop (a stop key, closing a widget) and expect
    // the sound to end. The player has no stopped state to show that the
    // play command could leave again, so stopping is pausing.
    void Stop() { m_service->pause(); }
    void Next() { m_service->next(); }
    void Previous() { m_service->previous(); }
    void Seek(qlonglong) {}
    void SetPosition(const QDBusObjectPath&, qlonglong) {}
    void OpenUri(const QString&) {}

signals:
    void Seeked(qlonglong position);

private:
    MprisService* m_service;
};
