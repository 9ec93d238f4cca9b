#include <unistd.h>
#include <QCoreApplication>
#include <QDir>
#include <QSocketNotifier>
#include <algorithm>
#include <csignal>

#include "AppDirectories.h"
#include "CliCommand.h"
#include "CliFormat.h"
#include "DirectoryListing.h"
#include "FileStatus.h"
#include "PlaybackManager.h"
#include "SystemMediaIntegration.h"
#include "Track.h"

namespace {

// Ctrl-C and SIGTERM reach the event loop through a pipe, the one thing a
// signal handler may safely write to.
int g_signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_signalPipe[1], &byte, 1);
}

// Tells the terminal what the player screen would show.
class TerminalDelegate final : public PlaybackManagerDelegate {
public:
    void didStartPlayback() override {}
    void didPausePlayback() override {}
    void didStopPlayback() override {
        cliOut() << "stopped" << Qt::endl;
        QCoreApplication::quit();
    }
    void didChangeTrack(TrackPtr track) override {
        if (track) {
            cliOut() << "track: " << cliEscaped(track->fileName) << " (" << cliEscaped(track->title)
                     << " - " << cliEscaped(track->artist) << ")" << Qt::endl;
        }
    }
    void didChangeCurrentTime(PlaybackManager&, double seconds) override {
        const int whole = int(seconds);
        if (whole != m_lastSecond) {
            m_lastSecond = whole;
            cliOut() << "time: " << QString::number(seconds, 'f', 2) << Qt::endl;
        }
    }

private:
    int m_lastSecond = -1;
};

// The queue a first visit of the track list would give: every entry of the
// music folder, ordered by lower-cased file name.
QList<TrackPtr> allTracks(const QString& directory) {
    QStringList names = DirectoryListing::of(directory).names;
    std::stable_sort(names.begin(), names.end(),
                     [](const QString& a, const QString& b) { return a.toLower() < b.toLower(); });
    QList<TrackPtr> tracks;
    for (const QString& name : names) {
        if (TrackPtr track = Track::fromFile(name, directory)) {
            tracks.append(track);
        }
    }
    return tracks;
}

}  // namespace

// Plays the music folder, or named files of it, through the sound device with
// the same transport a user drives from the player screen.
int runPlayCommand(const QStringList& arguments) {
    const QString directory = downloadedMusicDirectory();
    QList<TrackPtr> queue;
    if (arguments == QStringList{QStringLiteral("--all")}) {
        queue = allTracks(directory);
        if (queue.isEmpty()) {
            cliOut() << "The music folder is empty. Put audio files into\n  " << directory
                     << "\nand run this again." << Qt::endl;
            return 0;
        }
    } else if (arguments.isEmpty() || arguments.contains(QStringLiteral("--all"))) {
        return cliFail(
            QStringLiteral("play takes --all or the names of files in %1").arg(directory));
    } else {
        for (const QString& name : arguments) {
            TrackPtr track = Track::fromFile(name, directory);
            if (!track) {
                const bool special = FileStatus::of(QDir(directory).filePath(name)).isSpecial();
                const QString text = special ? QStringLiteral("\"%1\" in %2 is not a regular file")
                                             : QStringLiteral("no file \"%1\" in %2");
                return cliFail(text.arg(cliEscaped(name), directory));
            }
            queue.append(track);
        }
    }

    // Media keys, the desktop's media controls and playerctl drive this player.
    setupAudioSession();
    setupRemoteCommands();
    PlaybackManager& manager = PlaybackManager::shared();
    QString error;
    if (!manager.audioEngine().start(&error)) {
        return cliFail(QStringLiteral("cannot open the sound device: %1 (SDL_AUDIODRIVER=dummy "
                                      "plays without one)")
                           .arg(error));
    }
    TerminalDelegate delegate;
    manager.setDelegate(&delegate);
    manager.setCurrentIndex(0);
    manager.setCurrentPlaylist(queue);
    manager.playCurrentTrack();
    if (manager.currentPlaylist().isEmpty()) {
        return cliFail(QStringLiteral("none of the files could be played"));
    }

    if (::pipe(g_signalPipe) != 0) {
        return cliFail(QStringLiteral("cannot set up signal handling"));
    }
    QSocketNotifier notifier(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    const int code = QCoreApplication::exec();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    manager.pause();
    manager.setDelegate(nullptr);
    return code;
}
