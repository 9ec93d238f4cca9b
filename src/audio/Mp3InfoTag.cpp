#include "Mp3InfoTag.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>

#include "FileStatus.h"

namespace {

// The first frame has to start this close to the end of the tags; the
// demuxer resyncs further than that only on damaged files.
constexpr int kSearchWindow = 4096;
// Room for the longest layer III frame header plus its Xing/VBRI header.
constexpr int kHeaderRoom = 256;
static_assert(kMp3InfoTagSpan == kSearchWindow + kHeaderRoom);

quint32 be32(const QByteArray& bytes, qsizetype at) {
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

struct FrameHeader {
    bool mpeg1 = false;
    bool mono = false;
};

std::optional<FrameHeader> layer3Header(quint32 word) {
    if ((word & 0xFFE00000u) != 0xFFE00000u) {
        return std::nullopt;
    }
    const quint32 version = (word >> 19) & 3;  // 0: 2.5, 2: 2, 3: 1
    const quint32 layer = (word >> 17) & 3;    // 1: layer III
    const quint32 bitrate = (word >> 12) & 15;
    const quint32 rate = (word >> 10) & 3;
    if (version == 1 || layer != 1 || bitrate == 0 || bitrate == 15 || rate == 3) {
        return std::nullopt;
    }
    return FrameHeader{version == 3, ((word >> 6) & 3) == 3};
}

}  // namespace

qint64 Mp3InfoTag::decodedLength() const {
    if (!delay) {
        return codedLength();
    }
    return std::max<qint64>(0, codedLength() - (*delay + kDecoderDelay) -
                                   std::max(0, padding.value_or(0) - kDecoderDelay));
}

std::optional<Mp3InfoTag> parseMp3InfoTag(const QByteArray& audio) {
    const qsizetype limit = std::min<qsizetype>(audio.size() - kHeaderRoom, kSearchWindow);
    for (qsizetype start = 0; start < limit; ++start) {
        const std::optional<FrameHeader> header = layer3Header(be32(audio, start));
        if (!header) {
            continue;
        }
        Mp3InfoTag tag;
        tag.samplesPerFrame = header->mpeg1 ? 1152 : 576;
        // The Xing header follows the side information, whose size depends
        // on version and channels.
        const int sideInfo = header->mpeg1 ? (header->mono ? 17 : 32) : (header->mono ? 9 : 17);
        qsizetype at = start + 4 + sideInfo;
        const QByteArray id = audio.mid(at, 4);
        if (id == "Xing" || id == "Info") {
            const quint32 flags = be32(audio, at + 4);
            at += 8;
            if (!(flags & 1)) {
                return std::nullopt;
            }
            tag.frames = be32(audio, at);
            at += 4;
            at += (flags & 2) ? 4 : 0;    // byte count
            at += (flags & 4) ? 100 : 0;  // seek table
            at += (flags & 8) ? 4 : 0;    // quality
            // The LAME tag: a 9-byte encoder name, then 12 bytes of levels
            // and flags, then delay and padding as two 12-bit numbers.
            const QByteArray encoder = audio.mid(at, 4);
            if (encoder == "LAME" || encoder == "Lavf" || encoder == "Lavc") {
                const auto* bytes = reinterpret_cast<const uchar*>(audio.constData() + at + 21);
                tag.delay = (bytes[0] << 4) | (bytes[1] >> 4);
                tag.padding = ((bytes[1] & 0x0F) << 8) | bytes[2];
            }
            return tag.frames > 0 ? std::optional(tag) : std::nullopt;
        }
        // A VBRI header sits 32 bytes after the frame header, whatever the mode.
        at = start + 4 + 32;
        if (audio.mid(at, 4) == "VBRI" &&
            qFromBigEndian<quint16>(audio.constData() + at + 4) == 1) {
            tag.frames = be32(audio, at + 14);
            return tag.frames > 0 ? std::optional(tag) : std::nullopt;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<Mp3InfoTag> readMp3InfoTag(const Mp3ByteSource& readAt) {
    // Skip every ID3v2 tag; each states its size as a 28-bit syncsafe number.
    qint64 offset = 0;
    for (;;) {
        const QByteArray tagHeader = readAt(offset, 10);
        if (tagHeader.size() < 10 || !tagHeader.startsWith("ID3")) {
            break;
        }
        const auto* size = reinterpret_cast<const uchar*>(tagHeader.constData() + 6);
        if ((size[0] | size[1] | size[2] | size[3]) & 0x80) {
            return std::nullopt;
        }
        const bool footer = tagHeader[5] & 0x10;
        offset +=
            10 + (footer ? 10 : 0) + ((size[0] << 21) | (size[1] << 14) | (size[2] << 7) | size[3]);
    }
    return parseMp3InfoTag(readAt(offset, kMp3InfoTagSpan));
}

std::optional<Mp3InfoTag> readMp3InfoTag(const QString& path) {
    QFile file;
    if (openRegularFile(file, path)) {
        return std::nullopt;
    }
    return readMp3InfoTag([&file](qint64 offset, int size) {
        return file.seek(offset) ? file.read(size) : QByteArray();
    });
}
