#include "ArtistsViewController.h"

ArtistsViewController::ArtistsViewController(QObject* parent) : GroupListViewController(parent) {}

void ArtistsViewController::viewDidAppear(bool animated) {
    GroupListViewController::viewDidAppear(animated);
    setSearchVisible(true);
    load();
}

QList<Artist> ArtistsViewController::fromFiles(const QList<TrackPtr>& tracks) const {
    return Grouping::artistsFromFiles(tracks);
}

QList<Artist> ArtistsViewController::fromLibrary(const QList<TrackPtr>& sorted) const {
    return Grouping::artistsFromLibrary(sorted);
}

void ArtistsViewController::setUp(TracksViewController& tracks, const Artist& artist) const {
    tracks.setArtist(artist);
}
