#include <QQuickItem>
#include <QQuickWindow>

#include "AlertController.h"
#include "IntakeViewFixture.h"

namespace {

// An object of the window by its objectName, looked for among the items and
// the objects they hold (a dialog is no item).
QObject* findObject(QQuickItem* item, const QString& name) {
    for (QObject* child : item->children()) {
        if (child->objectName() == name) {
            return child;
        }
    }
    for (QQuickItem* child : item->childItems()) {
        if (QObject* found = findObject(child, name)) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace

TEST_F(IntakeViewsTest, PickedFilesAreImportedAndBothAlertsRead) {
    writeFile(downloadedMusicDirectory() + "/one.mp3", "old");
    writeFile(testHome() + "/picked/one.mp3", "1");
    writeFile(testHome() + "/picked/two.ogg", "2");
    openImportScreen();
    ui.tap(Localization::text("download_files"));
    QObject* picker = findObject(ui.window()->contentItem(), "documentPicker");
    ASSERT_NE(picker, nullptr);
    EXPECT_TRUE(waitUntil([&] { return picker->property("visible").toBool(); }));
    EXPECT_TRUE(picker->property("nameFilters").toStringList().join(" ").contains("*.mp3"));
    ui.settle();
    ui.screenshot("intake-file-dialog");
    // The dialog's choice, as the view hands it on.
    QMetaObject::invokeMethod(picker, "close");
    QMetaObject::invokeMethod(
        picker->parent(), "picked",
        Q_ARG(QVariant, QVariant::fromValue(
                            QList<QUrl>{QUrl::fromLocalFile(testHome() + "/picked/one.mp3"),
                                        QUrl::fromLocalFile(testHome() + "/picked/two.ogg")})));
    ASSERT_NE(ui.waitFor("OK", 10000), nullptr);
    ui.settle();
    ui.screenshot("intake-import-result");
    EXPECT_TRUE(ui.isShown("Import Result"));
    auto* result =
        qobject_cast<AlertController*>(Navigation::shared().topPresentedViewController());
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->message(),
              "2 out of 2 files imported successfully. 1 existing files were replaced.");
    EXPECT_EQ(readFile(downloadedMusicDirectory() + "/one.mp3"), "1");
    ui.tap("OK");
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Import Result"); }));
    ui.tap(Localization::text("close"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("download_title")); }));
    ui.settle();
}
