#include "LibraryTagReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QStringList>
#include <algorithm>
#include <array>
#include <climits>
#include <memory>

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggfile.h>
#include <taglib/oggpageheader.h>
#include <taglib/opusfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include "AudioFile.h"
#include "Mp3InfoTag.h"

namespace {

// A read-only file for TagLib that answers its many small seeks and reads
// (headers, page after page, the tail for trailing tags) from two cached
// windows: TagLib's own stream costs several system calls for each of them,
// and asks the file's length with three more before every read.
class WindowedFileStream final : public TagLib::IOStream {
public:
    explicit WindowedFileStream(const QString& path) : m_name(QFile::encodeName(path)) {
        m_fd = ::open(m_name.constData(), O_RDONLY | O_CLOEXEC);
        if (m_fd >= 0 && (::fstat(m_fd, &m_status) != 0 || !S_ISREG(m_status.st_mode))) {
            ::close(m_fd);
            m_fd = -1;
        }
        m_length = m_fd >= 0 ? m_status.st_size : 0;
    }
    ~WindowedFileStream() override {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    WindowedFileStream(const WindowedFileStream&) = delete;
    WindowedFileStream& operator=(const WindowedFileStream&) = delete;

    // The status of the file as it was opened.
    const struct stat& status() const { return m_status; }

    TagLib::FileName name() const override { return m_name.constData(); }
    bool readOnly() const override { return true; }
    bool isOpen() const override { return m_fd >= 0; }
    long tell() const override { return m_position; }
    long length() override { return m_length; }

    void seek(long offset, Position from) override {
        const long base = from == Beginning ? 0 : (from == Current ? m_position : m_length);
        long target = 0;
        // Like fseek: a position before the start is refused, one past the
        // end is kept and reads nothing.
        if (!__builtin_add_overflow(base, offset, &target) && target >= 0) {
            m_position = target;
        }
    }

    TagLib::ByteVector readBlock(unsigned long length) override {
        if (m_fd < 0 || length == 0 || m_position >= m_length) {
            return {};
        }
        const auto wanted = static_cast<unsigned int>(
            std::min<unsigned long>({length, static_cast<unsigned long>(m_length - m_position),
                                     static_cast<unsigned long>(UINT_MAX)}));
        if (wanted > kWindowSize / 2) {
            TagLib::ByteVector block(wanted, '\0');
            const ssize_t got = ::pread(m_fd, block.data(), wanted, m_position);
            block.resize(got > 0 ? static_cast<unsigned int>(got) : 0);
            m_position += block.size();
            return block;
        }
        const Window& window = windowAt(m_position, wanted);
        const long offset = m_position - window.start;
        const auto available =
            static_cast<unsigned int>(std::max(0L, std::min<long>(wanted, window.size - offset)));
        TagLib::ByteVector block(window.bytes.get() + offset, available);
        m_position += available;
        return block;
    }

    // Never written: the library is read-only.
    void writeBlock(const TagLib::ByteVector&) override {}
    void insert(const TagLib::ByteVector&, unsigned long, unsigned long) override {}
    void removeBlock(unsigned long, unsigned long) override {}
    void truncate(long) override {}

private:
    static constexpr long kWindowSize = 16 * 1024;
    static constexpr long kPage = 4096;

    struct Window {
        long start = -1;
        long size = 0;
        unsigned useCount = 0;
        std::unique_ptr<char[]> bytes;  // left unfilled: pread fills what is used
    };

    // The window that holds [position, position + count), loaded into the one
    // used least lately when neither does.
    const Window& windowAt(long position, long count) {
        ++m_uses;
        for (Window& window : m_windows) {
            if (window.start >= 0 && position >= window.start &&
                position + count <= window.start + window.size) {
                window.useCount = m_uses;
                return window;
            }
        }
        Window& window =
            m_windows[0].useCount <= m_windows[1].useCount ? m_windows[0] : m_windows[1];
        if (!window.bytes) {
            window.bytes = std::make_unique_for_overwrite<char[]>(kWindowSize);
        }
        window.start = position - position % kPage;
        if (position + count > window.start + kWindowSize) {
            window.start = position;
        }
        const ssize_t got = ::pread(m_fd, window.bytes.get(), kWindowSize, window.start);
        window.size = std::max<long>(got, 0);
        window.useCount = m_uses;
        return window;
    }

    QByteArray m_name;
    int m_fd = -1;
    struct stat m_status {};
    long m_length = 0;
    long m_position = 0;
    unsigned m_uses = 0;
    std::array<Window, 2> m_windows;
};

// The values of the five property keys the library keeps, as TagLib's
// property map would hold them.
struct TagValues {
    TagLib::StringList title;
    TagLib::StringList album;
    TagLib::StringList artist;
    TagLib::StringList albumArtist;
    TagLib::StringList trackNumber;

