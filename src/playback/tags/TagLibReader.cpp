#include "TagLibFields.h"

#include <QFile>
#include <QHash>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cctype>
#include <mutex>
#include <string_view>

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/asftag.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tdebuglistener.h>
#include <taglib/textidentificationframe.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include "NativeFileName.h"
#include "PlaybackLog.h"

namespace {

// TagLib reports broken frames and odd files on standard error; they are
// diagnostics, not the system's log lines.
class TagLibDebugListener final : public TagLib::DebugListener {
public:
    void printMessage(const TagLib::String& message) override {
        qCDebug(lcPlayback).noquote()
            << "TagLib:" << QString::fromUtf8(message.toCString(true)).trimmed();
    }
};

void routeTagLibMessages() {
    static std::once_flag once;
    std::call_once(once, [] {
        static TagLibDebugListener listener;
        TagLib::setDebugListener(&listener);
    });
}

QString toQString(const TagLib::String& text) {
    return QString::fromUtf8(text.toCString(true));
}

QByteArray toQByteArray(const TagLib::ByteVector& bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QStringList toQStringList(const TagLib::StringList& values) {
    QStringList list;
    list.reserve(static_cast<qsizetype>(values.size()));
    for (const TagLib::String& value : values) {
        list.append(toQString(value));
    }
    return list;
}

// What one tag holds under the keys kept here, value lists not yet joined; a
// key the tag does not carry is absent. The keys are those of TagLib's
// property maps, which the formats' own names are mapped to.
struct TagValues {
    std::optional<QStringList> title;
    std::optional<QStringList> album;
    std::optional<QStringList> artist;
    std::optional<QStringList> albumArtist;
    std::optional<QStringList> trackNumber;

    static constexpr std::array members{&TagValues::title, &TagValues::album, &TagValues::artist,
                                        &TagValues::albumArtist, &TagValues::trackNumber};

    std::optional<QStringList>* slot(std::string_view key) {
        if (key == "TITLE") {
            return &title;
        }
        if (key == "ALBUM") {
            return &album;
        }
        if (key == "ARTIST") {
            return &artist;
        }
        if (key == "ALBUMARTIST" || key == "ALBUM ARTIST") {
            return &albumArtist;
        }
        if (key == "TRACKNUMBER" || key == "TRACK") {
            return &trackNumber;
        }
        return nullptr;
    }

    void append(std::string_view key, const QStringList& values) {
        if (std::optional<QStringList>* into = slot(key)) {
            if (!*into) {
                into->emplace();
            }
            (*into)->append(values);
        }
    }

    // Fills the keys this tag lacks from a tag of lower precedence.
    void fillMissing(const TagValues& from) {
        for (auto member : members) {
            if (!(this->*member)) {
                this->*member = from.*member;
            }
        }
    }
};

std::optional<QString> joined(const std::optional<QStringList>& values) {
    if (!values) {
        return std::nullopt;
    }
    // Several values in one field (ID3v2.4 lists, repeated Vorbis comments)
    // are shown as one text.
    return values->join(QStringLiteral(" / "));
}

TagFields toFields(const TagValues& values) {
    TagFields fields{joined(values.title), joined(values.album), joined(values.artist),
                     joined(values.albumArtist), std::nullopt};
    if (const std::optional<QString> number = joined(values.trackNumber)) {
        // "7" or "7/12".
        bool ok = false;
        const int value = number->section(QLatin1Char('/'), 0, 0).trimmed().toInt(&ok);
        if (ok) {
            fields.trackNumber = value;
        }
    }
    return fields;
}

// --- ID3v2 ---------------------------------------------------------------

// TagLib's own names of frames as property keys, kept for its frame classes.
struct Id3v2Keys : TagLib::ID3v2::Frame {
    using TagLib::ID3v2::Frame::frameIDToKey;
    using TagLib::ID3v2::Frame::txxxToKey;
};

// TagLib drops UTF-8 text that does not decode, leaving nothing of a frame
// that held more than its encoding byte and terminator: that is a frame
// without a usable text, not an empty one, so the tags below it or the file
// name take its place.
bool lostItsText(const TagLib::ID3v2::TextIdentificationFrame& frame,
                 const TagLib::StringList& fields) {
    return frame.textEncoding() == TagLib::String::UTF8 && frame.size() > 2 &&
           std::all_of(fields.begin(), fields.end(),
                       [](const TagLib::String& field) { return field.isEmpty(); });
}

// Text frames by their key and user text frames by their description, in the
// order of the tag. A frame under a text frame's name that TagLib could not
// parse as one counts as no frame.
TagValues id3v2Values(const TagLib::ID3v2::Tag* tag) {
    TagValues values;
    if (!tag) {
        return values;
    }
    for (const TagLib::ID3v2::Frame* frame : tag->frameList()) {
        const TagLib::ByteVector& id = frame->frameID();
        if (id.isEmpty() || id[0] != 'T') {
            continue;
        }
        const auto* text = dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(frame);
        if (!text) {
            continue;
        }
        TagLib::StringList fields = text->fieldList();
        if (lostItsText(*text, fields)) {
            continue;
        }
        if (const auto* user =
                dynamic_cast<const TagLib::ID3v2::UserTextIdentificationFrame*>(text)) {
            // The first field is the description itself.
            if (!fields.isEmpty()) {
                fields.erase(fields.begin());
            }
            values.append(Id3v2Keys::txxxToKey(user->description()).to8Bit(),
                          toQStringList(fields));
        } else if (id != "TIPL" && id != "TMCL") {
            values.append(Id3v2Keys::frameIDToKey(id).to8Bit(), toQStringList(fields));
        }
    }
    return values;
}

std::optional<QByteArray> id3v2FrontCover(const TagLib::ID3v2::Tag* tag) {
    if (!tag) {
        return std::nullopt;
    }
    const TagLib::ID3v2::FrameListMap& frames = tag->frameListMap();
    const auto it = frames.find("APIC");
    if (it == frames.end()) {
        return std::nullopt;
    }
    for (const TagLib::ID3v2::Frame* frame : it->second) {
        const auto* picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (picture && picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover) {
            return toQByteArray(picture->picture());
        }
    }
    return std::nullopt;
}

// --- ID3v1: fixed-width fields cannot tell empty from missing ------------

std::optional<QString> nonEmpty(const TagLib::String& text) {
    if (text.isEmpty()) {
        return std::nullopt;
    }
    return toQString(text);
}

std::optional<QStringList> listOf(const std::optional<QString>& text) {
    if (!text) {
        return std::nullopt;
    }
    return QStringList{*text};
}

TagValues id3v1Values(const TagLib::ID3v1::Tag* tag) {
    if (!tag) {
        return {};
    }
    TagValues values{listOf(nonEmpty(tag->title())), listOf(nonEmpty(tag->album())),
                     listOf(nonEmpty(tag->artist())), std::nullopt, std::nullopt};
    if (tag->track() != 0) {
        values.trackNumber = QStringList{QString::number(tag->track())};
    }
    return values;
}

// --- APE -------------------------------------------------------------------

// APE keys are free text, compared without case.
TagValues apeValues(const TagLib::APE::Tag* tag) {
    TagValues values;
    if (!tag) {
        return values;
    }
    for (const auto& [key, item] : tag->itemListMap()) {
        if (item.type() == TagLib::APE::Item::Text) {
            values.append(key.upper().to8Bit(), toQStringList(item.values()));
        }
    }
    return values;
}

// A binary item: a file name, a zero byte, then the picture.
std::optional<QByteArray> apeFrontCover(const TagLib::APE::Tag* tag) {
    if (!tag) {
        return std::nullopt;
    }
    const TagLib::APE::ItemListMap& items = tag->itemListMap();
    const auto it = items.find("COVER ART (FRONT)");
    if (it == items.end() || it->second.type() != TagLib::APE::Item::Binary) {
        return std::nullopt;
    }
    const TagLib::ByteVector data = it->second.binaryData();
    const int separator = data.find('\0');
    if (separator < 0) {
        return std::nullopt;
    }
    return toQByteArray(data.mid(static_cast<unsigned int>(separator) + 1));
}

// --- Vorbis comments, read raw ---------------------------------------------
// TagLib's XiphComment drops fields whose value is empty, which would turn an
// empty title into the file name; the comment block is small and simple, so it
// is parsed here.

// Only the values of the keys kept here are decoded: a comment may carry
// pictures of hundreds of kilobytes as text.
TagValues parseVorbisComment(const TagLib::ByteVector& data, unsigned int offset) {
    TagValues values;
    const unsigned int size = data.size();
    unsigned int pos = offset;
    const auto readLength = [&](unsigned int& value) {
        if (pos > size || size - pos < 4) {
            return false;
        }
        value = data.toUInt(pos, false);
        pos += 4;
        return true;
    };
    unsigned int vendorLength = 0;
    if (!readLength(vendorLength) || vendorLength > size - pos) {
        return values;
    }
    pos += vendorLength;
    unsigned int count = 0;
    if (!readLength(count)) {
        return values;
    }
    // Every entry needs at least its length word, so a lying count stops at
    // the end of the data.
    for (unsigned int i = 0; i < count; ++i) {
        unsigned int length = 0;
        if (!readLength(length) || length > size - pos) {
            break;
        }
        const char* entry = data.data() + pos;
        pos += length;
        const char* separator = static_cast<const char*>(memchr(entry, '=', length));
        if (!separator || separator == entry) {
            continue;
        }
        std::string key(entry, separator);
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char c) { return char(std::toupper(c)); });
        if (values.slot(key)) {
            const auto keyLength = static_cast<qsizetype>(separator - entry);
            values.append(key, {QString::fromUtf8(separator + 1,
                                                  static_cast<qsizetype>(length) - keyLength - 1)});
        }
    }
    return values;
}

