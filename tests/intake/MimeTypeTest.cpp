#include <gtest/gtest.h>

#include <QSet>

#include "MimeType.h"

TEST(MimeType, TableHoldsEveryRowAndOnlySevenAudioExtensions) {
    const auto& table = mimeTypesByExtension();
    EXPECT_EQ(table.size(), 103);
    QSet<QString> audio;
    for (auto it = table.begin(); it != table.end(); ++it) {
        EXPECT_EQ(it.key(), it.key().toLower());
        if (it.value().group() == Group::audio) {
            audio.insert(it.key());
        }
    }
    EXPECT_EQ(audio, (QSet<QString>{"mid", "midi", "kar", "mp3", "ogg", "m4a", "ra"}));
    EXPECT_EQ(table.value("m3u8", defaultMimeType()).text(), "application/vnd.apple.mpegurl");
    EXPECT_EQ(table.value("mpg", defaultMimeType()).text(), "video/mpeg");
    EXPECT_EQ(table.value("svgz", defaultMimeType()).text(), "image/svg+xml");
    EXPECT_EQ(table.value("pptx", defaultMimeType()).text(),
              "application/vnd.openxmlformats-officedocument.presentationml.presentation");
}

TEST(MimeType, LookupIgnoresCaseAndFallsBackToOctetStreamAndGroupsCompareExactly) {
    const MimeType mp3 = MimeType::fromExtension("MP3");
    EXPECT_EQ(mp3.group(), Group::audio);
    EXPECT_EQ(mp3.type(), "mpeg");
    EXPECT_EQ(mp3.text(), "audio/mpeg");
    EXPECT_EQ(mp3, MimeType::fromExtension("mp3"));
    EXPECT_NE(mp3, MimeType::fromExtension("mpeg"));  // same type text, other group

    for (const char* unknown : {"wav", "flac", "aac", "aiff", ""}) {
        EXPECT_EQ(MimeType::fromExtension(unknown), defaultMimeType()) << unknown;
    }
    EXPECT_EQ(MimeType::fromExtension("mp4").group(), Group::video);
    // bin is a row of its own yet equal to the fallback.
    EXPECT_TRUE(mimeTypesByExtension().contains("bin"));
    EXPECT_EQ(MimeType::fromExtension("bin"), defaultMimeType());
    EXPECT_EQ(defaultMimeType().text(), "application/octet-stream");
    EXPECT_EQ(folderMimeType(), defaultMimeType());

    // Group raw values compare exactly.
    for (Group group :
         {Group::text, Group::image, Group::application, Group::audio, Group::video}) {
        EXPECT_EQ(groupFromRawValue(rawValue(group)), group);
    }
    EXPECT_EQ(rawValue(Group::audio), "audio");
    EXPECT_EQ(groupFromRawValue("Audio"), std::nullopt);
    EXPECT_EQ(groupFromRawValue(""), std::nullopt);
}

TEST(MimeType, PathFormsTakeTheLastComponentsExtension) {
    EXPECT_EQ(MimeType::fromPath(QString("/Music/Live.set/Song.Ogg")).type(), "ogg");
    EXPECT_EQ(MimeType::fromPath(QString("/Music/album.mp3/README")), defaultMimeType());
    EXPECT_EQ(MimeType::fromPath(QString("noextension")), defaultMimeType());
    EXPECT_EQ(MimeType::fromPath(QString("trailing.")), defaultMimeType());
    EXPECT_EQ(MimeType::fromPath(std::string("/a/b/Ünïcode.m4a")).type(), "x-m4a");
    EXPECT_EQ(MimeType::fromUrl(QUrl("file:///tmp/x/Track%2001.MID?x=1")).type(), "midi");
    EXPECT_EQ(MimeType::fromUrl(QUrl("https://host/a.b/c")), defaultMimeType());
}
