#include <QEventLoop>

#include "CliCommand.h"
#include "CliFormat.h"
#include "FolderLibrarySource.h"
#include "Grouping.h"
#include "MediaLibraryManager.h"

namespace {

// Stands in for the consent dialog and the library-access page: with --grant
// the user says yes to either, without it the answer is no.
bool ensureAccess(MediaLibraryManager& manager, bool grant) {
    auto* source = dynamic_cast<FolderLibrarySource*>(&manager.source());
    if (source == nullptr) {
        return false;
    }
    if (source->authorizationStatus() == MediaLibraryAuthorizationStatus::authorized) {
        return true;
    }
    source->consentPrompt = [grant](std::function<void(bool)> answer) { answer(grant); };
    source->settingsPage = [source, grant] {
        if (grant) {
            source->setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
        }
    };
    manager.requestAuthorization([](bool) {});
    return source->authorizationStatus() == MediaLibraryAuthorizationStatus::authorized;
}

// The sorted list a load delivers on the main thread, waited for here.
template <typename Element, typename Load>
QList<Element> awaitSorted(Load load) {
    QList<Element> result;
    QEventLoop loop;
    load([&](QList<Element> sorted, QList<Element>) {
        result = std::move(sorted);
        loop.quit();
    });
    loop.exec();
    return result;
}

QList<TrackPtr> loadTracks(MediaLibraryManager& manager) {
    return awaitSorted<TrackPtr>([&](auto done) { manager.loadTracks(false, done); });
}

QList<Playlist> loadPlaylists(MediaLibraryManager& manager) {
    return awaitSorted<Playlist>([&](auto done) { manager.loadPlaylists(false, done); });
}

}  // namespace

int runLibraryCommand(const QStringList& arguments) {
    QStringList rest = arguments;
    const bool grant = rest.removeAll(QStringLiteral("--grant")) > 0;
    const QString what = rest.value(0, QStringLiteral("tracks"));
    if (rest.size() > 1 ||
        !QStringList{"tracks", "playlists", "albums", "artists"}.contains(what)) {
        return cliFail("usage: library [tracks | playlists | albums | artists] [--grant]");
    }
    MediaLibraryManager& manager = MediaLibraryManager::shared();
    if (!ensureAccess(manager, grant)) {
        return cliFail("no access to the music library (--grant allows it)");
    }
    QTextStream& out = cliOut();
    if (what == "playlists") {
        for (const Playlist& playlist : loadPlaylists(manager)) {
            out << playlist.id << '\t' << cliEscaped(playlist.name) << '\t'
                << playlist.fileNames.size() << '\n';
        }
    } else if (what == "albums") {
        for (const Album& album : Grouping::albumsFromLibrary(loadTracks(manager))) {
            out << album.id << '\t' << cliEscaped(album.name) << '\t' << cliEscaped(album.artist)
                << '\n';
        }
    } else if (what == "artists") {
        for (const Artist& artist : Grouping::artistsFromLibrary(loadTracks(manager))) {
            out << artist.id << '\t' << cliEscaped(artist.name) << '\n';
        }
    } else {
        for (const TrackPtr& track : loadTracks(manager)) {
            out << track->mediaLibraryID.value_or(0) << '\t' << cliEscaped(track->title) << '\t'
                << cliEscaped(track->artist) << '\t' << cliEscaped(track->album) << '\t'
                << cliDuration(track->duration) << '\n';
        }
    }
    out.flush();
    return 0;
}