// The comment header of an Ogg stream: the second packet, behind the codec's
// own signature.
TagValues oggComment(TagLib::Ogg::File& file, const char* signature) {
    const TagLib::ByteVector packet = file.packet(1);
    const TagLib::ByteVector prefix(signature);
    if (!packet.startsWith(prefix)) {
        return {};
    }
    return parseVorbisComment(packet, prefix.size());
}

constexpr unsigned int kFlacVorbisCommentBlock = 4;

// FLAC in Ogg: the first packet says how many header packets follow; each is
// a metadata block with its 4-byte block header.
TagValues oggFlacComment(TagLib::Ogg::FLAC::File& file) {
    const TagLib::ByteVector first = file.packet(0);
    if (first.size() < 9 || !first.startsWith("\x7f"
                                              "FLAC")) {
        return {};
    }
    const unsigned int headerPackets = first.toUShort(7, true);
    for (unsigned int i = 1; i <= headerPackets; ++i) {
        const TagLib::ByteVector packet = file.packet(i);
        if (packet.size() >= 4 &&
            (static_cast<unsigned char>(packet[0]) & 0x7f) == kFlacVorbisCommentBlock) {
            return parseVorbisComment(packet, 4);
        }
    }
    return {};
}

// Native FLAC: "fLaC" (after an ID3v2 tag some taggers put in front), then
// metadata blocks until the one flagged last.
TagValues flacComment(TagLib::FLAC::File& file) {
    file.seek(0);
    long offset = 0;
    const TagLib::ByteVector id3Header = file.readBlock(10);
    if (id3Header.size() == 10 && id3Header.startsWith("ID3")) {
        const auto synchsafe = [&](int i) { return static_cast<long>(id3Header[i] & 0x7f); };
        offset = 10 + (synchsafe(6) << 21 | synchsafe(7) << 14 | synchsafe(8) << 7 | synchsafe(9));
        if (id3Header[5] & 0x10) {
            offset += 10;  // footer
        }
    }
    file.seek(offset);
    if (file.readBlock(4) != TagLib::ByteVector("fLaC")) {
        return {};
    }
    const long length = file.length();
    for (long pos = offset + 4; pos + 4 <= length;) {
        file.seek(pos);
        const TagLib::ByteVector header = file.readBlock(4);
        if (header.size() < 4) {
            break;
        }
        const auto type = static_cast<unsigned char>(header[0]) & 0x7fu;
        const bool last = static_cast<unsigned char>(header[0]) & 0x80u;
        const unsigned int blockLength = header.toUInt(1, 3, true);
        if (type == kFlacVorbisCommentBlock) {
            return parseVorbisComment(file.readBlock(blockLength), 0);
        }
        if (last) {
            break;
        }
        pos += 4 + static_cast<long>(blockLength);
    }
    return {};
}

