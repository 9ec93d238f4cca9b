#include "CollectionFixtures.h"

#include <gtest/gtest.h>

#include <QDir>

#include "AppDirectories.h"
#include "TestSupport.h"

void addMusicFile(const QString& fileName, const TagSpec& spec) {
    const QString path = QDir(downloadedMusicDirectory()).filePath(fileName);
    writeFile(path, pcmWav(80));
    EXPECT_TRUE(writeTag(path, spec)) << qPrintable(path);
}
