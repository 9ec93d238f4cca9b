#include <QEventLoop>
#include <algorithm>

#include "CliCommand.h"
#include "CliFormat.h"
#include "LocalTrackStore.h"
#include "SortableList.h"

// The music folder as a first load of the Tracks screen lists it: low to high
// by title, artist and album.
int runScanCommand(const QStringList& arguments) {
    if (!arguments.isEmpty()) {
        return cliFail("scan takes no arguments");
    }
    auto state = std::make_shared<TrackListState>();
    QEventLoop loop;
    LocalTrackStore::scanNewTracks(state, [&](QList<TrackPtr> tracks, QList<TrackPtr>) {
        state->items.append(tracks);
        loop.quit();
    });
    loop.exec();
    QList<TrackPtr>& items = state->items;
    sortByOrder(items);
    std::reverse(items.begin(), items.end());
    for (const TrackPtr& track : items) {
        cliOut() << cliEscaped(track->fileName) << '\t' << cliEscaped(track->title) << '\t'
                 << cliEscaped(track->artist) << '\t' << cliEscaped(track->album) << '\t'
                 << cliDuration(track->duration) << '\n';
    }
    cliOut().flush();
    return 0;
}