std::optional<QByteArray> frontCoverOf(const TagLib::List<TagLib::FLAC::Picture*>& pictures) {
    for (const TagLib::FLAC::Picture* picture : pictures) {
        if (picture->type() == TagLib::FLAC::Picture::FrontCover) {
            return toQByteArray(picture->data());
        }
    }
    return std::nullopt;
}

std::optional<QByteArray> xiphFrontCover(TagLib::Ogg::XiphComment* comment) {
    if (!comment) {
        return std::nullopt;
    }
    return frontCoverOf(comment->pictureList());
}

// --- MP4 -----------------------------------------------------------------

std::optional<QStringList> mp4Text(const TagLib::MP4::Tag& tag, const char* key) {
    if (!tag.contains(key)) {
        return std::nullopt;
    }
    // An atom holding something other than text converts to no strings.
    const TagLib::StringList values = tag.item(key).toStringList();
    if (values.isEmpty()) {
        return std::nullopt;
    }
    return toQStringList(values);
}

TagValues mp4Values(const TagLib::MP4::Tag* tag) {
    if (!tag) {
        return {};
    }
    TagValues values{mp4Text(*tag, "\251nam"), mp4Text(*tag, "\251alb"), mp4Text(*tag, "\251ART"),
                     mp4Text(*tag, "aART"), std::nullopt};
    if (tag->contains("trkn")) {
        values.trackNumber = QStringList{QString::number(tag->item("trkn").toIntPair().first)};
    }
    return values;
}

