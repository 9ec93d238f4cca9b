#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <chrono>
#include <cstdlib>

#include "AppDirectories.h"

#include "Log.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

QString storePath() {
    return testHome() + "/prefs/test.json";
}

// The stored JSON of `key` in the file on disk; undefined when the file or the
// key is not there yet.
QJsonValue onDisk(const QString& path, const QString& key) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QJsonValue(QJsonValue::Undefined);
    }
    return QJsonDocument::fromJson(file.readAll()).object().value(key);
}

}  // namespace

TEST(UserDefaults, AbsentKeysAndValuesOfAnotherTypeReadAsFalseZeroOrNothing) {
    UserDefaults defaults(storePath());
    EXPECT_FALSE(defaults.boolForKey("missing"));
    EXPECT_EQ(defaults.integerForKey("missing"), 0);
    EXPECT_EQ(defaults.floatForKey("missing"), 0.0f);
    EXPECT_FALSE(defaults.stringForKey("missing"));
    EXPECT_FALSE(defaults.dataForKey("missing"));
    EXPECT_FALSE(defaults.dictionaryForKey("missing"));
    EXPECT_FALSE(defaults.arrayForKey("missing"));
    EXPECT_FALSE(defaults.objectForKey("missing"));

    // A value of another type reads as absent for a typed getter.
    defaults.setInteger(2, "preset");
    defaults.setFloat(1.5f, "gain");
    defaults.setString("yes", "flag");
    EXPECT_EQ(defaults.floatForKey("preset"), 0.0f);
    EXPECT_FALSE(defaults.stringForKey("preset"));
    EXPECT_EQ(defaults.integerForKey("gain"), 0);
    EXPECT_FALSE(defaults.boolForKey("flag"));
    EXPECT_FALSE(defaults.dictionaryForKey("flag"));
    EXPECT_TRUE(defaults.objectForKey("flag"));
    // What is held in memory matches what a restart reads: a double becomes a float.
    defaults.setObject(QVariant(2.5), "viaObject");
    EXPECT_EQ(defaults.floatForKey("viaObject"), 2.5f);
    defaults.setObject(QVariant(int(7)), "int");
    EXPECT_EQ(defaults.integerForKey("int"), 7);
}

TEST(UserDefaults, EveryTypeSurvivesARestartWithItsOwnTypeAndRemovedKeysStayGone) {
    const QByteArray bytes("\x00\x01\xff[]", 5);
    {
        UserDefaults defaults(storePath());
        defaults.setBool(true, "b");
        defaults.setInteger(Q_INT64_C(9007199254740993), "i");  // not representable as double
        defaults.setFloat(0.1f, "f");
        defaults.setString(QString::fromUtf8("Mötley \"Crüe\"\n"), "s");
        defaults.setData(bytes, "d");
        defaults.setDictionary({{"60.0", QVariant(3.5f)}, {"230.0", QVariant(-2.25f)}}, "gains");
        defaults.setDictionary({{"a.mp3", QVariant(QString("id:1"))}}, "names");
        defaults.setArray({QVariant(qint64(1)), QVariant(QString("two")), QVariant(true)}, "arr");
        defaults.setBool(true, "gone");
        defaults.removeObjectForKey("gone");
    }
    UserDefaults reopened(storePath());
    EXPECT_TRUE(reopened.boolForKey("b"));
    EXPECT_EQ(reopened.integerForKey("i"), Q_INT64_C(9007199254740993));
    EXPECT_EQ(reopened.floatForKey("f"), 0.1f);
    EXPECT_EQ(reopened.stringForKey("s"), QString::fromUtf8("Mötley \"Crüe\"\n"));
    EXPECT_EQ(reopened.dataForKey("d"), bytes);

    const QVariantMap gains = reopened.dictionaryForKey("gains").value();
    EXPECT_EQ(gains.value("60.0").metaType().id(), QMetaType::Float);
    EXPECT_EQ(gains.value("60.0").toFloat(), 3.5f);
    EXPECT_EQ(gains.value("230.0").toFloat(), -2.25f);
    EXPECT_EQ(reopened.dictionaryForKey("names")->value("a.mp3").toString(), "id:1");

    const QVariantList array = reopened.arrayForKey("arr").value();
    ASSERT_EQ(array.size(), 3);
    EXPECT_EQ(array[0].metaType().id(), QMetaType::LongLong);
    EXPECT_EQ(array[1].toString(), "two");
    EXPECT_EQ(array[2].metaType().id(), QMetaType::Bool);
    EXPECT_FALSE(reopened.objectForKey("gone"));
}

TEST(UserDefaults, DamagedFileIsKeptAsideAndDefaultsApply) {
    writeFile(storePath(), "{ this is not json");
    LogCapture log;
    UserDefaults defaults(storePath());
    EXPECT_FALSE(defaults.objectForKey("anything"));
    EXPECT_EQ(log.lines().size(), 1);
    EXPECT_EQ(readFile(storePath() + ".damaged"), "{ this is not json");
    defaults.setBool(true, "fresh");
    EXPECT_TRUE(UserDefaults(storePath()).boolForKey("fresh"));
}

