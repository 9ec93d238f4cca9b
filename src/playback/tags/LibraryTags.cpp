#include <memory>

#include <taglib/aifffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggfile.h>
#include <taglib/oggpageheader.h>
#include <taglib/opusfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

#include "Mp3InfoTag.h"
#include "TagLibFields.h"
#include "WindowedFileStream.h"

namespace {

// The length in seconds of an Ogg Vorbis or Opus stream, as the decoder
// plays it, from the granule positions of its first and last pages
// and the rate of the identification header; nothing for other streams.
// TagLib's properties also reassemble every header packet, the comment with
// its covers included, for a bitrate the library does not keep.
std::optional<double> oggLength(TagLib::File* file) {
    auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file);
    auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(file);
    if (!vorbis && !opus) {
        return std::nullopt;
    }
    auto* ogg = static_cast<TagLib::Ogg::File*>(file);
    const TagLib::ByteVector header = ogg->packet(0);
    if (vorbis && header.size() < 28) {
        return 0;
    }
    // Opus decodes at 48 kHz whatever the input was, after skipping the
    // encoder's delay.
    const unsigned int rate = vorbis ? header.toUInt(12, false) : 48000;
    const long long skipped = vorbis ? 0 : header.toUShort(10, false);
    const TagLib::Ogg::PageHeader* first = ogg->firstPageHeader();
    const TagLib::Ogg::PageHeader* last = ogg->lastPageHeader();
    if (!first || !last) {
        return 0;
    }
    const long long start = first->absoluteGranularPosition();
    const long long end = last->absoluteGranularPosition();
    if (start < 0 || end < 0 || rate == 0 || end - start - skipped <= 0) {
        return 0;
    }
    return double(end - start - skipped) / rate;
}

// The length in seconds a decoder yields, where the header states it to the
// sample: the frame count of a lossless stream, the Xing/Info header of an MP3
// less the encoder delay and padding of its LAME tag. TagLib's own length is
// rounded to milliseconds and keeps the delay and padding in; the tracks of
// the music folder are measured by the decoder, and both must agree. Read
// from the headers TagLib has just parsed, it costs next to nothing, where
// opening the decoder would cost more than reading the tags.
std::optional<double> exactLength(TagLib::File* file, TagLib::IOStream& stream) {
    const auto seconds = [](qint64 frames, int rate) -> std::optional<double> {
        if (rate <= 0) {
            return std::nullopt;
        }
        return double(frames) / rate;
    };
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        const long offset = mpeg->firstFrameOffset();
        if (offset < 0 || !mpeg->audioProperties()) {
            return std::nullopt;
        }
        stream.seek(offset, TagLib::IOStream::Beginning);
        const TagLib::ByteVector bytes = stream.readBlock(kMp3InfoTagSpan);
        const std::optional<Mp3InfoTag> tag =
            parseMp3InfoTag(QByteArray(bytes.data(), qsizetype(bytes.size())));
        if (!tag) {
            return std::nullopt;
        }
        return seconds(tag->decodedLength(), mpeg->audioProperties()->sampleRate());
    }
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file); flac && flac->audioProperties()) {
        const TagLib::FLAC::Properties* properties = flac->audioProperties();
        return seconds(qint64(properties->sampleFrames()), properties->sampleRate());
    }
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file); wav && wav->audioProperties()) {
        return seconds(wav->audioProperties()->sampleFrames(),
                       wav->audioProperties()->sampleRate());
    }
    if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file);
        aiff && aiff->audioProperties()) {
        return seconds(aiff->audioProperties()->sampleFrames(),
                       aiff->audioProperties()->sampleRate());
    }
    return std::nullopt;
}

}  // namespace

LibraryFileTags readLibraryFile(const QString& path) {
    LibraryFileTags tags;
    WindowedFileStream stream(path);
    if (!stream.isOpen()) {
        // One that is there but cannot be read is kept as it is, so that it
        // is not tried again until it changes.
        tags.exists = ::stat(stream.name(), &tags.status) == 0;
        return tags;
    }
    tags.exists = true;
    tags.status = stream.status();
    const bool ogg = path.endsWith(QLatin1String(".ogg"), Qt::CaseInsensitive) ||
                     path.endsWith(QLatin1String(".opus"), Qt::CaseInsensitive);
    TagLib::FileRef ref(&stream, !ogg, TagLib::AudioProperties::Average);
    std::optional<double> length;
    if (ogg && !ref.isNull()) {
        length = oggLength(ref.file());
    }
    if (ogg && !length) {
        // Not Vorbis or Opus after all: TagLib measures it.
        stream.seek(0, TagLib::IOStream::Beginning);
        ref = TagLib::FileRef(&stream, true, TagLib::AudioProperties::Average);
    }
    if (ref.isNull()) {
        return tags;
    }
    tags.fields = tagFieldsOf(ref.file());
    tags.exactLength = length ? length : exactLength(ref.file(), stream);
    tags.mpegWithoutLength =
        !tags.exactLength && dynamic_cast<TagLib::MPEG::File*>(ref.file()) != nullptr;
    if (const TagLib::AudioProperties* audio = ref.audioProperties()) {
        tags.estimatedLength = audio->lengthInMilliseconds() / 1000.0;
    }
    return tags;
}
