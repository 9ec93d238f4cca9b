#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "FileStatus.h"
#include "NativeFileName.h"
#include "ReplacingFile.h"
#include "TestSupport.h"

namespace {

// Names as the system may hand them out: every lone byte above ASCII, and
// the sequences a careless decoder lets through (overlong forms, encoded
// surrogates, beyond U+10FFFF, cut short), each between valid text.
QList<QByteArray> hostileNames() {
    QList<QByteArray> names;
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        names.append(QByteArray("a") + char(byte) + "b.mp3");
    }
    for (const char* hex : {"c080", "e080af", "eda080", "edb280", "f4908080", "f88080808080",
                            "e282", "f09f8e", "f09f8eb5ff", "fff09f8eb5", "cafe", "c3"}) {
        names.append("x" + QByteArray::fromHex(hex) + "\xc3\xa9.flac");
    }
    return names;
}

}  // namespace

TEST(NativeFileName, EveryByteSurvivesTheRoundTripAndShowsAsReplacementCharacters) {
    for (const QByteArray& native : hostileNames()) {
        SCOPED_TRACE(native.toHex().toStdString());
        const QString name = NativeFileName::decode(native);
        EXPECT_EQ(NativeFileName::encode(name), native);
        const QString shown = NativeFileName::forDisplay(name);
        EXPECT_TRUE(shown.contains(QChar::ReplacementCharacter));
        EXPECT_TRUE(shown.isValidUtf16()) << "no lone surrogate is shown";
    }
    // Valid text is the text itself, astral characters included.
    for (const QString& text : {QString("plain.mp3"), QString("Café – ♫ 🎵.ogg"), QString()}) {
        EXPECT_EQ(NativeFileName::decode(text.toUtf8()), text);
        EXPECT_EQ(NativeFileName::encode(text), text.toUtf8());
        EXPECT_EQ(NativeFileName::forDisplay(text), text);
    }
}

TEST(NativeFileName, ANameThatIsNotUtf8OpensByItsOwnBytes) {
    const QByteArray native = QFile::encodeName(testHome()) + "/caf\xe9.wav";
    {
        QFile file;
        ASSERT_TRUE(file.open(fopen(native.constData(), "w"), QIODevice::WriteOnly,
                              QFileDevice::AutoCloseHandle));
        file.write("bytes");
    }
    const QString path = NativeFileName::decode(native);
    EXPECT_FALSE(QFileInfo::exists(path)) << "Qt alone would look for another name";
    EXPECT_TRUE(FileStatus::of(path).isRegular());
    QFile file;
    EXPECT_EQ(openRegularFile(file, path), std::nullopt);
    EXPECT_EQ(file.readAll(), "bytes");
}

TEST(FileStatus, TellsRegularFilesFromWhatMustNotBeOpenedAndKnowsFilesByIdentity) {
    const QString regular = testHome() + "/regular";
    const QString fifo = testHome() + "/fifo";
    const QString link = testHome() + "/link";
    const QString copy = testHome() + "/copy";
    writeFile(regular, "x");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo), 0600), 0);
    ASSERT_TRUE(QFile::link(regular, link));
    ASSERT_TRUE(QFile::copy(regular, copy));

    EXPECT_TRUE(FileStatus::of(regular).isRegular());
    EXPECT_TRUE(FileStatus::of(fifo).isSpecial());
    EXPECT_EQ(FileStatus::of(testHome()).type, FileStatus::Type::directory);
    EXPECT_FALSE(FileStatus::of(testHome() + "/none").exists());
    EXPECT_TRUE(FileStatus::of(link).isSameFileAs(FileStatus::of(regular)));
    EXPECT_FALSE(FileStatus::of(copy).isSameFileAs(FileStatus::of(regular)));
    EXPECT_FALSE(FileStatus::of(testHome() + "/none").isSameFileAs(FileStatus::of("/nowhere")));

    // A FIFO without a writer would hold a plain open forever.
    for (const QString& path : {fifo, testHome(), testHome() + "/none"}) {
        QFile file;
        EXPECT_NE(openRegularFile(file, path), std::nullopt) << path.toStdString();
        EXPECT_FALSE(file.isOpen());
    }
}

TEST(ReplacingFile, ReplacesTheEntryWholeAndLeavesTheOldFileOnFailure) {
    const QString directory = testHome() + "/store";
    const QString path = directory + "/file";
    writeFile(path, "old");
    {
        ReplacingFile file(path);
        ASSERT_TRUE(file.open());
        ASSERT_TRUE(file.write("half"));
        EXPECT_EQ(readFile(path), "old") << "nothing shows before the commit";
        // Dropped without a commit.
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(ReplacingFile::replace(path, "new"), std::nullopt);
    EXPECT_EQ(readFile(path), "new");

    // A link is replaced by a file; what it pointed at stays.
    const QString target = testHome() + "/target";
    writeFile(target, "target");
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QFile::link(target, path));
    EXPECT_EQ(ReplacingFile::replace(path, "mine"), std::nullopt);
    EXPECT_EQ(readFile(target), "target");
    EXPECT_FALSE(QFileInfo(path).isSymLink());
    EXPECT_EQ(readFile(path), "mine");

    // A directory in the way, or no directory at all: an error, nothing left.
    QDir().mkpath(directory + "/taken");
    EXPECT_NE(ReplacingFile::replace(directory + "/taken", "x"), std::nullopt);
    EXPECT_NE(ReplacingFile::replace(testHome() + "/none/file", "x"), std::nullopt);
    EXPECT_EQ(QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"file", "taken"}));
}
