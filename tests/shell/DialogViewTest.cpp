#include <gtest/gtest.h>

#include <QFile>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>
#include <cmath>

#include "BlurredBackdrop.h"
#include "DialogViewController.h"
#include "Localization.h"
#include "Navigation.h"
#include "PlayerViewController.h"
#include "QuickTestHarness.h"
#include "TestSupport.h"
#include "TutorialDialog.h"

namespace {

using Direction = DialogDismissDirection;

// The item of that name in the window now; a dialog that went may linger
// unparented until the event loop deletes it.
QQuickItem* named(QuickTestHarness& ui, const char* objectName) {
    const auto items = ui.window()->findChildren<QQuickItem*>(QString::fromLatin1(objectName));
    for (QQuickItem* item : items) {
        if (item->window() == ui.window()) {
            return item;
        }
    }
    return nullptr;
}

QRectF sceneRect(QQuickItem* item) {
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

// A plain dialog for the motion tests: a title, a message, one button.
DialogViewController* plainDialog() {
    DialogViewController::Options options;
    options.title = "Bass boost";
    options.message = "Turn the bass up for fuller low notes.";
    options.fontName = "AvenirNext-Medium";
    options.fontNameBold = "AvenirNext-DemiBold";
    auto* dialog = new DialogViewController(options);
    dialog->blurBackground = false;
    dialog->addAction(std::make_shared<DialogAction>(
        "Continue", [](DialogViewController& d) { d.dismissViewController(true); }));
    return dialog;
}

// Shows `dialog` over the root and waits for the card to come to rest.
QPointer<DialogViewController> show(QuickTestHarness& ui, DialogViewController* dialog) {
    QPointer<DialogViewController> kept(dialog);
    dialog->showIn(Navigation::shared().rootViewController());
    EXPECT_NE(ui.waitFor(dialog->title()), nullptr);
    ui.settle(400);
    return kept;
}

QPointF cardCentre(QuickTestHarness& ui) {
    return sceneRect(named(ui, "dialogCard")).center();
}

bool isGone(const QPointer<DialogViewController>& dialog) {
    return dialog.isNull() || dialog->presentingViewController() == nullptr;
}

// A press, moves and (unless held) no release, `msPerStep` apart in event
// time.
void pressAndMove(QuickTestHarness& ui, QPointF from, QPointF to, int steps, int msPerStep) {
    QTest::mousePress(ui.window(), Qt::LeftButton, Qt::NoModifier, from.toPoint());
    for (int i = 1; i <= steps; ++i) {
        QTest::mouseMove(ui.window(), (from + (to - from) * (double(i) / steps)).toPoint(),
                         msPerStep);
    }
}

// Whether the keyboard is with an item on show that is not the dialog's.
bool focusIsBelowTheDialog(QuickTestHarness& ui) {
    QQuickItem* item = ui.window()->activeFocusItem();
    if (item == nullptr) {
        return false;
    }
    for (; item != nullptr; item = item->parentItem()) {
        if (item->objectName() == QLatin1String("dialogView")) {
            return false;
        }
        if (item == ui.window()->contentItem()) {
            return true;
        }
    }
    return false;
}

}  // namespace

TEST(DialogView, LayoutFollowsTheWindowOnAPhoneAndADesktop) {
    struct Case {
        QSize window;
        qreal shortSide;
        qreal longSide;
    };
    // A desktop window sizes the dialog as a tablet does: both sides halved.
    const Case cases[] = {{{390, 844}, 390, 844}, {{1280, 800}, 400, 640}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.window.width());
        QuickTestHarness ui;
        ui.launch();
        ui.resize(c.window.width(), c.window.height());
        DialogViewController* dialog = plainDialog();
        dialog->imageHandler = [](QUrl& image) {
            image = QUrl("qrc:/images/cd-90.svg");
            return true;
        };
        dialog->addAction(std::make_shared<DialogAction>("Later", nullptr));
        dialog->setCancelEnabled(true);
        dialog->cancelButtonStyle = [](DialogButtonLook&, qreal) { return true; };
        show(ui, dialog);

        const QRectF card = sceneRect(named(ui, "dialogCard"));
        const QRectF disc = sceneRect(named(ui, "dialogImageHolder"));
        const QRectF image = sceneRect(named(ui, "dialogImage"));
        const QRectF stack = sceneRect(named(ui, "dialogStack"));
        const QRectF buttons = sceneRect(named(ui, "dialogButtons"));
        const QRectF cancel = sceneRect(named(ui, "dialogCancel"));
        const qreal spacing = c.longSide * 0.012;
        const qreal size = std::floor((c.shortSide - 2 * c.shortSide * 0.125) / 3);

        EXPECT_NEAR(card.width(), c.shortSide * 0.75, 0.01);
        EXPECT_NEAR(card.center().x(), c.window.width() / 2.0, 0.5);
        EXPECT_NEAR(card.center().y(), c.window.height() / 2.0, 0.5);
        EXPECT_NEAR(disc.width(), size, 0.01);
        EXPECT_NEAR(disc.top(), card.top() - size / 3, 0.01);
        EXPECT_NEAR(image.width(), size * 0.9, 0.01);
        EXPECT_NEAR(image.center().y(), disc.center().y(), 0.01);
        EXPECT_NEAR(stack.top(), disc.bottom() + spacing, 0.01);
        EXPECT_NEAR(stack.left(), card.left() + 10, 0.01);
        EXPECT_NEAR(stack.right(), card.right() - 10, 0.01);
        EXPECT_NEAR(buttons.width(), card.width() * 0.65, 0.01);
        EXPECT_NEAR(buttons.height(), 2 * std::floor(c.longSide * 0.07), 0.01);
        EXPECT_NEAR(cancel.top(), stack.bottom() + spacing, 0.01);
        EXPECT_NEAR(cancel.height(), c.longSide * 0.0449, 0.01);
        EXPECT_NEAR(card.bottom(), cancel.bottom() + spacing, 0.01);
        EXPECT_NEAR(dialog->estimatedHeight(), card.height(), 0.01);

        // Without an image the stack starts two spacings below the top.
        dialog->setImage(QUrl());
        ui.settle(400);
        EXPECT_FALSE(named(ui, "dialogImageHolder")->isVisible());
        EXPECT_NEAR(sceneRect(named(ui, "dialogStack")).top(),
                    sceneRect(named(ui, "dialogCard")).top() + 2 * spacing, 0.01);
    }
}

