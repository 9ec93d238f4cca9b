#pragma once

#include <QPointer>

#include "Album.h"
#include "Grouping.h"
#include "LocalTrackStore.h"
#include "Log.h"
#include "MediaLibraryManager.h"
#include "NavigationController.h"
#include "SortableViewController.h"
#include "Storyboard.h"
#include "ThumbnailCache.h"
#include "TracksViewController.h"

// A list of albums or artists: built from the music folder on each
// appearance, or once from the library; a tap opens their tracks. `Record`
// is Album or Artist.
template <typename Record>
class GroupListViewController : public SortableViewController<Record> {
public:
    enum Role { NameRole = Qt::UserRole + 1, ArtistNameRole, ImageKeyRole };

    explicit GroupListViewController(QObject* parent = nullptr)
        : SortableViewController<Record>(
              {{NameRole, "name"}, {ArtistNameRole, "artistName"}, {ImageKeyRole, "imageKey"}},
              parent) {}

    void setMediaLibraryManager(MediaLibraryManager* manager) { m_library = manager; }

    void viewDidDisappear(bool animated) override {
        SortableViewController<Record>::viewDidDisappear(animated);
        this->setSearchVisible(false);
    }

    void didSelectRow(int row) override {
        const Record* record = this->rowAt(row);
        if (!record) {
            return;
        }
        ViewController* screen = Storyboard::storyboardWithName(QStringLiteral("Tracks"))
                                     .instantiateInitialViewController();
        if (auto* tracks = qobject_cast<TracksViewController*>(screen)) {
            tracks->setMediaLibrary(this->mediaLibrary());
            tracks->setMediaLibraryManager(m_library);
            setUp(*tracks, *record);
        }
        if (NavigationController* navigation = this->navigationController()) {
            navigation->pushViewController(screen, true);
        } else {
            this->presentViewController(screen, true);
        }
    }

    // The rows: from the folder each time, from the library once.
    void load() {
        QPointer<ViewController> self(this);
        if (!this->mediaLibrary()) {
            LocalTrackStore::readMusicDirectory(
                [self, this](std::optional<QList<TrackPtr>> tracks) {
                    if (!self || !tracks) {
                        return;
                    }
                    this->list().setItems(fromFiles(*tracks));
                    QStringList names;
                    for (const Record& record : this->items()) {
                        names.append(record.name);
                    }
                    systemLog(QStringLiteral("items [%1]").arg(names.join(QStringLiteral(", "))));
                    this->model()->reloadSection();
                });
            return;
        }
        if (!this->items().isEmpty()) {
            return;
        }
        MediaLibraryManager& library = m_library ? *m_library : MediaLibraryManager::shared();
        library.loadTracks(false, [self, this](QList<TrackPtr> sorted, QList<TrackPtr>) {
            if (!self) {
                return;
            }
            this->list().setItems(fromLibrary(sorted));
            this->model()->reloadSection();
        });
    }

protected:
    virtual QList<Record> fromFiles(const QList<TrackPtr>& tracks) const = 0;
    virtual QList<Record> fromLibrary(const QList<TrackPtr>& sorted) const = 0;
    virtual void setUp(TracksViewController& tracks, const Record& record) const = 0;
    virtual QString artistName(const Record& record) const = 0;

    QVariant rowData(const Record& record, int, int role) const override {
        switch (role) {
            case NameRole:
                return record.name;
            case ArtistNameRole:
                return artistName(record);
            case ImageKeyRole:
                return ThumbnailCache::shared().keyFor(record.track);
            default:
                return {};
        }
    }

    MediaLibraryManager* m_library = nullptr;
};
