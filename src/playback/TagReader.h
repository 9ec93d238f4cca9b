#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The fields a track and the library take from a file's tags. A field the tags
// do not carry is absent; one that is there but holds nothing is the empty
// string. The difference matters: an absent title falls back to the file name,
// an empty one stays empty.
struct TagFields {
    std::optional<QString> title;
    std::optional<QString> album;
    std::optional<QString> artist;
    std::optional<QString> albumArtist;
    std::optional<int> trackNumber;
};

// Reads tags by path for every container TagLib knows (MPEG with ID3v2/APE/
// ID3v1, MP4, FLAC, Ogg Vorbis/Opus/Speex/FLAC, WAV, AIFF, APE, WavPack,
// Musepack, TrueAudio, ASF). A file that cannot be read, or has no tag, reads
// as a tag without any field. Safe to call from any thread. Where tags are
// read in one order, with an ID3v2 tag alone speaking for an MP3, and the
// others filling only what the leading one lacks.
//
// TagLib comes in a module (libcorvantis-tag-library.so) loaded at the first
// read: where it cannot be loaded, every file reads as untagged and the log
// says why once.
class TagReader {
public:
    static TagFields readFields(const QString& path);

    // The encoded bytes of the front-cover picture, undecoded: the attached
    // picture of the front-cover type (ID3v2, FLAC and Xiph picture blocks,
    // ASF), the first "covr" entry of MP4, APE's front cover item. Absent when
    // the file has no tag or no such picture.
    static std::optional<QByteArray> readFrontCover(const QString& path);
};
