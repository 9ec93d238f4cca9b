#pragma once

#include <QtQml/qqmlregistration.h>

#include "GroupListViewController.h"

// The albums of the music folder (by album title alone) or of the library
// (by id).
class AlbumsViewController : public GroupListViewController<Album> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Albums\" bundle")

public:
    explicit AlbumsViewController(QObject* parent = nullptr);

    // The rows load, then the search bar shows.
    void viewDidAppear(bool animated) override;

protected:
    QList<Album> fromFiles(const QList<TrackPtr>& tracks) const override;
    QList<Album> fromLibrary(const QList<TrackPtr>& sorted) const override;
    void setUp(TracksViewController& tracks, const Album& album) const override;
    QString artistName(const Album& album) const override { return album.artist; }
};
