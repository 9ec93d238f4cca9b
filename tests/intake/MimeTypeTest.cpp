#include <gtest/gtest.h>

#include "MimeType.h"

using Intake::Group;
using Intake::groupFromRawValue;

TEST(MimeType, LookupIgnoresCaseAndFallsBackToOctetStreamAndGroupsCompareExactly) {
    const MimeType mp3 = MimeType::fromExtension("MP3");
    EXPECT_EQ(mp3.group(), Group::audio);
    EXPECT_EQ(mp3.text(), "audio/mpeg");
    EXPECT_EQ(mp3, MimeType::fromExtension("mp3"));
    EXPECT_NE(mp3, MimeType::fromExtension("mpeg"));  // same type text, other group

    for (const char* unknown : {"wav", "flac", "aac", "aiff", "", "bin"}) {
        EXPECT_EQ(MimeType::fromExtension(unknown), defaultMimeType()) << unknown;
    }
    EXPECT_EQ(defaultMimeType().text(), "application/octet-stream");
    EXPECT_EQ(folderMimeType(), defaultMimeType());

    for (Group group :
         {Group::text, Group::image, Group::application, Group::audio, Group::video}) {
        EXPECT_EQ(groupFromRawValue(rawValue(group)), group);
    }
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
