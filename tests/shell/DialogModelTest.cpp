#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QSignalSpy>

#include "DialogDefaults.h"
#include "DialogViewController.h"
#include "Log.h"

namespace {

// A phone with a notch: 390 x 844 less 47 + 34 of insets gives a long side
// of 763 and a short side of 390.
void putOnNotchedPhone(DialogViewController& dialog) {
    dialog.setWindowSize(QSizeF(390, 844));
    dialog.setParentSafeArea(QMarginsF(0, 47, 0, 34));
}

std::shared_ptr<DialogAction> countingAction(const QString& title, int& runs) {
    return std::make_shared<DialogAction>(title, [&runs](DialogViewController&) { ++runs; });
}

}  // namespace

TEST(DialogModel, StartsUndecidedOnEverySizeItDerives) {
    DialogViewController dialog;
    EXPECT_TRUE(dialog.title().isNull());
    EXPECT_TRUE(dialog.message().isNull());
    EXPECT_EQ(dialog.spacing(), -1);
    for (qreal size : {dialog.titleFontSize(), dialog.messageFontSize(), dialog.buttonHeight(),
                       dialog.cancelButtonHeight()}) {
        EXPECT_EQ(size, 0);
    }
    EXPECT_EQ(dialog.modalPresentationStyleValue(), 6);
    EXPECT_EQ(dialog.windowSize(), QSizeF(390, 844));
}

TEST(DialogModel, ScreenMeasuresFollowTheWindowAndItsInsets) {
    struct Case {
        QSizeF window;
        QMarginsF insets;
        qreal shortSide;
        qreal longSide;
    };
    const Case cases[] = {
        {{390, 844}, {}, 390, 844},
        {{390, 844}, {0, 47, 0, 34}, 390, 763},
        {{844, 390}, {10, 0, 20, 0}, 390, 814},
        // From a shorter side of 600 on, both measures are halved, so a
        // desktop window keeps a phone-sized card.
        {{599, 900}, {}, 599, 900},
        {{600, 900}, {}, 300, 450},
        {{1280, 800}, {}, 400, 640},
        {{1024, 1366}, {0, 20, 0, 20}, 512, 663},
    };
    for (const Case& c : cases) {
        DialogViewController dialog;
        dialog.setWindowSize(c.window);
        dialog.setParentSafeArea(c.insets);
        EXPECT_DOUBLE_EQ(dialog.shortSide(), c.shortSide) << c.window.width();
        EXPECT_DOUBLE_EQ(dialog.longSide(), c.longSide) << c.window.width();
    }
}

TEST(DialogModel, DerivesOnlyTheSizesLeftOpenWhenBuilt) {
    struct Case {
        const char* name;
        DialogViewController::Options given;
        qreal spacing, stackSpacing, titleFontSize, messageFontSize, buttonHeight,
            cancelButtonHeight, cardWidth;
    };
    DialogViewController::Options fixed;
    fixed.spacing = 10;
    fixed.titleFontSize = 20;
    fixed.messageFontSize = 16;
    fixed.buttonHeight = 45;
    fixed.widthRatio = 0.8;
    DialogViewController::Options zeroSpacing;
    zeroSpacing.spacing = 0;
    zeroSpacing.stackSpacing = 0;
    DialogViewController::Options minusTwo;
    minusTwo.spacing = -2;
    minusTwo.stackSpacing = 7;
    minusTwo.cancelButtonHeight = 30;
    const Case cases[] = {
        {"all derived", {}, 9.156, 0, 20.9825, 17.1675, 53, 34.2587, 292.5},
        {"as the application passes them", fixed, 10, 0, 20, 16, 45, 34.2587, 312},
        {"zero spacing is a spacing", zeroSpacing, 0, 0, 20.9825, 17.1675, 53, 34.2587, 292.5},
        {"only -1 derives", minusTwo, -2, 7, 20.9825, 17.1675, 53, 30, 292.5},
    };
    for (const Case& c : cases) {
        DialogViewController dialog(c.given);
        putOnNotchedPhone(dialog);
        dialog.addAction(std::make_shared<DialogAction>(QString("OK"), nullptr));
        dialog.loadViewIfNeeded();
        EXPECT_NEAR(dialog.spacing(), c.spacing, 1e-9) << c.name;
        EXPECT_DOUBLE_EQ(dialog.stackSpacing(), c.stackSpacing) << c.name;
        EXPECT_NEAR(dialog.titleFontSize(), c.titleFontSize, 1e-9) << c.name;
        EXPECT_NEAR(dialog.messageFontSize(), c.messageFontSize, 1e-9) << c.name;
        EXPECT_DOUBLE_EQ(dialog.buttonHeight(), c.buttonHeight) << c.name;
        EXPECT_NEAR(dialog.cancelButtonHeight(), c.cancelButtonHeight, 1e-9) << c.name;
        EXPECT_DOUBLE_EQ(dialog.cardWidth(), c.cardWidth) << c.name;
    }
}

