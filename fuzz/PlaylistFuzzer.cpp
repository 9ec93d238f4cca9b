// The reader of the user's playlist files: any bytes read without a crash or
// a hang, and what it reads writes back to the same playlist.
#include <QByteArray>
#include <cstdint>
#include <cstdlib>

#include "Playlist.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const std::optional<Playlist> playlist = Playlist::fromBytes(bytes, QStringLiteral("F.m3u8"));
    if (!playlist) {
        return 0;
    }
    // A name with "=" or ";" comes back cut, an empty one logs, and a carriage
    // return at its end joins the line feed written behind it; any other name
    // must come back as it was.
    const std::optional<Playlist> again =
        Playlist::fromBytes(playlist->description().toUtf8(), playlist->id);
    const bool plainName = !playlist->name.contains(QLatin1Char('=')) &&
                           !playlist->name.contains(QLatin1Char(';')) &&
                           !playlist->name.contains(QLatin1Char('\r')) && !playlist->name.isEmpty();
    if (!again || (plainName && again->name != playlist->name)) {
        std::abort();
    }
    return 0;
}
