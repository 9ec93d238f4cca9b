#include <QFileInfo>
#include <QImage>

#include "CliCommand.h"
#include "CliFormat.h"
#include "FileStatus.h"
#include "TagReader.h"
#include "Track.h"

namespace {

// A cover counts when the file carries a front-cover picture that decodes.
bool hasCover(const QString& path) {
    const std::optional<QByteArray> cover = TagReader::readFrontCover(path);
    return cover && !QImage::fromData(*cover).isNull();
}

void printTrack(const Track& track, const QString& path) {
    QTextStream& out = cliOut();
    out << "fileName: " << cliEscaped(track.fileName) << '\n'
        << "title: " << cliEscaped(track.title) << '\n'
        << "album: " << cliEscaped(track.album) << '\n'
        << "artist: " << cliEscaped(track.artist) << '\n'
        << "albumArtist: " << cliEscaped(track.albumArtist) << '\n'
        << "duration: " << cliDuration(track.duration) << '\n'
        << "cover: " << (hasCover(path) ? "yes" : "no") << '\n';
}

}  // namespace

int runInfoCommand(const QStringList& arguments) {
    if (arguments.isEmpty()) {
        return cliFail("info needs at least one file");
    }
    int exitCode = 0;
    bool printedAny = false;
    for (const QString& argument : arguments) {
        const QFileInfo file(argument);
        const FileStatus status = FileStatus::of(argument);
        if (status.isSpecial()) {
            exitCode =
                cliFail(QStringLiteral("%1 is not a regular file").arg(cliEscaped(argument)));
            continue;
        }
        TrackPtr track;
        if (status.isRegular()) {
            track = Track::fromFile(file.fileName(), file.absolutePath());
        }
        if (!track) {
            exitCode = cliFail(QStringLiteral("no file at %1").arg(cliEscaped(argument)));
            continue;
        }
        if (printedAny) {
            cliOut() << '\n';
        }
        printTrack(*track, file.absoluteFilePath());
        printedAny = true;
    }
    cliOut().flush();
    return exitCode;
}
