#include "Playlist.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QUuid>

#include "AppDirectories.h"
#include "FileStatus.h"
#include "Log.h"
#include "TextOrder.h"

namespace {

constexpr auto kDefaultName = "Playlist";
constexpr auto kHeader = "#EXTM3U\n";
constexpr auto kInfoPrefix = "#EXTINF:";
constexpr auto kNameKey = "name";

// Lines end at a line feed, except that a carriage return and line feed form
// one character, which is no line feed: such a file does not split there.
QStringList splitLines(const QString& text) {
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('\n') || (i > 0 && text.at(i - 1) == QLatin1Char('\r'))) {
            continue;
        }
        if (i > start) {
            lines.append(text.mid(start, i - start));
        }
        start = i + 1;
    }
    if (start < text.size()) {
        lines.append(text.mid(start));
    }
    return lines;
}

// The value behind the first key "name" of an info line's key-value pairs.
// Tokens alternate key, value over the pieces cut at both ";" and "=".
std::optional<QString> nameFromInfo(const QString& rest, const QString& id) {
    QStringList tokens;
    for (const QString& piece : rest.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        tokens += piece.split(QLatin1Char('='), Qt::SkipEmptyParts);
    }
    for (qsizetype key = 0; key < tokens.size(); key += 2) {
        if (tokens.at(key) != QLatin1String(kNameKey)) {
            continue;
        }
        if (key + 1 < tokens.size()) {
            return tokens.at(key + 1);
        }
        // An empty rename writes the key alone; the name saved was empty.
        systemLog(QStringLiteral("Playlist %1 has the key \"name\" without a value; reading it "
                                 "with an empty name")
                      .arg(id));
        return QString();
    }
    return std::nullopt;
}

}  // namespace

std::optional<Playlist> Playlist::fromFile(const QString& fileName, const QString& directory) {
    // Only regular files: a FIFO among the playlists would block the read.
    QFile file;
    if (openRegularFile(file, QDir(directory).filePath(fileName))) {
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return fromBytes(bytes, fileName);
}

std::optional<Playlist> Playlist::fromBytes(const QByteArray& bytes, const QString& id) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return fromText(text, id);
}

Playlist Playlist::fromText(const QString& text, const QString& id) {
    Playlist playlist;
    playlist.id = id;
    playlist.name = QString::fromLatin1(kDefaultName);
    for (const QString& line : splitLines(text)) {
        if (line.startsWith(QLatin1String(kInfoPrefix))) {
            const QString rest = line.mid(qsizetype(qstrlen(kInfoPrefix)));
            if (std::optional<QString> name = nameFromInfo(rest, id)) {
                playlist.name = *name;
            }
        } else if (!line.startsWith(QLatin1Char('#'))) {
            playlist.fileNames.insert(line);
        }
    }
    return playlist;
}

Playlist Playlist::fromMediaPlaylist(const MediaPlaylist& mediaPlaylist) {
    Playlist playlist;
    playlist.id = QString::number(mediaPlaylist.persistentID);
    playlist.name = mediaPlaylist.name.value_or(QString::fromLatin1(kDefaultName));
    for (const quint64 item : mediaPlaylist.itemPersistentIDs) {
        playlist.fileNames.insert(QString::number(item));
    }
    playlist.mediaLibraryItem = true;
    return playlist;
}

QString Playlist::newId() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + ".m3u8";
}

QString Playlist::singleLine(QString text) {
    for (QChar& character : text) {
        const char16_t unit = character.unicode();
        if (unit == u'\n' || unit == u'\r' || unit == u'\v' || unit == u'\f' || unit == 0x85 ||
            character.category() == QChar::Separator_Line ||
            character.category() == QChar::Separator_Paragraph) {
            character = QLatin1Char(' ');
        }
    }
    return text;
}

Playlist Playlist::asWritten() const {
    Playlist written = *this;
    written.name = singleLine(name);
    written.fileNames.clear();
    for (const QString& fileName : fileNames) {
        written.fileNames.insert(singleLine(fileName));
    }
    return written;
}

QString Playlist::description() const {
    const Playlist written = asWritten();
    QString text = QString::fromLatin1(kHeader);
    text += QLatin1String(kInfoPrefix) + QLatin1String(kNameKey) + QLatin1Char('=') + written.name +
            QLatin1Char('\n');
    text +=
        QStringList(written.fileNames.cbegin(), written.fileNames.cend()).join(QLatin1Char('\n'));
    return text;
}

bool Playlist::operator<(const Playlist& other) const {
    return compareText(name, other.name) < 0;
}

const QString& playlistsDirectory() {
    static const QString path = AppDirectories::documentsDirectory() + "/Playlists";
    return path;
}
