#pragma once

#include <QList>
#include <QString>

#include "ViewController.h"

// The first screen of a first launch: two pages, one continue button, and
// then the main interface for good.
class TutorialViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Tutorial\" bundle")
    Q_PROPERTY(int tutorialProgress READ tutorialProgress NOTIFY pageChanged)
    Q_PROPERTY(QString image READ image NOTIFY pageChanged)
    Q_PROPERTY(QString titleText READ titleText NOTIFY pageChanged)
    Q_PROPERTY(QString contentText READ contentText NOTIFY pageChanged)
    Q_PROPERTY(int pageCount READ pageCount CONSTANT)

public:
    struct Page {
        QString image;
        QString title;
        QString content;
    };

    static constexpr double kRootTransitionSeconds = 0.3;

    explicit TutorialViewController(QObject* parent = nullptr);

    const QList<Page>& tutorialContent() const { return m_tutorialContent; }
    int tutorialProgress() const { return m_tutorialProgress; }
    int pageCount() const { return static_cast<int>(m_tutorialContent.size()); }
    QString image() const { return m_image; }
    QString titleText() const { return m_titleText; }
    QString contentText() const { return m_contentText; }

    bool showPage(int index);
    Q_INVOKABLE void didClickContinue();

    void viewDidLoad() override;

signals:
    void pageChanged();

private:
    QList<Page> m_tutorialContent;
    int m_tutorialProgress = 0;
    bool m_finished = false;
    QString m_image;
    QString m_titleText;
    QString m_contentText;
};
