#pragma once

#include "ViewController.h"

// A stack of screens under one bar that shows the top screen's title and a
// back control. Its view carries out pushes and pops as they are asked for.
class NavigationController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++")
    Q_PROPERTY(ViewController* topViewController READ topViewController NOTIFY stackChanged)
    Q_PROPERTY(int depth READ depth NOTIFY stackChanged)
    Q_PROPERTY(QList<ViewController*> viewControllers READ viewControllers NOTIFY stackChanged)

public:
    explicit NavigationController(ViewController* rootViewController = nullptr,
                                  QObject* parent = nullptr);

    QList<ViewController*> viewControllers() const;
    ViewController* topViewController() const;
    int depth() const { return static_cast<int>(viewControllers().size()); }

    void pushViewController(ViewController* controller, bool animated);
    // Returns the screen taken off, or null when only the first is left.
    Q_INVOKABLE ViewController* popViewControllerAnimated(bool animated);

    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;

signals:
    void stackChanged();
    // For the view: show this screen on top, or take the top one away.
    void pushRequested(ViewController* controller, bool animated);
    void popRequested(ViewController* controller, bool animated);

private:
    QList<QPointer<ViewController>> m_stack;
};
