#include "TutorialDialog.h"

#include "Localization.h"
#include "NoticeDialog.h"
#include "ShellColors.h"

DialogViewController* makeTutorialDialog() {
    DialogViewController::Options options;
    options.title = Localization::text("tutorial_title");
    options.attributedMessage = Localization::text("tutorial_description");
    options.fontName = QStringLiteral("AvenirNext-Medium");
    options.fontNameBold = QStringLiteral("AvenirNext-Bold");
    options.spacing = 10;
    options.widthRatio = 0.8;
    QColor message = ShellColors::darkGray();
    message.setAlphaF(0.7f);
    return makeNoticeDialog(options, message, Localization::text("OK"), 8);
}
