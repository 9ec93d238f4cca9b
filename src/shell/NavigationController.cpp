#include "NavigationController.h"

NavigationController::NavigationController(ViewController* rootViewController, QObject* parent)
    : ViewController(parent) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/NavigationView.qml")));
    if (rootViewController != nullptr) {
        addChildViewController(rootViewController);
        m_stack.append(rootViewController);
        setTitle(rootViewController->title());
    }
}

QList<ViewController*> NavigationController::viewControllers() const {
    QList<ViewController*> list;
    for (const auto& controller : m_stack) {
        if (controller) {
            list.append(controller);
        }
    }
    return list;
}

ViewController* NavigationController::topViewController() const {
    const QList<ViewController*> list = viewControllers();
    return list.isEmpty() ? nullptr : list.last();
}

void NavigationController::pushViewController(ViewController* controller, bool animated) {
    if (controller == nullptr || m_stack.contains(controller)) {
        return;
    }
    ViewController* below = topViewController();
    addChildViewController(controller);
    m_stack.append(controller);
    controller->loadViewIfNeeded();
    if (below != nullptr) {
        below->viewWillDisappear(animated);
    }
    controller->viewWillAppear(animated);
    emit stackChanged();
    emit pushRequested(controller, animated);
    if (below != nullptr) {
        below->viewDidDisappear(animated);
    }
    controller->viewDidAppear(animated);
}

ViewController* NavigationController::popViewControllerAnimated(bool animated) {
    if (viewControllers().size() < 2) {
        return nullptr;
    }
    ViewController* top = topViewController();
    m_stack.removeAll(QPointer<ViewController>(top));
    ViewController* below = topViewController();
    top->viewWillDisappear(animated);
    below->viewWillAppear(animated);
    emit stackChanged();
    emit popRequested(top, animated);
    top->viewDidDisappear(animated);
    below->viewDidAppear(animated);
    top->removeFromParentViewController();
    if (top->parent() == this) {
        top->deleteLater();
    }
    return top;
}

void NavigationController::viewDidLoad() {
    ViewController::viewDidLoad();
    if (ViewController* top = topViewController()) {
        top->loadViewIfNeeded();
    }
}

void NavigationController::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    if (ViewController* top = topViewController()) {
        top->viewWillAppear(animated);
    }
}

void NavigationController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    if (ViewController* top = topViewController()) {
        top->viewDidAppear(animated);
    }
}

void NavigationController::viewWillDisappear(bool animated) {
    ViewController::viewWillDisappear(animated);
    if (ViewController* top = topViewController()) {
        top->viewWillDisappear(animated);
    }
}

void NavigationController::viewDidDisappear(bool animated) {
    ViewController::viewDidDisappear(animated);
    if (ViewController* top = topViewController()) {
        top->viewDidDisappear(animated);
    }
}