// MP4 has no picture types: the "covr" atom holds the cover art.
std::optional<QByteArray> mp4FrontCover(const TagLib::MP4::Tag* tag) {
    if (!tag || !tag->contains("covr")) {
        return std::nullopt;
    }
    const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
    if (covers.isEmpty()) {
        return std::nullopt;
    }
    return toQByteArray(covers.front().data());
}

// --- ASF -------------------------------------------------------------------

std::optional<QStringList> asfAttribute(const TagLib::ASF::Tag& tag, const char* name) {
    if (!tag.contains(name)) {
        return std::nullopt;
    }
    const TagLib::ASF::AttributeList attributes = tag.attribute(name);
    if (attributes.isEmpty() || attributes.front().type() != TagLib::ASF::Attribute::UnicodeType) {
        return std::nullopt;
    }
    return QStringList{toQString(attributes.front().toString())};
}

TagValues asfValues(const TagLib::ASF::Tag* tag) {
    if (!tag) {
        return {};
    }
    // Title and artist live in the content description, whose fields are
    // always there: only a non-empty one counts as present.
    return {listOf(nonEmpty(tag->title())), asfAttribute(*tag, "WM/AlbumTitle"),
            listOf(nonEmpty(tag->artist())), asfAttribute(*tag, "WM/AlbumArtist"),
            asfAttribute(*tag, "WM/TrackNumber")};
}

