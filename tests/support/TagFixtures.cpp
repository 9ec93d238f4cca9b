#include "TagFixtures.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QtEndian>
#include <vector>

#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacpicture.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

#include "AudioFixtures.h"
#include "TestSupport.h"

namespace {

void appendLE32(QByteArray& out, quint32 value) {
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

TagLib::String toTagLib(const QString& text) {
    return TagLib::String(text.toStdString(), TagLib::String::UTF8);
}

TagLib::ByteVector toByteVector(const QByteArray& bytes) {
    return TagLib::ByteVector(bytes.constData(), static_cast<unsigned int>(bytes.size()));
}

QByteArray toQByteArray(const TagLib::ByteVector& bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

// --- ID3v2 -----------------------------------------------------------------

void addTextFrame(TagLib::ID3v2::Tag* tag, const char* id, const std::optional<QString>& value) {
    if (!value) {
        return;
    }
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame(id, TagLib::String::UTF8);
    frame->setText(toTagLib(*value));
    tag->addFrame(frame);
}

void addPictureFrame(TagLib::ID3v2::Tag* tag, const std::optional<QByteArray>& bytes,
                     TagLib::ID3v2::AttachedPictureFrame::Type type) {
    if (!bytes) {
        return;
    }
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
    frame->setMimeType("image/png");
    frame->setType(type);
    frame->setPicture(toByteVector(*bytes));
    tag->addFrame(frame);
}

void applyId3v2(TagLib::ID3v2::Tag* tag, const TagSpec& spec) {
    addTextFrame(tag, "TIT2", spec.title);
    addTextFrame(tag, "TALB", spec.album);
    addTextFrame(tag, "TPE1", spec.artist);
    addTextFrame(tag, "TPE2", spec.albumArtist);
    addPictureFrame(tag, spec.backCover, TagLib::ID3v2::AttachedPictureFrame::BackCover);
    addPictureFrame(tag, spec.frontCover, TagLib::ID3v2::AttachedPictureFrame::FrontCover);
}

// --- Vorbis comments, written raw so that empty values survive ---------------

QByteArray flacPictureBlock(const QByteArray& bytes, TagLib::FLAC::Picture::Type type) {
    TagLib::FLAC::Picture picture;
    picture.setType(type);
    picture.setMimeType("image/png");
    picture.setData(toByteVector(bytes));
    return toQByteArray(picture.render());
}

std::vector<QByteArray> pictureBlocks(const TagSpec& spec) {
    std::vector<QByteArray> blocks;
    if (spec.backCover) {
        blocks.push_back(flacPictureBlock(*spec.backCover, TagLib::FLAC::Picture::BackCover));
    }
    if (spec.frontCover) {
        blocks.push_back(flacPictureBlock(*spec.frontCover, TagLib::FLAC::Picture::FrontCover));
    }
    return blocks;
}

// Ogg streams carry pictures inside the comment; FLAC has blocks of its own.
QByteArray vorbisComment(const TagSpec& spec, bool picturesInside) {
    std::vector<QByteArray> entries;
    const auto add = [&](const char* key, const std::optional<QString>& value) {
        if (value) {
            entries.push_back(QByteArray(key) + '=' + value->toUtf8());
        }
    };
    add("TITLE", spec.title);
    add("ALBUM", spec.album);
    add("ARTIST", spec.artist);
    add("ALBUMARTIST", spec.albumArtist);
    if (picturesInside) {
        for (const QByteArray& block : pictureBlocks(spec)) {
            entries.push_back("METADATA_BLOCK_PICTURE=" + block.toBase64());
        }
    }
    const QByteArray vendor = "corvantis tests";
    QByteArray out;
    appendLE32(out, static_cast<quint32>(vendor.size()));
    out += vendor;
    appendLE32(out, static_cast<quint32>(entries.size()));
    for (const QByteArray& entry : entries) {
        appendLE32(out, static_cast<quint32>(entry.size()));
        out += entry;
    }
    return out;
}

bool writeOggComment(TagLib::Ogg::File& file, const QByteArray& packet) {
    if (!file.isValid()) {
        return false;
    }
    file.setPacket(1, toByteVector(packet));
    // The format classes' own save() would render TagLib's comment over ours.
    return file.TagLib::Ogg::File::save();
}

// Rewrites the metadata blocks of a native FLAC file: STREAMINFO and other
// blocks stay, comments, pictures and padding are replaced.
bool writeFlacMetadata(const QString& path, const TagSpec& spec) {
    const QByteArray bytes = readFile(path);
    if (!bytes.startsWith("fLaC")) {
        return false;
    }
    std::vector<std::pair<int, QByteArray>> blocks;
    qsizetype pos = 4;
    for (bool last = false; !last;) {
        if (pos + 4 > bytes.size()) {
            return false;
        }
        const auto header = static_cast<unsigned char>(bytes[pos]);
        last = header & 0x80;
        const int type = header & 0x7f;
        const qsizetype length = (static_cast<unsigned char>(bytes[pos + 1]) << 16) |
                                 (static_cast<unsigned char>(bytes[pos + 2]) << 8) |
                                 static_cast<unsigned char>(bytes[pos + 3]);
        if (type != 1 && type != 4 && type != 6) {
            blocks.emplace_back(type, bytes.mid(pos + 4, length));
        }
        pos += 4 + length;
    }
    blocks.emplace_back(4, vorbisComment(spec, false));
    for (const QByteArray& picture : pictureBlocks(spec)) {
        blocks.emplace_back(6, picture);
    }
    QByteArray out = "fLaC";
    for (size_t i = 0; i < blocks.size(); ++i) {
        out += flacBlock(blocks[i].first, i + 1 == blocks.size(), blocks[i].second);
    }
    out += bytes.mid(pos);
    writeFile(path, out);
    return true;
}

// --- MP4 -------------------------------------------------------------------

bool writeMp4(const QString& path, const TagSpec& spec) {
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    if (!file.isValid()) {
        return false;
    }
    TagLib::MP4::Tag* tag = file.tag();
    const auto set = [&](const char* key, const std::optional<QString>& value) {
        if (value) {
            tag->setItem(key, TagLib::StringList(toTagLib(*value)));
        }
    };
    set("\251nam", spec.title);
    set("\251alb", spec.album);
    set("\251ART", spec.artist);
    set("aART", spec.albumArtist);
    if (spec.frontCover) {
        TagLib::MP4::CoverArtList covers;
        covers.append(
            TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, toByteVector(*spec.frontCover)));
        tag->setItem("covr", covers);
    }
    return file.save();
}

}  // namespace

QByteArray untaggedAudio(FixtureFormat format, int frames) {
    const int rate = format == FixtureFormat::opus ? 48000 : 8000;
    const QString path = testHome() + "/untagged" + fixtureExtension(format);
    EXPECT_EQ(writeAudioFixture(path, {format, frames, rate, 1, FixtureSignal::sine(440, 0.25)}),
              "");
    const QByteArray bytes = readFile(path);
    QFile::remove(path);
    return bytes;
}

QByteArray pcmWav(int frames) {
    return untaggedAudio(FixtureFormat::wav, frames);
}

QByteArray pcmAiff(int frames) {
    return untaggedAudio(FixtureFormat::aiff, frames);
}

QByteArray flacBlock(int type, bool last, const QByteArray& data) {
    QByteArray out;
    out.append(static_cast<char>(type | (last ? 0x80 : 0)));
    out.append(static_cast<char>(data.size() >> 16));
    out.append(static_cast<char>(data.size() >> 8));
    out.append(static_cast<char>(data.size()));
    return out + data;
}

QByteArray silentMp3(int frames) {
    // 128 kbit/s at 44.1 kHz without padding: 417 bytes a frame. All-zero side
    // information and main data decode to silence.
    QByteArray frame(417, '\0');
    frame[0] = static_cast<char>(0xFF);
    frame[1] = static_cast<char>(0xFB);
    frame[2] = static_cast<char>(0x90);
    frame[3] = static_cast<char>(0xC0);
    return frame.repeated(frames);
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray pictureBytes(const QSize& size, const QColor& color, const char* format) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return encoded(image, format);
}

bool writeTag(const QString& path, const TagSpec& spec) {
    const QByteArray name = QFile::encodeName(path);
    const QString suffix = path.section('.', -1).toLower();
    if (suffix == "wav") {
        TagLib::RIFF::WAV::File file(name.constData());
        applyId3v2(file.ID3v2Tag(), spec);
        return file.isValid() && file.save();
    }
    if (suffix == "aif" || suffix == "aiff") {
        TagLib::RIFF::AIFF::File file(name.constData());
        applyId3v2(file.tag(), spec);
        return file.isValid() && file.save();
    }
    if (suffix == "mp3") {
        TagLib::MPEG::File file(name.constData());
        applyId3v2(file.ID3v2Tag(true), spec);
        // Other tags already in the file stay, and nothing is copied from them.
        return file.isValid() && file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone,
                                           TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate);
    }
    if (suffix == "flac") {
        return writeFlacMetadata(path, spec);
    }
    if (suffix == "ogg") {
        TagLib::Ogg::Vorbis::File file(name.constData());
        // The comment header ends with the framing bit.
        return writeOggComment(file, "\x03vorbis" + vorbisComment(spec, true) + '\x01');
    }
    if (suffix == "opus") {
        TagLib::Ogg::Opus::File file(name.constData());
        return writeOggComment(file, "OpusTags" + vorbisComment(spec, true));
    }
    if (suffix == "m4a") {
        return writeMp4(path, spec);
    }
    return false;
}
