#pragma once

#include <QtQml/qqmlregistration.h>

#include "GroupListViewController.h"

// The artists of the music folder (by tag text) or of the library (by id).
class ArtistsViewController : public GroupListViewController<Artist> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Artists\" bundle")

public:
    explicit ArtistsViewController(QObject* parent = nullptr);

    // The search bar shows, then the rows load.
    void viewDidAppear(bool animated) override;

protected:
    QList<Artist> fromFiles(const QList<TrackPtr>& tracks) const override;
    QList<Artist> fromLibrary(const QList<TrackPtr>& sorted) const override;
    void setUp(TracksViewController& tracks, const Artist& artist) const override;
    QString artistName(const Artist& artist) const override { return artist.name; }
};