TEST(DialogModel, ReadsTheDefaultsWhenBuilding) {
    const double spacingRatio = DialogDefaults::spacingRatio;
    const double widthRatio = DialogDefaults::defaultWidthRatio;
    const double separator = DialogDefaults::separatorHeight;

    DialogDefaults::defaultWidthRatio = 0.5;
    DialogViewController made;
    DialogDefaults::defaultWidthRatio = widthRatio;
    EXPECT_DOUBLE_EQ(made.widthRatio(), 0.5);

    // Made before the change, built after it: the build sees the new values.
    DialogViewController dialog;
    putOnNotchedPhone(dialog);
    DialogDefaults::spacingRatio = 0.02;
    DialogDefaults::separatorHeight = 2;
    dialog.loadViewIfNeeded();
    DialogDefaults::spacingRatio = spacingRatio;
    DialogDefaults::separatorHeight = separator;
    EXPECT_NEAR(dialog.spacing(), 15.26, 1e-9);
    EXPECT_DOUBLE_EQ(dialog.builtSeparatorHeight(), 2);

    DialogViewController plain;
    plain.showSeparator = false;
    plain.loadViewIfNeeded();
    EXPECT_DOUBLE_EQ(plain.builtSeparatorHeight(), 0);
}

TEST(DialogModel, ImageHeaderSizesTheDiscAndMovesTheStack) {
    DialogViewController withImage;
    putOnNotchedPhone(withImage);
    withImage.imageHandler = [](QUrl& image) {
        image = QUrl("qrc:/images/bass.png");
        return true;
    };
    withImage.loadViewIfNeeded();
    EXPECT_TRUE(withImage.hasImage());
    EXPECT_EQ(withImage.image(), QUrl("qrc:/images/bass.png"));
    EXPECT_DOUBLE_EQ(withImage.imageSize(), 97);
    // A third of the 97-point disc stands above the card; the stack starts
    // one spacing below the disc.
    EXPECT_NEAR(withImage.generalStackTop(), 97 - 97.0 / 3 + 9.156, 1e-9);

    DialogViewController declined;
    putOnNotchedPhone(declined);
    declined.imageHandler = [](QUrl& image) {
        image = QUrl("qrc:/images/bass.png");
        return false;
    };
    declined.loadViewIfNeeded();
    EXPECT_FALSE(declined.hasImage());
    EXPECT_DOUBLE_EQ(declined.imageSize(), 0);
    EXPECT_NEAR(declined.generalStackTop(), 18.312, 1e-9);
}

TEST(DialogModel, ImageChangesAfterTheBuild) {
    DialogViewController dialog;
    putOnNotchedPhone(dialog);
    dialog.setImage(QUrl("qrc:/a.png"));
    EXPECT_TRUE(dialog.image().isEmpty()) << "no image before the view stands";

    dialog.loadViewIfNeeded();
    QSignalSpy relayouts(&dialog, &DialogViewController::layoutAnimationRequested);
    dialog.setImage(QUrl());
    EXPECT_EQ(relayouts.count(), 0);

    dialog.setImage(QUrl("qrc:/a.png"));
    EXPECT_TRUE(dialog.hasImage());
    EXPECT_DOUBLE_EQ(dialog.imageSize(), 97);
    EXPECT_EQ(relayouts.count(), 1);

    dialog.setImage(QUrl("qrc:/b.png"));
    EXPECT_EQ(dialog.image(), QUrl("qrc:/b.png"));
    EXPECT_EQ(relayouts.count(), 1) << "a replaced image keeps the layout";

    dialog.setImage(QUrl());
    EXPECT_FALSE(dialog.hasImage());
    EXPECT_DOUBLE_EQ(dialog.imageSize(), 0);
    EXPECT_NEAR(dialog.generalStackTop(), 18.312, 1e-9);
    EXPECT_EQ(relayouts.count(), 2);
}