// Each damaged file is somebody's settings: a later one must not overwrite
// an earlier copy, and only the oldest beyond five go.
TEST(UserDefaults, EachDamagedFileGetsACopyOfItsOwnAndTheNewestFiveStay) {
    const auto damage = [](int i) {
        return QByteArray("{ damaged number ") + QByteArray::number(i);
    };
    const auto copy = [](int i) {
        return storePath() + ".damaged" + (i == 1 ? QString() : QStringLiteral("-%1").arg(i));
    };
    for (int i = 1; i <= 7; ++i) {
        writeFile(storePath(), damage(i));
        LogCapture log;
        UserDefaults defaults(storePath());
        defaults.setInteger(i, "written after");
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().first().endsWith(
            QStringLiteral("kept as %1, starting with defaults").arg(copy(i))))
            << log.lines().first().toStdString();
        if (i == 2) {
            EXPECT_EQ(readFile(copy(1)), damage(1));
            EXPECT_EQ(readFile(copy(2)), damage(2));
        }
    }
    for (int i = 1; i <= 7; ++i) {
        EXPECT_EQ(QFile::exists(copy(i)), i >= 3) << i;
        if (i >= 3) {
            EXPECT_EQ(readFile(copy(i)), damage(i));
        }
    }
}

TEST(UserDefaults, OneDamagedValueDoesNotCostTheOthers) {
    writeFile(storePath(),
              R"({"good": {"float": 1.25}, "bad": {"float": "abc"}, "odd": {"what": 1},
                  "dict": {"dict": {"60.0": {"float": 2}}}})");
    LogCapture log;
    UserDefaults defaults(storePath());
    EXPECT_EQ(defaults.floatForKey("good"), 1.25f);
    EXPECT_FALSE(defaults.objectForKey("bad"));
    EXPECT_FALSE(defaults.objectForKey("odd"));
    EXPECT_EQ(defaults.dictionaryForKey("dict")->value("60.0").toFloat(), 2.0f);
    EXPECT_EQ(log.lines().size(), 2);

    // The next write keeps what could be read.
    defaults.setBool(true, "later");
    defaults.flush();
    UserDefaults reopened(storePath());
    EXPECT_EQ(reopened.floatForKey("good"), 1.25f);
    EXPECT_TRUE(reopened.boolForKey("later"));
}

// A slider drag writes on every move: the moves must be visible at once, to
// every instance on the file, and reach the file as one write.
TEST(UserDefaults, ABurstOfWritesIsSeenAtOnceAndReachesTheFileInOneWrite) {
    UserDefaults other(storePath());
    UserDefaults defaults(storePath());
    defaults.setWriteDelay(std::chrono::hours(1));
    int saves = 0;
    QObject::connect(&defaults, &UserDefaults::saved, [&] { ++saves; });

    for (int move = 0; move < 100; ++move) {
        defaults.setFloat(float(move), "band");
        EXPECT_EQ(other.floatForKey("band"), float(move));
        QCoreApplication::processEvents();
    }
    defaults.removeObjectForKey("absent");
    QCoreApplication::processEvents();
    EXPECT_TRUE(onDisk(storePath(), "band").isUndefined());
    EXPECT_EQ(saves, 0);

    defaults.flush();
    EXPECT_EQ(onDisk(storePath(), "band"), QJsonObject({{"float", 99.0}}));
    defaults.flush();  // nothing new: no second write
    EXPECT_EQ(saves, 1);
}

TEST(UserDefaults, AChangeReachesTheFileShortlyAfterWithoutAFlush) {
    UserDefaults defaults(storePath());
    defaults.setWriteDelay(std::chrono::milliseconds(10));
    int saves = 0;
    QObject::connect(&defaults, &UserDefaults::saved, [&] { ++saves; });
    defaults.setString("on disk", "key");
    EXPECT_TRUE(waitUntil([&] { return !onDisk(storePath(), "key").isUndefined(); }));
    EXPECT_EQ(onDisk(storePath(), "key"), QJsonObject({{"string", "on disk"}}));
    EXPECT_EQ(saves, 1);
}

// The shared store is never destroyed, and its pending writes must still
// reach the disk however the process ends normally.
TEST(UserDefaultsDeathTest, WhatWasWrittenBeforeANormalExitIsOnDisk) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The child must write into this test's home, not a fresh one of its own.
    qputenv("CORVANTIS_TEST_KEEP_HOME", "1");
    const struct {
        const char* key;
        std::function<void()> end;
    } endings[] = {
        {"afterEventLoop",
         [] {
             QTimer::singleShot(0, qApp, &QCoreApplication::quit);
             QCoreApplication::exec();
             std::_Exit(0);  // no exit handlers: the quit alone must have written
         }},
        {"atExit", [] { std::exit(0); }},
    };
    for (const auto& ending : endings) {
        EXPECT_EXIT(
            {
                UserDefaults::standard().setWriteDelay(std::chrono::hours(1));
                UserDefaults::standard().setBool(true, ending.key);
                ending.end();
            },
            ::testing::ExitedWithCode(0), "")
            << ending.key;
        EXPECT_EQ(onDisk(AppDirectories::settingsFile(), ending.key), QJsonObject({{"bool", true}}))
            << ending.key;
    }
}
