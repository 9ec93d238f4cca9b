#include <gtest/gtest.h>

#include <QDir>
#include <QtEndian>
#include <functional>

#include <taglib/apetag.h>
#include <taglib/id3v1tag.h>
#include <taglib/mpegfile.h>
#include <taglib/wavfile.h>

#include "TagFixtures.h"
#include "TagReader.h"
#include "TestSupport.h"
#include "Track.h"

namespace {

struct Format {
    const char* suffix;
    std::function<QByteArray()> audio;
};

void PrintTo(const Format& format, std::ostream* os) {
    *os << format.suffix;
}

// title, album, artist and albumArtist of the file at `path`, "-" for an absent one.
QStringList fieldsAt(const QString& path) {
    const TagFields fields = TagReader::readFields(path);
    QStringList out;
    for (const auto* field : {&fields.title, &fields.album, &fields.artist, &fields.albumArtist}) {
        out << field->value_or("-");
    }
    return out;
}

class TagReaderFormat : public ::testing::TestWithParam<Format> {
protected:
    QString tagged(const TagSpec& spec) {
        const QString path = testHome() + "/fixture." + GetParam().suffix;
        writeFile(path, GetParam().audio());
        EXPECT_TRUE(writeTag(path, spec)) << path.toStdString();
        return path;
    }
};

}  // namespace

TEST_P(TagReaderFormat, ReadsFieldsAndTheFrontCoverOnly) {
    EXPECT_EQ(
        fieldsAt(tagged(
            {.title = "Ölmez Ağaç", .album = "Album", .artist = "Artist", .albumArtist = "Band"})),
        (QStringList{"Ölmez Ağaç", "Album", "Artist", "Band"}));
    // Empty fields are present, missing ones absent.
    EXPECT_EQ(fieldsAt(tagged({.title = "", .albumArtist = ""})), (QStringList{"", "-", "-", ""}));

    const QByteArray front = pictureBytes({12, 10}, Qt::red);
    const QByteArray back = pictureBytes({10, 12}, Qt::green);
    EXPECT_EQ(
        TagReader::readFrontCover(tagged({.title = "x", .frontCover = front, .backCover = back})),
        front);
    EXPECT_FALSE(TagReader::readFrontCover(tagged({.title = "x", .backCover = back})));
    EXPECT_FALSE(TagReader::readFrontCover(tagged({.title = "x"})));

    // An untagged file has no fields.
    const QString path = testHome() + "/plain." + GetParam().suffix;
    writeFile(path, GetParam().audio());
    EXPECT_EQ(fieldsAt(path), (QStringList{"-", "-", "-", "-"}));
    EXPECT_FALSE(TagReader::readFrontCover(path));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, TagReaderFormat,
    ::testing::Values(Format{"wav", [] { return pcmWav(400); }},
                      Format{"aif", [] { return pcmAiff(400); }},
                      Format{"mp3", [] { return silentMp3(4); }},
                      Format{"flac", [] { return untaggedAudio(FixtureFormat::flac, 4000); }},
                      Format{"ogg", [] { return untaggedAudio(FixtureFormat::oggVorbis, 4000); }},
                      Format{"opus", [] { return untaggedAudio(FixtureFormat::opus, 4000); }},
                      Format{"m4a", [] { return untaggedAudio(FixtureFormat::m4aAac, 4000); }}),
    [](const auto& info) { return std::string(info.param.suffix); });

TEST(TagReader, WavInfoChunkBacksUpId3) {
    const QString path = testHome() + "/info.wav";
    writeFile(path, pcmWav(400));
    {
        TagLib::RIFF::WAV::File file(QFile::encodeName(path).constData());
        file.InfoTag()->setTitle("Info Title");
        file.InfoTag()->setArtist("Info Artist");
        file.ID3v2Tag()->setArtist("ID3 Artist");
        ASSERT_TRUE(file.save());
    }
    EXPECT_EQ(fieldsAt(path), (QStringList{"Info Title", "-", "ID3 Artist", "-"}));
}

TEST(TagReader, Mp3ReadsID3v2AloneWhenItHasOneAndTheOlderTagsOtherwise) {
    const QString path = testHome() + "/layers.mp3";
    writeFile(path, silentMp3(4));
    {
        // Empty ID3v1 fields count as missing.
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        file.ID3v1Tag(true)->setAlbum("only the album");
        ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v1));
    }
    EXPECT_EQ(fieldsAt(path), (QStringList{"-", "only the album", "-", "-"}));
    {
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        file.ID3v1Tag(true)->setTitle("v1 title");
        file.ID3v1Tag()->setArtist("v1 artist");
        file.ID3v1Tag()->setAlbum("v1 album");
        file.APETag(true)->setArtist("ape artist");
        file.APETag()->addValue("ALBUM ARTIST", "ape band");
        file.APETag()->setItem(
            "COVER ART (FRONT)",
            TagLib::APE::Item(
                "COVER ART (FRONT)",
                TagLib::ByteVector("cover.png\0", 10) + TagLib::ByteVector("ape picture"), true));
        ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v1 | TagLib::MPEG::File::APE));
    }
    EXPECT_EQ(fieldsAt(path), (QStringList{"v1 title", "v1 album", "ape artist", "ape band"}));
    EXPECT_EQ(TagReader::readFrontCover(path), QByteArray("ape picture"));

    // With an ID3v2 tag, what it lacks is missing, whatever the older tags
    // say; its empty frame is an answer too.
    ASSERT_TRUE(writeTag(path, {.title = "", .album = "v2 album"}));
    EXPECT_EQ(fieldsAt(path), (QStringList{"", "v2 album", "-", "-"}));
    EXPECT_FALSE(TagReader::readFrontCover(path));
}