TEST(DialogModel, EmptyTextsHideTheirLabelsOnlyOnceShown) {
    DialogViewController::Options options;
    options.title = QString("");
    options.message = QString("");
    DialogViewController dialog(options);
    dialog.setTitle(QString(""));
    dialog.loadViewIfNeeded();
    EXPECT_FALSE(dialog.isTitleHidden());
    EXPECT_FALSE(dialog.isMessageHidden());

    dialog.setTitle(QString(""));
    dialog.setMessage(QString());
    EXPECT_TRUE(dialog.isTitleHidden());
    EXPECT_TRUE(dialog.isMessageHidden());
    dialog.setTitle("Bass boost");
    dialog.setMessage("Louder lows");
    EXPECT_FALSE(dialog.isTitleHidden());
    EXPECT_FALSE(dialog.isMessageHidden());
    EXPECT_EQ(dialog.message(), "Louder lows");
}

TEST(DialogModel, AnEmptyTitleCanGoBackToNone) {
    DialogViewController::Options options;
    options.title = QString("");
    // The forecast stops on an unknown title font only while there is a
    // title to measure.
    options.fontNameBold = "NoSuchFont";
    DialogViewController dialog(options);
    EXPECT_FALSE(dialog.title().isNull());
    dialog.setTitle(QString());
    EXPECT_TRUE(dialog.title().isNull());
    EXPECT_GT(dialog.estimatedHeight(), 0);
    dialog.setTitle(QString(""));
    EXPECT_FALSE(dialog.title().isNull());
}

TEST(DialogModel, ConstructorKeepsAbsentTextsAbsent) {
    DialogViewController::Options options;
    options.attributedMessage = QString("<b>Hi</b>");
    DialogViewController dialog(options);
    EXPECT_TRUE(dialog.title().isNull());
    EXPECT_TRUE(dialog.message().isNull());
    EXPECT_EQ(dialog.attributedMessage(), "<b>Hi</b>");
}

TEST(DialogModel, ActionButtonsKeepTagsInStepWithActions) {
    int runs[3] = {0, 0, 0};
    DialogViewController dialog;
    putOnNotchedPhone(dialog);
    dialog.addAction(countingAction("One", runs[0]));
    dialog.addAction(countingAction("Two", runs[1]));
    dialog.addAction(countingAction("Three", runs[2]));
    EXPECT_TRUE(dialog.buttons().isEmpty()) << "buttons come with the view";
    dialog.loadViewIfNeeded();
    ASSERT_EQ(dialog.buttons().size(), 3);

    dialog.removeActionAt(3);
    dialog.removeActionAt(-1);
    EXPECT_EQ(dialog.actions().size(), 3);
    EXPECT_EQ(dialog.buttons().size(), 3);

    dialog.removeActionAt(0);
    ASSERT_EQ(dialog.buttons().size(), 2);
    EXPECT_EQ(dialog.buttons()[0].tag, 0);
    EXPECT_EQ(dialog.buttons()[1].tag, 1);
    EXPECT_EQ(dialog.buttons()[0].look.title, "Two");
    dialog.handleAction(dialog.buttons()[0].tag);
    dialog.handleAction(dialog.buttons()[1].tag);
    EXPECT_EQ(runs[0], 0);
    EXPECT_EQ(runs[1], 1);
    EXPECT_EQ(runs[2], 1);

    dialog.addAction(countingAction("Four", runs[0]));
    EXPECT_EQ(dialog.buttons().last().tag, 2);
    EXPECT_EQ(dialog.buttons().last().look.title, "Four");

    dialog.removeAllActions();
    EXPECT_TRUE(dialog.actions().isEmpty());
    EXPECT_TRUE(dialog.buttons().isEmpty());
}

