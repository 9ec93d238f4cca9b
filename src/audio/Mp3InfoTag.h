#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <functional>
#include <optional>

// What the first frame of an MP3 file says about the whole stream: the
// Xing/Info or VBRI header's frame count and, in a LAME tag, the encoder delay
// and padding. The demuxer reads the same header but keeps the padding to
// itself, and the exact length needs both.
struct Mp3InfoTag {
    qint64 frames = 0;
    int samplesPerFrame = 0;
    // Present only when a LAME tag (written by LAME or the libav* muxer)
    // states them.
    std::optional<int> delay;
    std::optional<int> padding;

    // A layer III decoder yields this many samples before the first coded one.
    static constexpr int kDecoderDelay = 529;

    qint64 codedLength() const { return frames * samplesPerFrame; }
    // The samples a decoder hands out once the encoder's delay and padding
    // are trimmed (with its own delay, which the padding covers first): the
    // length played.
    qint64 decodedLength() const;
};

// How many bytes after the ID3v2 tags hold the tag, if anywhere.
inline constexpr int kMp3InfoTagSpan = 4096 + 256;

// Reads the tag from the start of a file; nullopt when there is none (or the
// file does not start with ID3v2 tags followed by an MPEG audio layer III frame).
std::optional<Mp3InfoTag> readMp3InfoTag(const QString& path);
// Up to `size` bytes of a file from `offset`; fewer at its end or on an error.
using Mp3ByteSource = std::function<QByteArray(qint64 offset, int size)>;
// The same, from a file that is already open.
std::optional<Mp3InfoTag> readMp3InfoTag(const Mp3ByteSource& readAt);
// The same, over the bytes that follow the ID3v2 tags.
std::optional<Mp3InfoTag> parseMp3InfoTag(const QByteArray& audio);