TEST(DialogView, OnlyALoneButtonGivesWayInAShortWindow) {
    const QString longText = QString("Turn the bass up for fuller low notes. ").repeated(70);
    for (int actions : {1, 2}) {
        SCOPED_TRACE(actions);
        QuickTestHarness ui;
        ui.launch();
        ui.resize(360, 480);
        DialogViewController* dialog = plainDialog();
        dialog->setMessage(longText);
        if (actions == 2) {
            dialog->addAction(std::make_shared<DialogAction>("Later", nullptr));
        }
        show(ui, dialog);
        const QRectF card = sceneRect(named(ui, "dialogCard"));
        const qreal buttonsHeight = named(ui, "dialogButtons")->height();
        const qreal full = std::floor(480 * 0.07) * actions;
        EXPECT_GT(card.height(), 480);
        if (actions == 1) {
            EXPECT_LT(buttonsHeight, full);
        } else {
            EXPECT_DOUBLE_EQ(buttonsHeight, full);
        }
    }
}

TEST(DialogView, ReleaseSpeedAndDirectionDecideWhereTheCardGoes) {
    struct Case {
        const char* name;
        Direction direction;
        qreal dy;
        int steps;
        int msPerStep;
        bool dismisses;
    };
    const Case cases[] = {
        {"fast flick down", Direction::both, 220, 6, 10, true},
        {"fast flick up", Direction::both, -220, 6, 10, true},
        {"slow release far from home", Direction::both, 260, 26, 60, false},
        {"fast flick up, bottom only", Direction::bottom, -220, 6, 10, false},
        {"fast flick down, top only", Direction::top, 220, 6, 10, false},
        {"fast flick down, none", Direction::none, 220, 6, 10, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QuickTestHarness ui;
        ui.launch();
        DialogViewController* dialog = plainDialog();
        dialog->dismissDirection = c.direction;
        QPointer<DialogViewController> kept = show(ui, dialog);
        const QPointF home = cardCentre(ui);
        const QPointF from = QuickTestHarness::centreOf(ui.find(dialog->message()));

        pressAndMove(ui, from, from + QPointF(0, c.dy), c.steps, c.msPerStep);
        const qreal dragged = cardCentre(ui).y() - home.y();
        QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier,
                            (from + QPointF(0, c.dy)).toPoint(), 1);
        if (c.direction == Direction::bottom && c.dy < 0) {
            // Held back by the rubber band.
            EXPECT_LT(dragged, 0);
            EXPECT_GT(dragged, c.dy / 2);
        } else {
            EXPECT_NEAR(dragged, c.dy, 1);
        }
        if (c.dismisses) {
            EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
        } else {
            ui.settle(500);
            EXPECT_FALSE(isGone(kept));
            EXPECT_NEAR(cardCentre(ui).y(), home.y(), 0.5);
        }
    }
}