TEST(DialogModel, ActionHandlersGetTheDialogAndAMissingActionStops) {
    DialogViewController dialog;
    DialogViewController* seen = nullptr;
    dialog.addAction(std::make_shared<DialogAction>(
        std::nullopt, [&seen](DialogViewController& d) { seen = &d; }));
    dialog.actions().first()->isEnabled = false;
    dialog.handleAction(0);
    EXPECT_EQ(seen, &dialog) << "the enabled flag is not consulted";

    dialog.addAction(nullptr);
    EXPECT_DEATH(dialog.handleAction(1), "No dialog action at 1");
    EXPECT_DEATH(dialog.handleAction(2), "No dialog action at 2");
}

TEST(DialogModel, ButtonLooksAndHeights) {
    DialogViewController lone;
    putOnNotchedPhone(lone);
    lone.loadViewIfNeeded();
    EXPECT_EQ(lone.buttonHeight(), 0) << "derived with the first button";
    lone.addAction(std::make_shared<DialogAction>(QString("OK"), nullptr));
    ASSERT_EQ(lone.buttons().size(), 1);
    const DialogButton& button = lone.buttons().first();
    EXPECT_EQ(lone.buttonHeight(), 53);
    EXPECT_TRUE(button.heightGivesWay);
    EXPECT_DOUBLE_EQ(button.look.borderWidth, 1);
    EXPECT_DOUBLE_EQ(button.look.cornerRadius, 26.5);
    EXPECT_EQ(lone.buttonFont().pixelSize(), 19) << "53 x 0.35 = 18.55";

    DialogViewController styled;
    putOnNotchedPhone(styled);
    std::vector<int> styledIndexes;
    styled.buttonInit = [](int index) -> std::optional<DialogButtonLook> {
        if (index == 0) {
            return std::nullopt;
        }
        DialogButtonLook plain;
        plain.backgroundColor = Qt::red;
        return plain;
    };
    styled.buttonStyle = [&styledIndexes](DialogButtonLook& look, qreal height, int index) {
        styledIndexes.push_back(index);
        EXPECT_EQ(height, 53);
        look.cornerRadius = 4;
    };
    styled.addAction(std::make_shared<DialogAction>(QString("A"), nullptr));
    styled.addAction(std::make_shared<DialogAction>(QString("B"), nullptr));
    styled.loadViewIfNeeded();
    ASSERT_EQ(styled.buttons().size(), 2);
    EXPECT_EQ(styledIndexes, std::vector<int>({0, 1}));
    EXPECT_FALSE(styled.buttons()[0].heightGivesWay);
    EXPECT_FALSE(styled.buttons()[1].heightGivesWay);
    EXPECT_DOUBLE_EQ(styled.buttons()[0].look.borderWidth, 1);
    EXPECT_DOUBLE_EQ(styled.buttons()[1].look.borderWidth, 0);
    EXPECT_EQ(styled.buttons()[1].look.backgroundColor, QColor(Qt::red));
    EXPECT_DOUBLE_EQ(styled.buttons()[0].look.cornerRadius, 4);
    EXPECT_DOUBLE_EQ(styled.buttons()[1].look.cornerRadius, 4);
}

TEST(DialogModel, CancelButtonShowsOnlyWhenStyledEnabledAndSized) {
    struct Case {
        const char* name;
        bool enabled;
        std::optional<bool> style;  // none: no style function
        qreal givenHeight;
        bool hidden;
        qreal height;
    };
    const Case cases[] = {
        {"enabled without a style", true, std::nullopt, 0, true, 0},
        {"enabled, style says yes", true, true, 0, false, 34.2587},
        {"enabled, style says no", true, false, 0, true, 0},
        {"styled but not enabled", false, true, 0, true, 0},
        {"given height", true, true, 30, false, 30},
    };
    for (const Case& c : cases) {
        DialogViewController::Options options;
        options.cancelButtonHeight = c.givenHeight;
        DialogViewController dialog(options);
        putOnNotchedPhone(dialog);
        dialog.setCancelEnabled(c.enabled);
        if (c.style) {
            const bool answer = *c.style;
            dialog.cancelButtonStyle = [answer](DialogButtonLook&, qreal) { return answer; };
        }
        dialog.loadViewIfNeeded();
        EXPECT_EQ(dialog.isCancelButtonHidden(), c.hidden) << c.name;
        EXPECT_NEAR(dialog.cancelButtonShownHeight(), c.height, 1e-9) << c.name;
    }
}

