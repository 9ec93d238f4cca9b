#include "NoticeDialog.h"

#include "ShellColors.h"

DialogViewController* makeNoticeDialog(DialogViewController::Options options,
                                       const QColor& messageColor, const QString& buttonTitle,
                                       qreal buttonCornerRadius) {
    options.stackSpacing = 0;
    options.sideSpacing = 20;
    options.titleFontSize = 20;
    options.messageFontSize = 16;
    options.buttonHeight = 45;
    options.cancelButtonHeight = 0;
    auto* dialog = new DialogViewController(options);
    dialog->setTitleColor(Qt::black);
    dialog->setMessageColor(messageColor);
    dialog->addAction(std::make_shared<DialogAction>(
        buttonTitle, [](DialogViewController& shown) { shown.dismissViewController(true); }));
    dialog->blurBackground = false;
    dialog->showSeparator = false;
    dialog->buttonStyle = [buttonCornerRadius](DialogButtonLook& look, qreal, int) {
        look.titleColor = Qt::white;
        look.borderColor = ShellColors::buttonColor();
        look.backgroundColor = look.borderColor;
        look.cornerRadius = buttonCornerRadius;
    };
    return dialog;
}
