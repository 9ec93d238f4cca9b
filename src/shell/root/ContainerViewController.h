#pragma once

#include <QPointer>
#include <optional>

#include "ViewController.h"

// A screen that shows one of its children at a time in its container (an
// area of the root, a tab of an area). Appearance passes down to the child
// on show, and a swap while on screen tells both children.
class ContainerViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a base of the frame's containers")
    Q_PROPERTY(ViewController* visibleViewController READ visibleViewController NOTIFY
                   visibleViewControllerChanged)

public:
    explicit ContainerViewController(QObject* parent = nullptr);

    ViewController* visibleViewController() const { return m_visibleViewController; }
    bool isOnScreen() const { return m_onScreen; }

    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;

signals:
    void visibleViewControllerChanged();

protected:
    // replaceChild from the visible child to `to`, which becomes the visible one.
    void showChild(ViewController* to, const std::optional<QString>& title);

private:
    QPointer<ViewController> m_visibleViewController;
    bool m_onScreen = false;
};
