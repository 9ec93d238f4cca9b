#include "AlbumsViewController.h"

AlbumsViewController::AlbumsViewController(QObject* parent) : GroupListViewController(parent) {}

void AlbumsViewController::viewDidAppear(bool animated) {
    GroupListViewController::viewDidAppear(animated);
    load();
    setSearchVisible(true);
}

QList<Album> AlbumsViewController::fromFiles(const QList<TrackPtr>& tracks) const {
    return Grouping::albumsFromFiles(tracks);
}

QList<Album> AlbumsViewController::fromLibrary(const QList<TrackPtr>& sorted) const {
    return Grouping::albumsFromLibrary(sorted);
}

void AlbumsViewController::setUp(TracksViewController& tracks, const Album& album) const {
    tracks.setAlbum(album);
}
