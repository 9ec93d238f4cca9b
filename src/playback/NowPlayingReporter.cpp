#include "NowPlayingReporter.h"

NowPlayingReporter::NowPlayingReporter()
    : m_publisher(std::make_shared<NullNowPlayingPublisher>()) {}

void NowPlayingReporter::setPublisher(std::shared_ptr<NowPlayingPublisher> publisher) {
    m_publisher = publisher ? std::move(publisher) : std::make_shared<NullNowPlayingPublisher>();
}

void NowPlayingReporter::report(bool playing, double elapsed, const TrackPtr& track) const {
    NowPlayingInfo info;
    info.playbackState =
        playing ? NowPlayingInfo::PlaybackState::playing : NowPlayingInfo::PlaybackState::paused;
    info.elapsedPlaybackTime = elapsed;
    if (track) {
        info.title = track->title;
        info.playbackDuration = QVariant(track->duration);
        if (const std::optional<QImage> thumbnail = track->albumArtThumbnail()) {
            const QImage image = *thumbnail;
            info.artwork = NowPlayingArtwork{image.deviceIndependentSize().toSize(),
                                             [image](const QSize&) { return image; }};
        }
    } else {
        info.playbackDuration = QVariant(0);
    }
    m_publisher->publish(info);
}
