#include <QFileInfo>
#include <QImage>
#include <cmath>

#include "CliCommand.h"
#include "TagReader.h"
#include "Track.h"

namespace {

// One value per line whatever the tag holds: line breaks and the escape
// character itself are escaped, so a script can split on newlines.
QString escaped(QString value) {
    value.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    value.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    value.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    return value;
}

QString formattedDuration(double seconds) {
    if (std::isnan(seconds)) {
        return QStringLiteral("nan");
    }
    return QString::number(seconds, 'f', 3);
}

// A cover counts when the file carries a front-cover picture that decodes.
bool hasCover(const QString& path) {
    const std::optional<QByteArray> cover = TagReader::readFrontCover(path);
    return cover && !QImage::fromData(*cover).isNull();
}

void printTrack(const Track& track, const QString& path) {
    QTextStream& out = cliOut();
    out << "fileName: " << escaped(track.fileName) << '\n'
        << "title: " << escaped(track.title) << '\n'
        << "album: " << escaped(track.album) << '\n'
        << "artist: " << escaped(track.artist) << '\n'
        << "albumArtist: " << escaped(track.albumArtist) << '\n'
        << "duration: " << formattedDuration(track.duration) << '\n'
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
        TrackPtr track;
        if (file.isFile()) {
            track = Track::fromFile(file.fileName(), file.absolutePath());
        }
        if (!track) {
            exitCode = cliFail(QStringLiteral("no file at %1").arg(argument));
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
