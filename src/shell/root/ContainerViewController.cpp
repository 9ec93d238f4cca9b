#include "ContainerViewController.h"

#include "Containment.h"

ContainerViewController::ContainerViewController(QObject* parent) : ViewController(parent) {}

void ContainerViewController::showChild(ViewController* to, const std::optional<QString>& title) {
    ViewController* from = m_visibleViewController;
    if (m_onScreen && from != nullptr) {
        from->viewWillDisappear(false);
    }
    replaceChild(*this, from, to, title);
    m_visibleViewController = to;
    emit visibleViewControllerChanged();
    if (!m_onScreen) {
        return;
    }
    if (from != nullptr) {
        from->viewDidDisappear(false);
    }
    if (to != nullptr) {
        to->viewWillAppear(false);
        to->viewDidAppear(false);
    }
}

void ContainerViewController::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    if (m_visibleViewController) {
        m_visibleViewController->viewWillAppear(animated);
    }
}

void ContainerViewController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    m_onScreen = true;
    if (m_visibleViewController) {
        m_visibleViewController->viewDidAppear(animated);
    }
}

void ContainerViewController::viewWillDisappear(bool animated) {
    ViewController::viewWillDisappear(animated);
    if (m_visibleViewController) {
        m_visibleViewController->viewWillDisappear(animated);
    }
}

void ContainerViewController::viewDidDisappear(bool animated) {
    ViewController::viewDidDisappear(animated);
    m_onScreen = false;
    if (m_visibleViewController) {
        m_visibleViewController->viewDidDisappear(animated);
    }
}