TEST(DialogView, DragsMoveNothingWhenTheyAreOff) {
    QTemporaryDir folder;
    const QString sectionFile = folder.filePath("Section.qml");
    QFile file(sectionFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(
        "import QtQuick\nText { text: \"Also on this card\"; "
        "Accessible.name: text; padding: 20 }\n");
    file.close();

    for (bool allowed : {true, false}) {
        SCOPED_TRACE(allowed);
        QuickTestHarness ui;
        ui.launch();
        DialogViewController* dialog = plainDialog();
        dialog->allowDragGesture = allowed;
        QPointer<DialogViewController> kept = show(ui, dialog);
        dialog->sectionWithView(QUrl::fromLocalFile(sectionFile));
        QQuickItem* section = ui.waitFor("Also on this card");
        ASSERT_NE(section, nullptr);
        // The section stands below the card and takes touches there.
        const QRectF card = sceneRect(named(ui, "dialogCard"));
        EXPECT_GT(QuickTestHarness::centreOf(section).y(), card.bottom());

        const QPointF home = cardCentre(ui);
        const QPointF sectionHome = QuickTestHarness::centreOf(section);
        for (QQuickItem* grip : {ui.find(dialog->message()), section}) {
            const QPointF from = QuickTestHarness::centreOf(grip);
            pressAndMove(ui, from, from + QPointF(0, 120), 12, 60);
            EXPECT_NEAR(cardCentre(ui).y() - home.y(), allowed ? 120 : 0, 1);
            EXPECT_NEAR(QuickTestHarness::centreOf(section).y() - sectionHome.y(),
                        allowed ? 120 : 0, 1);
            QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier,
                                (from + QPointF(0, 120)).toPoint(), 300);
            ui.settle(500);
            EXPECT_NEAR(cardCentre(ui).y(), home.y(), 0.5);
        }
        EXPECT_FALSE(isGone(kept));
    }
}

TEST(DialogView, TapsAndEscapeCloseOnlyWhenOutsideTouchesMay) {
    for (bool outsideCloses : {true, false}) {
        SCOPED_TRACE(outsideCloses);
        QuickTestHarness ui;
        ui.launch();
        DialogViewController* dialog = plainDialog();
        dialog->dismissWithOutsideTouch = outsideCloses;
        QPointer<DialogViewController> kept = show(ui, dialog);
        const QRectF card = sceneRect(named(ui, "dialogCard"));

        // On the card: never.
        ui.tap(dialog->message());
        ui.tap(dialog->title());
        ui.settle(300);
        EXPECT_FALSE(isGone(kept));

        // The window around it, then Escape, only when allowed.
        ui.tapAt(QPointF(card.center().x(), card.top() - 40));
        ui.settle(300);
        EXPECT_EQ(isGone(kept), outsideCloses);
        if (!outsideCloses) {
            ui.key(Qt::Key_Escape);
            ui.settle(300);
            EXPECT_FALSE(isGone(kept));
            // A fling still works.
            const QPointF from = QuickTestHarness::centreOf(ui.find(dialog->message()));
            ui.drag(from, from + QPointF(0, 200), 5, 10);
            EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
        }
        // The screen below has the keyboard again.
        EXPECT_TRUE(waitUntil([&] { return focusIsBelowTheDialog(ui); }));
    }

    // Escape closes a dialog that a tap outside would close.
    QuickTestHarness ui;
    ui.launch();
    QPointer<DialogViewController> kept = show(ui, plainDialog());
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
}

TEST(DialogView, OnlyWhatStandsOnTheCardTakesTouches) {
    QuickTestHarness ui;
    ui.launch();
    DialogViewController* dialog = plainDialog();
    dialog->imageHandler = [](QUrl& image) {
        image = QUrl("qrc:/images/cd-90.svg");
        return true;
    };
    QPointer<DialogViewController> kept = show(ui, dialog);
    const QRectF card = sceneRect(named(ui, "dialogCard"));
    const QRectF disc = sceneRect(named(ui, "dialogImageHolder"));

    // The top of the disc stands outside the card and still belongs to it.
    ui.tapAt(QPointF(disc.center().x(), disc.top() + 4));
    ui.settle(300);
    EXPECT_FALSE(isGone(kept));
    // The card's bare padding is not the card's: a tap there is outside.
    ui.tapAt(QPointF(card.left() + 3, card.center().y()));
    EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
}

