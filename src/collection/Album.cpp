#include "Album.h"

#include "TextOrder.h"

namespace {

// Both absent, or the same image object (copies share a cache key).
bool sameThumbnail(const std::optional<QImage>& a, const std::optional<QImage>& b) {
    if (!a || !b) {
        return a.has_value() == b.has_value();
    }
    return a->cacheKey() == b->cacheKey();
}

bool lowerContains(const QString& field, const QString& searchText) {
    return field.toLower().contains(searchText.toLower());
}

}  // namespace

Album Album::fromTrack(const TrackPtr& track) {
    return Album{track->mediaLibraryAlbumID.value_or(0), track->artist, track->album, std::nullopt,
                 track};
}

void Album::takeThumbnail() {
    if (!track) {
        return;
    }
    track->loadAlbumArtThumbnailForAlbum();
    albumArtThumbnail = track->albumArtThumbnail();
    track.reset();
}

bool Album::operator==(const Album& other) const {
    return id == other.id && sameThumbnail(albumArtThumbnail, other.albumArtThumbnail);
}

QString Album::orderText() const {
    return name + artist;
}

bool Album::operator<(const Album& other) const {
    return compareText(other.orderText(), orderText()) < 0;
}

bool Album::matches(const QString& searchText) const {
    return lowerContains(name, searchText);
}

Artist Artist::fromTrack(const TrackPtr& track) {
    return Artist{track->mediaLibraryArtistID.value_or(0), track->artist, std::nullopt, track};
}

void Artist::takeThumbnail() {
    if (!track) {
        return;
    }
    track->loadAlbumArtThumbnailForArtist();
    albumArtThumbnail = track->albumArtThumbnail();
    track.reset();
}

bool Artist::operator==(const Artist& other) const {
    return id == other.id && sameThumbnail(albumArtThumbnail, other.albumArtThumbnail);
}

QString Artist::orderText() const {
    return name;
}

bool Artist::operator<(const Artist& other) const {
    return compareText(other.orderText(), orderText()) < 0;
}

bool Artist::matches(const QString& searchText) const {
    return lowerContains(name, searchText);
}
