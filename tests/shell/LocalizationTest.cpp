#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTranslator>
#include <QXmlStreamReader>

#include "Localization.h"

namespace {

const QString kSourceDir = QStringLiteral(CORVANTIS_SOURCE_DIR);

// id -> translation of one language's source.
QHash<QString, QString> readTranslations(const QString& language) {
    QFile file(kSourceDir + "/resources/translations/corvantis_" + language + ".ts");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    QHash<QString, QString> texts;
    QXmlStreamReader xml(&file);
    QString id;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) {
            continue;
        }
        if (xml.name() == QLatin1String("message")) {
            id = xml.attributes().value("id").toString();
            EXPECT_FALSE(texts.contains(id)) << "twice: " << id.toStdString();
        } else if (xml.name() == QLatin1String("translation")) {
            texts.insert(id, xml.readElementText());
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return texts;
}

// Every key the code asks for by a literal, in C++ and in QML.
QSet<QString> keysUsedInSources() {
    static const QRegularExpression call(
        QStringLiteral(R"((?:qsTrId|qtTrId|Localization::text)\(\s*"([^"]+)\")"));
    QSet<QString> keys;
    QDirIterator files(kSourceDir + "/src", {"*.cpp", "*.h", "*.qml"}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QString text = QString::fromUtf8(file.readAll());
        for (const auto& match : call.globalMatch(text)) {
            keys.insert(match.captured(1));
        }
    }
    return keys;
}

}  // namespace

TEST(Localization, EveryKeyHasAnEnglishAndAGermanText) {
    const auto english = readTranslations("en");
    const auto german = readTranslations("de");
    const QSet<QString> used = keysUsedInSources();
    ASSERT_GT(used.size(), 5) << "the scan found the sources";
    for (const QString& key : used) {
        EXPECT_FALSE(english.value(key).isEmpty()) << "no English text for " << key.toStdString();
        EXPECT_FALSE(german.value(key).isEmpty()) << "no German text for " << key.toStdString();
    }
    for (auto it = english.cbegin(); it != english.cend(); ++it) {
        EXPECT_TRUE(german.contains(it.key())) << "English only: " << it.key().toStdString();
    }
    for (auto it = german.cbegin(); it != german.cend(); ++it) {
        EXPECT_TRUE(english.contains(it.key())) << "German only: " << it.key().toStdString();
    }
}

TEST(Localization, BuiltTextsFollowTheLanguage) {
    const auto german = readTranslations("de");
    // The application's own choice (the tests run in English)
    // gives the English text, never the key.
    EXPECT_EQ(Localization::text("message_please_wait"),
              readTranslations("en")["message_please_wait"]);

    QTranslator translator;
    ASSERT_TRUE(translator.load(QStringLiteral(":/i18n/corvantis_de.qm")));
    QCoreApplication::installTranslator(&translator);
    EXPECT_EQ(qtTrId("cancel"), german["cancel"]);
    EXPECT_EQ(qtTrId("tutorial_1_title"), german["tutorial_1_title"]);
    QCoreApplication::removeTranslator(&translator);
}