TEST(DialogView, ButtonsRunTheirActionsAndADragOverThemDoesNot) {
    QuickTestHarness ui;
    ui.launch();
    int later = 0;
    DialogViewController* dialog = plainDialog();
    dialog->addAction(
        std::make_shared<DialogAction>("Later", [&later](DialogViewController&) { ++later; }));
    QPointer<DialogViewController> kept = show(ui, dialog);
    QQuickItem* button = ui.waitFor("Later");
    ASSERT_NE(button, nullptr);
    const QPointF home = cardCentre(ui);

    // A slow drag that starts on the button moves the card and runs nothing.
    const QPointF from = QuickTestHarness::centreOf(button);
    pressAndMove(ui, from, from + QPointF(0, 80), 10, 60);
    EXPECT_NEAR(cardCentre(ui).y() - home.y(), 80, 1);
    QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier,
                        (from + QPointF(0, 80)).toPoint(), 300);
    ui.settle(500);
    EXPECT_EQ(later, 0);

    ui.tap("Later");
    EXPECT_EQ(later, 1);
    EXPECT_FALSE(isGone(kept));
    // The button's own handler closes the dialog, animated.
    ui.tap("Continue");
    EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
}

TEST(DialogView, PresentingRunsTheEntryOnceAndTheCompletionAsItStarts) {
    QuickTestHarness ui;
    ui.launch();
    ViewController* root = Navigation::shared().rootViewController();

    // Straight through the presenter, as screens do.
    DialogViewController* dialog = plainDialog();
    QPointer<DialogViewController> kept(dialog);
    root->presentViewController(dialog, true);
    ASSERT_NE(ui.waitFor(dialog->title()), nullptr);
    ui.settle(400);
    const QPointF home = cardCentre(ui);
    EXPECT_NEAR(home.y(), ui.window()->height() / 2.0, 0.5);
    // A second appearance leaves the card where it stands.
    dialog->viewDidAppear(false);
    ui.settle(50);
    EXPECT_NEAR(cardCentre(ui).y(), home.y(), 0.5);
    dialog->dismissViewController(false);
    EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));

    // With a completion: it runs once, while the card is still rising.
    DialogViewController* second = plainDialog();
    second->setContentOffset(-100);
    int runs = 0;
    qreal startedAt = 0;
    second->showIn(root, [&](DialogViewController&) {
        ++runs;
        startedAt = cardCentre(ui).y();
    });
    ASSERT_NE(ui.waitFor(second->title()), nullptr);
    ui.settle(400);
    EXPECT_EQ(runs, 1);
    // Still on its way up from below.
    EXPECT_GT(startedAt, ui.window()->height() / 2.0 - 100 + 1);
    EXPECT_NEAR(cardCentre(ui).y(), ui.window()->height() / 2.0 - 100, 0.5);
    // A new offset moves the resting card.
    second->setContentOffset(0);
    ui.settle(400);
    EXPECT_NEAR(cardCentre(ui).y(), ui.window()->height() / 2.0, 0.5);
}

TEST(DialogView, BlurredBackgroundFadesIn) {
    QuickTestHarness ui;
    ui.launch();
    DialogViewController* dialog = plainDialog();
    dialog->blurBackground = true;
    QPointer<DialogViewController> kept = show(ui, dialog);
    ui.screenshot("dialog-blurred");
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
}

TEST(DialogView, ApplicationDialogsAtPhoneSize) {
    // The first-run dialog and the menu's tutorial are the same card.
    struct Case {
        DialogViewController* (*make)();
        const char* screenshot;
    };
    const Case cases[] = {{&PlayerViewController::makeBassBoostExplanation, "dialog-bass-boost"},
                          {&makeTutorialDialog, "dialog-first-run"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.screenshot);
        QuickTestHarness ui;
        ui.launch();
        DialogViewController* dialog = c.make();
        QPointer<DialogViewController> kept = show(ui, dialog);
        ui.screenshot(c.screenshot);
        ui.tap(dialog->buttons().first().look.title);
        EXPECT_TRUE(waitUntil([&] { return isGone(kept); }));
    }
}

TEST(DialogBackdrop, BlurKeepsTheSizeAndSoftensEdges) {
    // Black on the left, white on the right.
    QImage sharp(160, 90, QImage::Format_ARGB32_Premultiplied);
    sharp.fill(Qt::white);
    for (int y = 0; y < sharp.height(); ++y) {
        for (int x = 0; x < sharp.width() / 2; ++x) {
            sharp.setPixel(x, y, qRgb(0, 0, 0));
        }
    }
    const QImage soft = BlurredBackdrop::blurred(sharp);
    ASSERT_EQ(soft.size(), sharp.size());
    const int edge = qGray(soft.pixel(sharp.width() / 2, 45));
    EXPECT_GT(edge, 40);
    EXPECT_LT(edge, 215);
    EXPECT_LT(qGray(soft.pixel(2, 45)), 40);
    EXPECT_GT(qGray(soft.pixel(sharp.width() - 3, 45)), 215);
    // Rows stay alike: the blur runs the same way down every column.
    EXPECT_EQ(soft.pixel(40, 10), soft.pixel(40, 80));
}
