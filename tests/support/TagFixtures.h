#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>
#include <optional>

#include "AudioFixtures.h"

// What a test wants a file's tag to say. Absent fields are not written at
// all; an empty string is written as a present, empty field.
struct TagSpec {
    std::optional<QString> title = std::nullopt;
    std::optional<QString> album = std::nullopt;
    std::optional<QString> artist = std::nullopt;
    std::optional<QString> albumArtist = std::nullopt;
    std::optional<QByteArray> frontCover = std::nullopt;
    // A picture of another type (the back cover), to show it is not taken.
    std::optional<QByteArray> backCover = std::nullopt;
};

// The bytes of a short mono file of `format` (at 8 kHz, Opus at 48 kHz),
// without any tag.
QByteArray untaggedAudio(FixtureFormat format, int frames);
// The same for 16-bit PCM.
QByteArray pcmWav(int frames);
QByteArray pcmAiff(int frames);
// MPEG-1 Layer III frames of silence (mono, 44.1 kHz, 1152 samples each),
// without any header that would tell a decoder the length.
QByteArray silentMp3(int frames);

// One FLAC metadata block: its header, then `data`.
QByteArray flacBlock(int type, bool last, const QByteArray& data);

// `image` encoded in `format`.
QByteArray encoded(const QImage& image, const char* format = "PNG");
// An encoded picture of one colour.
QByteArray pictureBytes(const QSize& size, const QColor& color, const char* format = "PNG");

// Writes `spec` as the file's native tag, chosen by its extension (wav, aif,
// mp3: ID3v2; flac, ogg, opus: Vorbis comments and picture blocks; m4a: MP4
// atoms). Returns false when the file could not be tagged.
bool writeTag(const QString& path, const TagSpec& spec);
