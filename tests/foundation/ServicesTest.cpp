#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <QtConcurrent>
#include <atomic>

#include "AppDirectories.h"
#include "LazyModule.h"
#include "Log.h"
#include "MainQueue.h"
#include "TestSupport.h"

TEST(MainQueue, RunsAfterTheCurrentTurnOnTheMainThread) {
    std::atomic<int> order{0};
    int ranAt = -1;
    QThread* ranOn = nullptr;
    MainQueue::async([&] {
        ranAt = order++;
        ranOn = QThread::currentThread();
    });
    const int afterPost = order++;
    EXPECT_EQ(ranAt, -1);
    ASSERT_TRUE(waitUntil([&] { return ranAt >= 0; }));
    EXPECT_EQ(afterPost, 0);
    EXPECT_EQ(ranAt, 1);
    EXPECT_EQ(ranOn, QThread::currentThread());

    QThread* fromWorkerRanOn = nullptr;
    QtConcurrent::run([&] {
        MainQueue::async([&] { fromWorkerRanOn = QThread::currentThread(); });
    }).waitForFinished();
    ASSERT_TRUE(waitUntil([&] { return fromWorkerRanOn != nullptr; }));
    EXPECT_EQ(fromWorkerRanOn, QCoreApplication::instance()->thread());
}

TEST(AppDirectories, EverythingHangsBelowCorvantisHome) {
    const QString home = testHome();
    EXPECT_EQ(AppDirectories::home(), QDir(home).absolutePath());
    EXPECT_EQ(downloadedMusicDirectory(), home + "/Documents/Downloaded Music");
    EXPECT_TRUE(QFileInfo(downloadedMusicDirectory()).isDir());
    EXPECT_TRUE(AppDirectories::settingsFile().startsWith(home));
    const auto permissions = QFileInfo(AppDirectories::configDirectory()).permissions();
    EXPECT_FALSE(permissions & (QFileDevice::ReadOther | QFileDevice::ReadGroup));
}

TEST(Log, CapturesExactLinesFromAnyThread) {
    LogCapture capture;
    systemLog("Invalid player state");
    QtConcurrent::run([] { systemLog("from a worker"); }).waitForFinished();
    EXPECT_EQ(capture.lines(), (QStringList{"Invalid player state", "from a worker"}));
    EXPECT_EQ(capture.count("Invalid player state"), 1);
}

// An installed program finds its modules in the installed layout, and only a
// program run from the build tree falls back to the build's own copies.
TEST(LazyModule, LooksBesideTheProgramThenInTheInstalledLayoutThenInTheBuild) {
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    const QString built = root.filePath(QStringLiteral("build/src/libcorvantis-thing.so"));
    const QDir program(root.filePath(QStringLiteral("prefix/bin")));
    ASSERT_TRUE(program.mkpath(QStringLiteral(".")));
    const auto touch = [](const QString& path) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        return file.open(QIODevice::WriteOnly);
    };

    EXPECT_EQ(LazyModule::path(built, program.path()), built);

    const QString installed = QDir::cleanPath(program.filePath(
        LazyModule::installedModuleDirectory() + QStringLiteral("/libcorvantis-thing.so")));
    ASSERT_TRUE(installed.startsWith(root.filePath(QStringLiteral("prefix/"))));
    ASSERT_TRUE(touch(installed));
    EXPECT_EQ(LazyModule::path(built, program.path()), installed);

    const QString beside = program.filePath(QStringLiteral("libcorvantis-thing.so"));
    ASSERT_TRUE(touch(beside));
    EXPECT_EQ(LazyModule::path(built, program.path()), beside);
}

// A table whose module is missing is refused with one line, however often it
// is asked for.
TEST(LazyModule, AMissingTableIsLoggedOnceAndRefusedEveryTime) {
    struct Table {};
    LogCapture log;
    for (int ask = 0; ask < 2; ++ask) {
        QString error;
        EXPECT_EQ(LazyModule::sharedTable<Table>(QStringLiteral("/nonexistent/libcorvantis-x.so"),
                                                 "corvantisX1", "test table", &error),
                  nullptr);
        EXPECT_TRUE(error.startsWith(QStringLiteral("The test table cannot be loaded: ")))
            << error.toStdString();
    }
    EXPECT_EQ(log.lines().size(), 1);
}