    TagLib::StringList* slot(const TagLib::String& key) {
        if (key == "TITLE") {
            return &title;
        }
        if (key == "ALBUM") {
            return &album;
        }
        if (key == "ARTIST") {
            return &artist;
        }
        if (key == "ALBUMARTIST") {
            return &albumArtist;
        }
        return key == "TRACKNUMBER" ? &trackNumber : nullptr;
    }
};

// Made once: maps are searched with them for every file.
const std::array<TagLib::String, 5>& keys() {
    static const std::array<TagLib::String, 5> keys{"TITLE", "ALBUM", "ARTIST", "ALBUMARTIST",
                                                    "TRACKNUMBER"};
    return keys;
}

void fromPropertyMap(const TagLib::PropertyMap& properties, TagValues& values) {
    for (const TagLib::String& key : keys()) {
        const auto it = properties.find(key);
        if (it != properties.end()) {
            *values.slot(key) = it->second;
        }
    }
}

// TagLib's own names of frames as property keys, kept for its frame classes.
struct Id3v2Keys : TagLib::ID3v2::Frame {
    using TagLib::ID3v2::Frame::frameIDToKey;
    using TagLib::ID3v2::Frame::txxxToKey;
};

// As the tag's property map merges its frames: text frames by their key,
// user text frames by their description, in the order of the tag.
void fromId3v2(const TagLib::ID3v2::Tag& tag, TagValues& values) {
    for (const TagLib::ID3v2::Frame* frame : tag.frameList()) {
        const TagLib::ByteVector& id = frame->frameID();
        if (id.isEmpty() || id[0] != 'T' || id == "TIPL" || id == "TMCL") {
            continue;
        }
        if (const auto* user =
                dynamic_cast<const TagLib::ID3v2::UserTextIdentificationFrame*>(frame)) {
            if (TagLib::StringList* into = values.slot(Id3v2Keys::txxxToKey(user->description()))) {
                // The first field is the description itself.
                const TagLib::StringList fields = user->fieldList();
                for (auto it = fields.begin(); it != fields.end(); ++it) {
                    if (it != fields.begin()) {
                        into->append(*it);
                    }
                }
            }
        } else if (const auto* text =
                       dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(frame)) {
            if (TagLib::StringList* into = values.slot(Id3v2Keys::frameIDToKey(id))) {
                into->append(text->fieldList());
            }
        }
    }
}

void fromXiph(const TagLib::Ogg::XiphComment& comment, TagValues& values) {
    const TagLib::Ogg::FieldListMap& fields = comment.fieldListMap();
    for (const TagLib::String& key : keys()) {
        const auto it = fields.find(key);
        if (it != fields.end()) {
            *values.slot(key) = it->second;
        }
    }
}

// APE keys are free text; the map renames two spellings to its own keys.
void fromApe(const TagLib::APE::Tag& tag, TagValues& values) {
    for (const auto& [key, item] : tag.itemListMap()) {
        TagLib::String name = key.upper();
        if (item.type() != TagLib::APE::Item::Text || name.isEmpty()) {
            continue;
        }
        if (name == "TRACK") {
            name = "TRACKNUMBER";
        } else if (name == "ALBUM ARTIST") {
            name = "ALBUMARTIST";
        }
        if (TagLib::StringList* into = values.slot(name)) {
            into->append(item.toStringList());
        }
    }
}

void fromMp4(const TagLib::MP4::Tag& tag, TagValues& values) {
    const auto text = [&](const char* key, TagLib::StringList& into) {
        if (tag.contains(key)) {
            into = tag.item(key).toStringList();
        }
    };
    text("\251nam", values.title);
    text("\251alb", values.album);
    text("\251ART", values.artist);
    text("aART", values.albumArtist);
    if (tag.contains("trkn")) {
        const TagLib::MP4::Item::IntPair pair = tag.item("trkn").toIntPair();
        TagLib::String number = TagLib::String::number(pair.first);
        if (pair.second != 0) {
            number += "/" + TagLib::String::number(pair.second);
        }
        values.trackNumber = TagLib::StringList(number);
    }
}

// The tag the file's property map is made of: for formats with several tags,
// the first one that is not empty. Null when there is none.
const TagLib::Tag* leadingTag(TagLib::File* file) {
    const auto shown = [](const TagLib::Tag* tag, bool present) {
        return present && tag && !tag->isEmpty() ? tag : nullptr;
    };
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        return shown(mpeg->ID3v2Tag(), mpeg->hasID3v2Tag());
    }
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        return shown(flac->xiphComment(), flac->hasXiphComment());
    }
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        return shown(wav->ID3v2Tag(), wav->hasID3v2Tag());
    }
    if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
        return shown(aiff->tag(), aiff->hasID3v2Tag());
    }
    if (auto* trueAudio = dynamic_cast<TagLib::TrueAudio::File*>(file)) {
        return shown(trueAudio->ID3v2Tag(), trueAudio->hasID3v2Tag());
    }
    if (auto* monkey = dynamic_cast<TagLib::APE::File*>(file)) {
        return shown(monkey->APETag(), monkey->hasAPETag());
    }
    if (auto* wavPack = dynamic_cast<TagLib::WavPack::File*>(file)) {
        return shown(wavPack->APETag(), wavPack->hasAPETag());
    }
    if (auto* mpc = dynamic_cast<TagLib::MPC::File*>(file)) {
        return shown(mpc->APETag(), mpc->hasAPETag());
    }
    // MP4 and Ogg streams have one tag each.
    if (dynamic_cast<TagLib::MP4::File*>(file) || dynamic_cast<TagLib::Ogg::File*>(file)) {
        return file->tag();
    }
    return nullptr;
}