namespace {

QByteArray le32(quint32 value) {
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

// STREAMINFO of a 44.1 kHz stereo 16-bit stream of unknown length.
QByteArray streamInfo() {
    QByteArray info(34, '\0');
    info[0] = 0x10;  // minimum block size 4096
    info[2] = 0x10;  // maximum block size 4096
    info[10] = 0x0A;
    info[11] = static_cast<char>(0xC4);
    info[12] = 0x42;
    info[13] = static_cast<char>(0xF0);
    return info;
}

}  // namespace

namespace {

QByteArray syncsafe(int value) {
    QByteArray bytes(4, '\0');
    for (int i = 3; i >= 0; --i, value >>= 7) {
        bytes[i] = char(value & 0x7f);
    }
    return bytes;
}

// An ID3v2.4 tag of text frames, each its id and its data (encoding byte first).
QByteArray id3v24(const QList<QPair<QByteArray, QByteArray>>& frames) {
    QByteArray body;
    for (const auto& [id, data] : frames) {
        body += id + syncsafe(int(data.size())) + QByteArray(2, '\0') + data;
    }
    return "ID3" + QByteArray("\x04\0\0", 3) + syncsafe(int(body.size())) + body;
}

// An ID3v1 tag with only a title.
QByteArray id3v1Title(const QByteArray& title) {
    QByteArray tag = "TAG" + title.leftJustified(30, '\0') + QByteArray(95, '\0');
    tag[127] = char(0xff);
    return tag;
}

}  // namespace

// UTF-8 text that does not decode would come out empty, an answer that hides
// the file name: the frame counts as absent instead. An empty frame stays an
// empty answer.
TEST(TagReader, TextFramesThatDoNotDecodeCountAsAbsent) {
    const QByteArray broken = QByteArray(
        "\x03"
        "Caf\xe9 \xff\xfe",
        8);
    const QString path = testHome() + "/broken.mp3";
    writeFile(path, id3v24({{"TIT2", broken},
                            {"TPE1", broken},
                            {"TALB",
                             "\x03"
                             "Album"},
                            {"TPE2", QByteArray("\x03", 1)}}) +
                        silentMp3(4));
    EXPECT_EQ(fieldsAt(path), (QStringList{"-", "Album", "-", ""}));
    const TrackPtr track = Track::fromFile("broken.mp3", testHome());
    ASSERT_TRUE(track);
    EXPECT_EQ(track->title, "broken.mp3");
    EXPECT_EQ(track->artist, "Unknown Artist");

    // Absent within the ID3v2 tag, which alone speaks for the file: an older
    // tag below does not stand in for it.
    writeFile(path, id3v24({{"TIT2", broken}}) + silentMp3(4) + id3v1Title("v1 title"));
    EXPECT_EQ(fieldsAt(path), (QStringList{"-", "-", "-", "-"}));
}

TEST(TagReader, HostileCommentBlocksReadWithoutHarm) {
    // Comment blocks whose counts and lengths point past their end: whatever
    // stands before the lie is still read.
    const QByteArray good = "TITLE=Kept";
    const QByteArray lyingCount = le32(3) + "abc" + le32(0xFFFFFFFFu) + le32(good.size()) + good;
    const QByteArray lyingEntry =
        le32(3) + "abc" + le32(2) + le32(good.size()) + good + le32(0x7FFFFFFFu) + "ARTIST=x";
    const QByteArray lyingVendor = le32(0xFFFFFFF0u) + "abc";
    const QByteArray oddEntries =
        le32(0) + le32(3) + le32(5) + "=none" + le32(4) + "NOEQ" + le32(good.size()) + good;
    int index = 0;
    for (const QByteArray& comment : {lyingCount, lyingEntry, lyingVendor, oddEntries}) {
        const QString path = testHome() + QString("/hostile%1.flac").arg(index++);
        writeFile(path, "fLaC" + flacBlock(0, false, streamInfo()) + flacBlock(4, true, comment));
        EXPECT_EQ(fieldsAt(path),
                  (QStringList{comment == lyingVendor ? "-" : "Kept", "-", "-", "-"}))
            << index;
        EXPECT_FALSE(TagReader::readFrontCover(path));
    }
}

TEST(TagReader, FilesThatAreNotAudioReadAsUntagged) {
    const QByteArray wav = pcmWav(400);
    const std::pair<const char*, QByteArray> files[] = {
        {"empty.mp3", QByteArray()},
        {"text.flac", "just some text, not a stream"},
        {"cut.wav", wav.left(30)},
        {"cut.ogg", QByteArray("OggS\0\x02", 6)},
        {"cut.m4a", QByteArray("\0\0\0\x20"
                               "ftypM4A ",
                               12)},
        {"noise.opus", QByteArray(4096, '\x5a')},
        {"noextension", wav.left(40)},
        {"flac-cut-block.flac",
         "fLaC" + flacBlock(0, false, streamInfo()) + QByteArray("\x84\x00\xff\xff", 4)},
        {"id3-too-long.flac", QByteArray("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "fLaC"},
    };
    for (const auto& [name, bytes] : files) {
        SCOPED_TRACE(name);
        const QString path = testHome() + "/" + name;
        writeFile(path, bytes);
        EXPECT_EQ(fieldsAt(path), (QStringList{"-", "-", "-", "-"}));
        EXPECT_FALSE(TagReader::readFrontCover(path));
    }
    EXPECT_FALSE(TagReader::readFields(testHome() + "/does not exist.mp3").title);
    EXPECT_FALSE(TagReader::readFrontCover(testHome()));
}