TEST(DialogModel, CancelButtonTurnedOnLaterShowsWhateverTheStyleSays) {
    DialogViewController dialog;
    putOnNotchedPhone(dialog);
    int styled = 0;
    dialog.cancelButtonStyle = [&styled](DialogButtonLook&, qreal) {
        ++styled;
        return false;
    };
    dialog.setCancelEnabled(true);
    dialog.setCancelEnabled(false);
    EXPECT_EQ(styled, 0) << "before the view only the flag is kept";
    dialog.loadViewIfNeeded();
    EXPECT_EQ(styled, 1);
    EXPECT_TRUE(dialog.isCancelButtonHidden());

    dialog.setCancelEnabled(true);
    EXPECT_EQ(styled, 2);
    EXPECT_FALSE(dialog.isCancelButtonHidden());
    EXPECT_NEAR(dialog.cancelButtonShownHeight(), 34.2587, 1e-9);

    dialog.setCancelEnabled(false);
    EXPECT_EQ(styled, 2);
    EXPECT_TRUE(dialog.isCancelButtonHidden());
    EXPECT_EQ(dialog.cancelButtonShownHeight(), 0);
}

TEST(DialogModel, ToolItemsAreUsedOnlyWhenTheirStyleSaysSo) {
    DialogViewController dialog;
    int left = 0;
    int right = 0;
    dialog.leftToolStyle = [](DialogButtonLook&) { return true; };
    dialog.rightToolStyle = [](DialogButtonLook&) { return false; };
    dialog.leftToolAction = [&left] { ++left; };
    dialog.rightToolAction = [&right] { ++right; };
    dialog.loadViewIfNeeded();
    EXPECT_TRUE(dialog.isLeftToolUsed());
    EXPECT_FALSE(dialog.isRightToolUsed());
    dialog.handleLeftTool();
    dialog.handleRightTool();
    EXPECT_EQ(left, 1);
    EXPECT_EQ(right, 1);
}