std::optional<QByteArray> asfFrontCover(const TagLib::ASF::Tag* tag) {
    if (!tag || !tag->contains("WM/Picture")) {
        return std::nullopt;
    }
    for (const TagLib::ASF::Attribute& attribute : tag->attribute("WM/Picture")) {
        const TagLib::ASF::Picture picture = attribute.toPicture();
        if (picture.isValid() && picture.type() == TagLib::ASF::Picture::FrontCover) {
            return toQByteArray(picture.picture());
        }
    }
    return std::nullopt;
}

// --- RIFF INFO -------------------------------------------------------------

TagValues infoValues(const TagLib::RIFF::Info::Tag* tag) {
    if (!tag) {
        return {};
    }
    const TagLib::RIFF::Info::FieldListMap fields = tag->fieldListMap();
    const auto field = [&](const char* id) -> std::optional<QStringList> {
        const auto it = fields.find(id);
        if (it == fields.end()) {
            return std::nullopt;
        }
        return QStringList{toQString(it->second)};
    };
    return {field("INAM"), field("IPRD"), field("IART"), std::nullopt, field("IPRT")};
}

// --- Dispatch --------------------------------------------------------------

TagLib::FileRef open(const QString& path) {
    routeTagLibMessages();
    const QByteArray name = NativeFileName::encode(path);
    TagLib::FileRef ref(name.constData(), false);
    if (ref.isNull() || !ref.file()->isValid()) {
        qCDebug(lcPlayback) << "no readable tag in" << path;
        return {};
    }
    return ref;
}

}  // namespace

// The tags of a file in the order they speak for it: the first that carries
// a key gives its value, the ones below only fill the keys it lacks.
TagFields tagFieldsOf(TagLib::File* file) {
    TagValues values;
    const auto take = [&](const TagValues& from) { values.fillMissing(from); };
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        // An ID3v2 tag speaks for the whole file: a frame it lacks is a
        // default, not a gap for an older APE or ID3v1 tag to fill.
        if (mpeg->hasID3v2Tag()) {
            take(id3v2Values(mpeg->ID3v2Tag()));
        } else {
            take(apeValues(mpeg->hasAPETag() ? mpeg->APETag() : nullptr));
            take(id3v1Values(mpeg->hasID3v1Tag() ? mpeg->ID3v1Tag() : nullptr));
        }
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        take(mp4Values(mp4->tag()));
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        take(flacComment(*flac));
        take(id3v2Values(flac->hasID3v2Tag() ? flac->ID3v2Tag() : nullptr));
        take(id3v1Values(flac->hasID3v1Tag() ? flac->ID3v1Tag() : nullptr));
    } else if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
        take(oggComment(*vorbis, "\x03vorbis"));
    } else if (auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(file)) {
        take(oggComment(*opus, "OpusTags"));
    } else if (auto* speex = dynamic_cast<TagLib::Ogg::Speex::File*>(file)) {
        take(parseVorbisComment(speex->packet(1), 0));
    } else if (auto* oggFlac = dynamic_cast<TagLib::Ogg::FLAC::File*>(file)) {
        take(oggFlacComment(*oggFlac));
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        take(id3v2Values(wav->hasID3v2Tag() ? wav->ID3v2Tag() : nullptr));
        take(infoValues(wav->hasInfoTag() ? wav->InfoTag() : nullptr));
    } else if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
        take(id3v2Values(aiff->hasID3v2Tag() ? aiff->tag() : nullptr));
    } else if (auto* ape = dynamic_cast<TagLib::APE::File*>(file)) {
        take(apeValues(ape->hasAPETag() ? ape->APETag() : nullptr));
        take(id3v1Values(ape->hasID3v1Tag() ? ape->ID3v1Tag() : nullptr));
    } else if (auto* wavPack = dynamic_cast<TagLib::WavPack::File*>(file)) {
        take(apeValues(wavPack->hasAPETag() ? wavPack->APETag() : nullptr));
        take(id3v1Values(wavPack->hasID3v1Tag() ? wavPack->ID3v1Tag() : nullptr));
    } else if (auto* mpc = dynamic_cast<TagLib::MPC::File*>(file)) {
        take(apeValues(mpc->hasAPETag() ? mpc->APETag() : nullptr));
        take(id3v1Values(mpc->hasID3v1Tag() ? mpc->ID3v1Tag() : nullptr));
    } else if (auto* trueAudio = dynamic_cast<TagLib::TrueAudio::File*>(file)) {
        take(id3v2Values(trueAudio->hasID3v2Tag() ? trueAudio->ID3v2Tag() : nullptr));
        take(id3v1Values(trueAudio->hasID3v1Tag() ? trueAudio->ID3v1Tag() : nullptr));
    } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
        take(asfValues(asf->tag()));
    } else if (const TagLib::Tag* tag = file->tag()) {
        // Tracker modules and the like: only the generic view, where a field
        // is there when it holds something.
        take({listOf(nonEmpty(tag->title())), listOf(nonEmpty(tag->album())),
              listOf(nonEmpty(tag->artist())), std::nullopt, std::nullopt});
    }
    return toFields(values);
}

