#include "TutorialViewController.h"

#include "Localization.h"
#include "Navigation.h"
#include "ReviewPrompt.h"
#include "Storyboard.h"
#include "UserDefaults.h"

namespace {
const QString kDidShowTutorial = QStringLiteral("DidShowTutorial");
}

TutorialViewController::TutorialViewController(QObject* parent)
    : ViewController(parent),
      m_tutorialContent{
          {QStringLiteral("Tutorial 1"), Localization::text("tutorial_1_title"),
           Localization::text("tutorial_1_content")},
          {QStringLiteral("Tutorial 2"), Localization::text("tutorial_2_title"),
           Localization::text("tutorial_2_content")},
      } {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/TutorialView.qml")));
}

void TutorialViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    showPage(m_tutorialProgress);
}

bool TutorialViewController::showPage(int index) {
    if (index < 0 || index >= m_tutorialContent.size()) {
        return false;
    }
    const Page& page = m_tutorialContent[index];
    m_image = page.image;
    m_titleText = page.title;
    m_contentText = page.content;
    m_tutorialProgress = index;
    emit pageChanged();
    return true;
}

void TutorialViewController::didClickContinue() {
    // A second tap while the main interface fades in must not make another.
    if (m_finished || showPage(m_tutorialProgress + 1)) {
        return;
    }
    m_finished = true;
    UserDefaults::standard().setBool(true, kDidShowTutorial);
    ReviewPrompt::current().requestReview();
    ViewController* main =
        Storyboard::storyboardWithName(QStringLiteral("Main")).instantiateInitialViewController();
    Navigation::shared().changeRootViewController(main, Navigation::kTransitionCrossDissolve,
                                                  kRootTransitionSeconds);
}