TEST(DialogModel, SectionsNeedTheDialogShown) {
    LogCapture log;
    DialogViewController dialog;
    DialogViewController& same = dialog.sectionWithView(QUrl("qrc:/Early.qml"));
    EXPECT_EQ(&same, &dialog);
    EXPECT_TRUE(dialog.sections().isEmpty());
    EXPECT_EQ(log.lines(),
              QStringList{"Dialog has not been displayed yet. Make sure to display it using "
                          "\"show()\" before creating a section."});

    dialog.loadViewIfNeeded();
    dialog.sectionWithView(QUrl("qrc:/First.qml")).sectionWithView(QUrl("qrc:/Second.qml"));
    EXPECT_EQ(dialog.sections(), (QList<QUrl>{QUrl("qrc:/First.qml"), QUrl("qrc:/Second.qml")}));
    dialog.removeSection(2);
    dialog.removeSection(-1);
    EXPECT_EQ(dialog.sections().size(), 2);
    dialog.removeSection(0);
    EXPECT_EQ(dialog.sections(), QList<QUrl>{QUrl("qrc:/Second.qml")});
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(DialogModel, EstimatedHeightForecastsFromTheWholeWindow) {
    // unit = 844 x 0.012 = 10.128; a button is whole(844 x 0.07) = 59 high.
    struct Case {
        const char* name;
        QSizeF window;
        int actions;
        qreal stackSpacing;
        bool separator;
        bool cancel;
        qreal expected;
    };
    const Case cases[] = {
        // 3u + u(no image + separator) + 0.7
        {"bare", {390, 844}, 0, 0, true, false, 51.34},
        // + 2u + 59
        {"one action", {390, 844}, 1, 0, true, false, 130.596},
        // + 2u + 3 x 59 + 2 x 5
        {"three actions", {390, 844}, 3, 5, true, false, 258.596},
        // 3u + u
        {"no separator", {390, 844}, 0, 0, false, false, 40.512},
        // + 844 x 0.0449, no style needed
        {"cancel", {390, 844}, 0, 0, false, true, 78.4076},
        // Not halved: unit = 1366 x 0.012 = 16.392; 5 units + 0.7
        {"tablet", {1024, 1366}, 0, 0, true, false, 82.66},
    };
    for (const Case& c : cases) {
        DialogViewController::Options options;
        options.stackSpacing = c.stackSpacing;
        DialogViewController dialog(options);
        dialog.setWindowSize(c.window);
        dialog.setParentSafeArea(QMarginsF(0, 47, 0, 34));
        dialog.showSeparator = c.separator;
        dialog.setCancelEnabled(c.cancel);
        for (int i = 0; i < c.actions; ++i) {
            dialog.addAction(std::make_shared<DialogAction>(QString("OK"), nullptr));
        }
        EXPECT_NEAR(dialog.estimatedHeight(), c.expected, 1e-9) << c.name;
    }
}

TEST(DialogModel, EstimatedHeightMeasuresTheTexts) {
    // A null text is an absent one; QString("") is present and empty.
    auto estimate = [](const QString& title, const QString& message, const QString& rich) {
        DialogViewController::Options options;
        options.title = title;
        options.message = message;
        options.attributedMessage = rich;
        return DialogViewController(options).estimatedHeight();
    };
    const qreal bare = estimate(QString(), QString(), QString());
    EXPECT_NEAR(bare, 51.34, 1e-9);
    EXPECT_NEAR(estimate(QString(""), QString(""), QString()), bare, 1e-9);

    const qreal shortMessage = estimate(QString(), QString("Hi"), QString());
    EXPECT_GT(shortMessage, bare + 10.128) << "one line and the message's spacing";
    const QString longText =
        QString("Lower tones come through stronger with this on. ").repeated(4);
    EXPECT_GT(estimate(QString(), longText, QString()), shortMessage + 30)
        << "a wrapped message takes several lines";
    EXPECT_NEAR(estimate(QString(), QString(), QString("<b>Hi</b>")), shortMessage, 1e-9)
        << "rich text is measured by its plain words";
    EXPECT_NEAR(estimate(QString(), QString("Hi"), QString("<b>Long words here</b>")), shortMessage,
                1e-9)
        << "the plain message wins";

    const qreal titled = estimate(QString("Bass boost"), QString(), QString());
    EXPECT_GT(titled, bare + 15) << "a title adds its line but no spacing of its own";

    DialogViewController shown;
    shown.loadViewIfNeeded();
    shown.setCardHeight(312.5);
    EXPECT_EQ(shown.estimatedHeight(), 312.5);
}

TEST(DialogModel, UnknownFonts) {
    DialogViewController::Options badTitle;
    badTitle.fontNameBold = "Nope-Black";
    DialogViewController fallback(badTitle);
    fallback.loadViewIfNeeded();
    EXPECT_EQ(fallback.titleFont().family(), QGuiApplication::font().family());
    EXPECT_EQ(fallback.messageFont().family(), "Lato");

    DialogViewController untitled(badTitle);
    EXPECT_NEAR(untitled.estimatedHeight(), 51.34, 1e-9) << "no title, no title font needed";

    badTitle.title = QString("Bass boost");
    DialogViewController titled(badTitle);
    EXPECT_DEATH(titled.estimatedHeight(), "Nope-Black");

    DialogViewController::Options badMessage;
    badMessage.fontName = "Nope-Light";
    DialogViewController broken(badMessage);
    EXPECT_DEATH(broken.loadViewIfNeeded(), "Nope-Light");
    EXPECT_DEATH(broken.estimatedHeight(), "Nope-Light");
}

TEST(DialogModel, LinksGoToTheDelegateAndNeverOpen) {
    struct Recorder : DialogDelegate {
        QList<QUrl> urls;
        void dialogShouldInteract(DialogViewController&, const QUrl& url) override {
            urls.append(url);
        }
    };
    DialogViewController dialog;
    EXPECT_FALSE(dialog.shouldInteractWithUrl(QUrl("https://example.org")));
    auto recorder = std::make_shared<Recorder>();
    dialog.delegate = recorder;
    EXPECT_FALSE(dialog.shouldInteractWithUrl(QUrl("https://example.org")));
    EXPECT_FALSE(dialog.shouldInteractWithUrl(QUrl()));
    EXPECT_EQ(recorder->urls, QList<QUrl>{QUrl("https://example.org")});
    recorder.reset();
    EXPECT_FALSE(dialog.shouldInteractWithUrl(QUrl("https://example.org")));
}