namespace {

std::optional<QByteArray> frontCoverOf(TagLib::File* file) {
    std::optional<QByteArray> cover;
    const auto take = [&](std::optional<QByteArray> candidate) {
        if (!cover) {
            cover = std::move(candidate);
        }
    };
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        take(mpeg->hasID3v2Tag() ? id3v2FrontCover(mpeg->ID3v2Tag())
                                 : apeFrontCover(mpeg->hasAPETag() ? mpeg->APETag() : nullptr));
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        take(mp4FrontCover(mp4->tag()));
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        take(frontCoverOf(flac->pictureList()));
        take(xiphFrontCover(flac->hasXiphComment() ? flac->xiphComment() : nullptr));
        take(id3v2FrontCover(flac->hasID3v2Tag() ? flac->ID3v2Tag() : nullptr));
    } else if (auto* ogg = dynamic_cast<TagLib::Ogg::File*>(file)) {
        take(xiphFrontCover(dynamic_cast<TagLib::Ogg::XiphComment*>(ogg->tag())));
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        take(id3v2FrontCover(wav->hasID3v2Tag() ? wav->ID3v2Tag() : nullptr));
    } else if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
        take(id3v2FrontCover(aiff->hasID3v2Tag() ? aiff->tag() : nullptr));
    } else if (auto* ape = dynamic_cast<TagLib::APE::File*>(file)) {
        take(apeFrontCover(ape->hasAPETag() ? ape->APETag() : nullptr));
    } else if (auto* wavPack = dynamic_cast<TagLib::WavPack::File*>(file)) {
        take(apeFrontCover(wavPack->hasAPETag() ? wavPack->APETag() : nullptr));
    } else if (auto* mpc = dynamic_cast<TagLib::MPC::File*>(file)) {
        take(apeFrontCover(mpc->hasAPETag() ? mpc->APETag() : nullptr));
    } else if (auto* trueAudio = dynamic_cast<TagLib::TrueAudio::File*>(file)) {
        take(id3v2FrontCover(trueAudio->hasID3v2Tag() ? trueAudio->ID3v2Tag() : nullptr));
    } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
        take(asfFrontCover(asf->tag()));
    }
    return cover;
}

}  // namespace

TagFields readTagFields(const QString& path) {
    TagLib::FileRef ref = open(path);
    if (ref.isNull()) {
        return {};
    }
    return tagFieldsOf(ref.file());
}

std::optional<QByteArray> readTagFrontCover(const QString& path) {
    TagLib::FileRef ref = open(path);
    if (ref.isNull()) {
        return std::nullopt;
    }
    return frontCoverOf(ref.file());
}
