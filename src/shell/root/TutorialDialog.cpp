#include "TutorialDialog.h"

#include "DialogViewController.h"
#include "Localization.h"
#include "ShellColors.h"

DialogViewController* makeTutorialDialog() {
    DialogViewController::Options options;
    options.title = Localization::text("tutorial_title");
    options.attributedMessage = Localization::text("tutorial_description");
    options.fontName = QStringLiteral("AvenirNext-Medium");
    options.fontNameBold = QStringLiteral("AvenirNext-Bold");
    options.spacing = 10;
    options.stackSpacing = 0;
    options.sideSpacing = 20;
    options.titleFontSize = 20;
    options.messageFontSize = 16;
    options.buttonHeight = 45;
    options.cancelButtonHeight = 0;
    options.widthRatio = 0.8;
    auto* dialog = new DialogViewController(options);
    dialog->setTitleColor(Qt::black);
    QColor message = ShellColors::darkGray();
    message.setAlphaF(0.7f);
    dialog->setMessageColor(message);
    dialog->addAction(std::make_shared<DialogAction>(
        Localization::text("OK"),
        [](DialogViewController& shown) { shown.dismissViewController(true); }));
    dialog->blurBackground = false;
    dialog->showSeparator = false;
    dialog->buttonStyle = [](DialogButtonLook& look, qreal, int) {
        look.titleColor = Qt::white;
        look.borderColor = ShellColors::buttonColor();
        look.backgroundColor = look.borderColor;
        look.cornerRadius = 8;
    };
    return dialog;
}