// Reads the fields straight from the leading tag when it is of a kind read
// here; false leaves them to the property map itself.
bool readDirectly(TagLib::File* file, TagValues& values) {
    const TagLib::Tag* tag = leadingTag(file);
    if (const auto* id3v2 = dynamic_cast<const TagLib::ID3v2::Tag*>(tag)) {
        fromId3v2(*id3v2, values);
    } else if (const auto* xiph = dynamic_cast<const TagLib::Ogg::XiphComment*>(tag)) {
        fromXiph(*xiph, values);
    } else if (const auto* mp4 = dynamic_cast<const TagLib::MP4::Tag*>(tag)) {
        fromMp4(*mp4, values);
    } else if (const auto* ape = dynamic_cast<const TagLib::APE::Tag*>(tag)) {
        fromApe(*ape, values);
    } else {
        return false;
    }
    return true;
}

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

QString toQString(const TagLib::String& text) {
    return QString::fromUtf8(text.toCString(true));
}

std::optional<QString> joined(const TagLib::StringList& values) {
    if (values.isEmpty()) {
        return std::nullopt;
    }
    if (values.size() == 1) {
        return toQString(values.front());
    }
    QStringList texts;
    for (const TagLib::String& value : values) {
        texts.append(toQString(value));
    }
    return texts.join(QStringLiteral(" / "));
}

}  // namespace

void setStatus(IndexedFile& file, const struct stat& status) {
    file.size = status.st_size;
    // Nanoseconds, so that a retag within the same second shows.
    file.modified = qint64(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
}

bool readLibraryTags(const QString& absolutePath, IndexedFile& file) {
    WindowedFileStream stream(absolutePath);
    if (!stream.isOpen()) {
        // One that is there but cannot be read is kept as it is, so that it
        // is not tried again until it changes.
        struct stat status {};
        if (::stat(stream.name(), &status) != 0) {
            return false;
        }
        setStatus(file, status);
        return true;
    }
    setStatus(file, stream.status());
    const bool ogg = absolutePath.endsWith(QLatin1String(".ogg"), Qt::CaseInsensitive) ||
                     absolutePath.endsWith(QLatin1String(".opus"), Qt::CaseInsensitive);
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
        return true;
    }
    TagValues values;
    if (!readDirectly(ref.file(), values)) {
        fromPropertyMap(ref.file()->properties(), values);
    }
    file.title = joined(values.title);
    file.album = joined(values.album);
    file.artist = joined(values.artist);
    file.albumArtist = joined(values.albumArtist);
    if (const std::optional<QString> number = joined(values.trackNumber)) {
        bool ok = false;
        const int value = number->section(QLatin1Char('/'), 0, 0).trimmed().toInt(&ok);
        if (ok) {
            file.trackNumber = value;
        }
    }
    if (!length) {
        length = exactLength(ref.file(), stream);
    }
    if (!length && dynamic_cast<TagLib::MPEG::File*>(ref.file())) {
        // An MP3 without a Xing header states no length at all, and TagLib's
        // guess from the bit rate can be off by a factor for a variable one:
        // the decoder counts its frames, as for the tracks of the music
        // folder. Other formats keep TagLib's length, close enough to spare
        // each file a decoder.
        if (const std::shared_ptr<AudioFile> audio = AudioFile::openForReading(absolutePath)) {
            length = audio->durationSeconds();
        }
    }
    if (length) {
        file.duration = *length;
    } else if (const TagLib::AudioProperties* audio = ref.audioProperties()) {
        file.duration = audio->lengthInMilliseconds() / 1000.0;
    }
    return true;
}
