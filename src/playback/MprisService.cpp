#include "MprisService.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "AppDirectories.h"
#include "Log.h"
#include "PlaybackLog.h"
#include "PlaybackManager.h"

namespace {

constexpr QLatin1String kPlayerInterface{"org.mpris.MediaPlayer2.Player"};
constexpr QLatin1String kNoTrack{"/org/mpris/MediaPlayer2/TrackList/NoTrack"};
// The published time is the player's one-second count, which trails the
// clock by up to a second (a little more as the event loop's timer drifts);
// only a larger difference is a jump of the position.
constexpr qint64 kDepartureMicroseconds = 1'500'000;

qint64 monotonicMicroseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

qint64 microseconds(double seconds) {
    if (!std::isfinite(seconds) || seconds <= 0.0) {
        return 0;
    }
    return qint64(std::llround(std::min(seconds, 9.0e12) * 1.0e6));
}

}  // namespace

MprisService::MprisService(PlaybackManager& manager, QObject* parent)
    : QObject(parent),
      m_manager(manager),
      m_connection(QStringLiteral("corvantis-mpris-unconnected")),
      m_clock(monotonicMicroseconds) {
    new MprisRootAdaptor(this);
    new MprisPlayerAdaptor(this);
    m_metadata.insert(QStringLiteral("mpris:trackid"),
                      QVariant::fromValue(QDBusObjectPath(kNoTrack)));
}

MprisService::~MprisService() {
    if (!m_serviceName.isEmpty()) {
        m_connection.unregisterObject(kObjectPath);
        m_connection.unregisterService(m_serviceName);
    }
}

bool MprisService::registerOn(QDBusConnection connection) {
    if (!connection.isConnected()) {
        systemLog(
            QStringLiteral("No session bus: media keys and desktop media controls are "
                           "unavailable"));
        return false;
    }
    m_connection = connection;
    // A second running player takes a name of its own rather than failing.
    QString name = kServiceName;
    if (!m_connection.registerService(name)) {
        name = QStringLiteral("%1.instance%2")
                   .arg(kServiceName)
                   .arg(QCoreApplication::applicationPid());
        if (!m_connection.registerService(name)) {
            systemLog(QStringLiteral("Cannot take the bus name %1: %2")
                          .arg(name, m_connection.lastError().message()));
            return false;
        }
    }
    if (!m_connection.registerObject(kObjectPath, this, QDBusConnection::ExportAdaptors)) {
        systemLog(QStringLiteral("Cannot export the media player object: %1")
                      .arg(m_connection.lastError().message()));
        m_connection.unregisterService(name);
        return false;
    }
    m_serviceName = name;
    return true;
}

QString MprisService::trackId() const {
    const int index = m_manager.currentIndex();
    const QList<TrackPtr>& queue = m_manager.currentPlaylist();
    if (index < 0 || index >= queue.size()) {
        return kNoTrack;
    }
    // Stable for the same file across queues and runs.
    const QByteArray digest =
        QCryptographicHash::hash(queue.at(index)->url().toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("/org/corvantis/track/") + QString::fromLatin1(digest.toHex().left(16));
}

QString MprisService::writeArtwork(const NowPlayingArtwork& artwork, const QString& trackId) {
    if (trackId == m_artTrackId) {
        return m_artUrl;
    }
    m_artTrackId = trackId;
    m_artUrl.clear();
    const QImage image = artwork.requestHandler(artwork.boundsSize);
    if (image.isNull()) {
        return m_artUrl;
    }
    const QDir directory(AppDirectories::cachesDirectory());
    if (!directory.mkpath(QStringLiteral("mpris"))) {
        qCWarning(lcPlayback) << "cannot make the cover cache in" << directory.path();
        return m_artUrl;
    }
    const QString path = directory.filePath(
        QStringLiteral("mpris/%1.png").arg(trackId.section(QLatin1Char('/'), -1)));
    if (!image.save(path, "PNG")) {
        qCWarning(lcPlayback) << "cannot write the cover for the media controls to" << path;
        return m_artUrl;
    }
    m_artUrl = QUrl::fromLocalFile(path).toString();
    return m_artUrl;
}

void MprisService::setClock(Clock clock) {
    m_clock = clock ? std::move(clock) : Clock(monotonicMicroseconds);
}

qint64 MprisService::position() const {
    if (!m_playing) {
        return m_position;
    }
    const qint64 running = m_position + std::max<qint64>(0, m_clock() - m_publishedAt);
    // An unmeasured track has no length to stop at.
    return m_length > 0 ? std::min(running, m_length) : running;
}

void MprisService::publish(const NowPlayingInfo& info) {
    const qint64 estimate = position();
    m_playing = info.playbackState == NowPlayingInfo::PlaybackState::playing;
    m_playbackStatus = m_playing ? QStringLiteral("Playing") : QStringLiteral("Paused");
    // The bus has no -1 for "no position yet".
    m_position = microseconds(info.elapsedPlaybackTime);
    m_publishedAt = m_clock();
    m_length = microseconds(info.playbackDuration.toDouble());
    const bool departed = std::abs(m_position - estimate) > kDepartureMicroseconds;

    const QString id = trackId();
    QVariantMap metadata;
    metadata.insert(QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(id)));
    metadata.insert(QStringLiteral("xesam:title"), info.title);
    metadata.insert(QStringLiteral("mpris:length"), QVariant::fromValue(m_length));
    if (info.artwork) {
        const QString url = writeArtwork(*info.artwork, id);
        if (!url.isEmpty()) {
            metadata.insert(QStringLiteral("mpris:artUrl"), url);
        }
    }
    m_metadata = metadata;

    if (!m_serviceName.isEmpty()) {
        // Position is not announced here: clients read it, and hear of jumps
        // through Seeked.
        QDBusMessage signal = QDBusMessage::createSignal(
            kObjectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("PropertiesChanged"));
        signal << QString(kPlayerInterface)
               << QVariantMap{{QStringLiteral("PlaybackStatus"), m_playbackStatus},
                              {QStringLiteral("Metadata"), m_metadata}}
               << QStringList();
        m_connection.send(signal);
    }
    if (departed) {
        emit seeked(m_position);
    }
}

void MprisService::play() {
    m_manager.handlePlayCommand();
}

void MprisService::pause() {
    m_manager.handlePauseCommand();
}

void MprisService::playPause() {
    if (m_manager.audioPlayerNode().isPlaying()) {
        m_manager.handlePauseCommand();
    } else {
        m_manager.handlePlayCommand();
    }
}

void MprisService::next() {
    m_manager.handleNextTrackCommand();
}

void MprisService::previous() {
    m_manager.handlePreviousTrackCommand();
}
