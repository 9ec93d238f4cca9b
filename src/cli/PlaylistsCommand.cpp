#include <QSet>
#include <algorithm>

#include "CliCommand.h"
#include "CliFormat.h"
#include "PlaylistsManager.h"

namespace {

int list() {
    QList<Playlist> playlists = PlaylistsManager::shared().playlists().values();
    // By name, then id, so that the output does not follow the table's order.
    std::stable_sort(playlists.begin(), playlists.end(), [](const Playlist& a, const Playlist& b) {
        return a < b || (!(b < a) && a.id < b.id);
    });
    for (const Playlist& playlist : playlists) {
        cliOut() << cliEscaped(playlist.id) << '\t' << cliEscaped(playlist.name) << '\t'
                 << playlist.fileNames.size() << '\n';
    }
    return 0;
}

int show(const Playlist& playlist) {
    cliOut() << "name: " << cliEscaped(playlist.name) << '\n';
    QStringList names(playlist.fileNames.cbegin(), playlist.fileNames.cend());
    names.sort();
    for (const QString& name : names) {
        cliOut() << cliEscaped(name) << '\n';
    }
    return 0;
}

int save(const Playlist& playlist, bool notify) {
    if (!PlaylistsManager::shared().savePlaylist(playlist, notify)) {
        return cliFail(QStringLiteral("could not write the playlist %1").arg(playlist.id));
    }
    return 0;
}

int create(const QString& name) {
    // The screens refuse an empty name when creating.
    if (name.isEmpty()) {
        return cliFail("a new playlist needs a name");
    }
    const Playlist playlist{Playlist::newId(), name, {}, false};
    const int code = save(playlist, true);
    if (code == 0) {
        cliOut() << playlist.id << '\n';
    }
    return code;
}

int change(const QString& verb, Playlist playlist, const QString& value) {
    if (verb == "add") {
        playlist.fileNames.insert(value);
        return save(playlist, true);
    }
    if (verb == "remove") {
        playlist.fileNames.remove(value);
        return save(playlist, false);
    }
    // A rename takes an empty name, as the rename dialog does.
    playlist.name = value;
    return save(playlist, true);
}

}  // namespace

int runPlaylistsCommand(const QStringList& arguments) {
    const QString verb = arguments.value(0, QStringLiteral("list"));
    const qsizetype count = arguments.size();
    int code = 2;
    if (verb == "list" && count <= 1) {
        code = list();
    } else if (verb == "create" && count == 2) {
        code = create(arguments[1]);
    } else if ((verb == "delete" || verb == "show") && count == 2) {
        const std::optional<Playlist> playlist = PlaylistsManager::shared().playlist(arguments[1]);
        if (!playlist) {
            return cliFail(QStringLiteral("no playlist %1").arg(arguments[1]));
        }
        if (verb == "show") {
            code = show(*playlist);
        } else if (const auto error =
                       PlaylistsManager::shared().deletePlaylist(playlist->id, false)) {
            code = cliFail(QStringLiteral("could not delete %1: %2").arg(playlist->id, *error));
        } else {
            code = 0;
        }
    } else if ((verb == "add" || verb == "remove" || verb == "rename") && count == 3) {
        const std::optional<Playlist> playlist = PlaylistsManager::shared().playlist(arguments[1]);
        if (!playlist) {
            return cliFail(QStringLiteral("no playlist %1").arg(arguments[1]));
        }
        code = change(verb, *playlist, arguments[2]);
    } else {
        return cliFail(
            "usage: playlists [list | create NAME | add ID FILE | remove ID FILE | rename ID NAME "
            "| delete ID | show ID]");
    }
    cliOut().flush();
    return code;
}
