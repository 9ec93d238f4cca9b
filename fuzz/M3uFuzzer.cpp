// The reader of the M3U playlists found in the music library: any bytes, in
// either encoding, read without a crash or a hang.
#include <QByteArray>
#include <cstdint>
#include <cstdlib>

#include "M3uReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    for (const bool utf8 : {true, false}) {
        const M3uPlaylist playlist = readM3u(bytes, utf8);
        for (const M3uEntry& entry : playlist.entries) {
            if (entry.location.isEmpty() || (entry.duration && *entry.duration < 0)) {
                std::abort();
            }
        }
    }
    return 0;
}
