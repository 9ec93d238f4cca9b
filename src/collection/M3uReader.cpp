#include "M3uReader.h"

#include <QStringDecoder>

namespace {

QString decoded(const QByteArray& bytes, bool utf8) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    // Older ".m3u" files are Latin-1 more often than not; take them so when
    // they are not valid UTF-8.
    if (!utf8 && decoder.hasError()) {
        text = QString::fromLatin1(bytes);
    }
    if (text.startsWith(QChar(0xFEFF))) {
        text.remove(0, 1);
    }
    return text;
}

// "#EXTINF:<seconds>[ attributes],<title>"
void readInfo(const QString& rest, M3uEntry& entry) {
    const qsizetype comma = rest.indexOf(QLatin1Char(','));
    const QString head = comma < 0 ? rest : rest.left(comma);
    bool ok = false;
    const double seconds = head.section(QLatin1Char(' '), 0, 0).trimmed().toDouble(&ok);
    if (ok && seconds >= 0) {
        entry.duration = seconds;
    }
    if (comma >= 0) {
        const QString title = rest.mid(comma + 1).trimmed();
        if (!title.isEmpty()) {
            entry.title = title;
        }
    }
}

}  // namespace

M3uPlaylist readM3u(const QByteArray& bytes, bool utf8) {
    M3uPlaylist playlist;
    M3uEntry pending;
    const QString text = decoded(bytes, utf8);
    for (QStringView line : QStringView(text).tokenize(QLatin1Char('\n'))) {
        line = line.trimmed();
        if (line.isEmpty()) {
            continue;
        }
        if (line.startsWith(QLatin1String("#EXTINF:"))) {
            pending = M3uEntry{};
            readInfo(line.mid(8).toString(), pending);
        } else if (line.startsWith(QLatin1String("#PLAYLIST:"))) {
            const QString name = line.mid(10).trimmed().toString();
            if (!name.isEmpty()) {
                playlist.name = name;
            }
        } else if (!line.startsWith(QLatin1Char('#'))) {
            pending.location = line.toString();
            playlist.entries.append(pending);
            pending = M3uEntry{};
        }
    }
    return playlist;
}
