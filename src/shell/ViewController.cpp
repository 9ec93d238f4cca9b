#include "ViewController.h"

#include "Navigation.h"
#include "NavigationController.h"

ViewController::ViewController(QObject* parent) : QObject(parent) {}

ViewController::~ViewController() = default;

void ViewController::setTitle(const QString& title) {
    // An empty title and no title compare equal as strings, yet only the
    // first is a title: going between them is a change.
    if (m_title == title && m_title.isNull() == title.isNull()) {
        return;
    }
    m_title = title;
    emit titleChanged();
}

void ViewController::setModalPresentationStyle(ModalPresentationStyle style) {
    if (m_modalPresentationStyle == style) {
        return;
    }
    m_modalPresentationStyle = style;
    emit modalPresentationStyleChanged();
}

void ViewController::setPopoverSourceRect(const QRectF& rect) {
    if (m_popoverSourceRect == rect) {
        return;
    }
    m_popoverSourceRect = rect;
    emit popoverSourceRectChanged();
}

QList<ViewController*> ViewController::childViewControllers() const {
    QList<ViewController*> children;
    for (const auto& child : m_children) {
        if (child) {
            children.append(child);
        }
    }
    return children;
}

void ViewController::addChildViewController(ViewController* child) {
    if (child == nullptr || child == this) {
        return;
    }
    if (child->m_parentViewController == this) {
        return;
    }
    child->removeFromParentViewController();
    child->m_parentViewController = this;
    if (child->parent() == nullptr) {
        child->setParent(this);
    }
    m_children.append(child);
    emit childViewControllersChanged();
}

void ViewController::removeFromParentViewController() {
    ViewController* parent = m_parentViewController;
    if (parent == nullptr) {
        return;
    }
    m_parentViewController = nullptr;
    parent->m_children.removeAll(QPointer<ViewController>(this));
    emit parent->childViewControllersChanged();
}

NavigationController* ViewController::navigationController() const {
    for (ViewController* up = m_parentViewController; up != nullptr;
         up = up->m_parentViewController) {
        if (auto* navigation = qobject_cast<NavigationController*>(up)) {
            return navigation;
        }
    }
    return nullptr;
}

void ViewController::presentViewController(ViewController* controller, bool animated,
                                           Completion completion) {
    Navigation::shared().present(this, controller, animated, std::move(completion));
}

void ViewController::dismissViewController(bool animated, Completion completion) {
    ViewController* target = m_presentedViewController ? m_presentedViewController.data() : this;
    Navigation::shared().dismiss(target, animated, std::move(completion));
}

void ViewController::viewDidLoad() {}
void ViewController::viewWillAppear(bool) {}
void ViewController::viewDidAppear(bool) {}
void ViewController::viewWillDisappear(bool) {}
void ViewController::viewDidDisappear(bool) {}

void ViewController::loadViewIfNeeded() {
    if (m_viewLoaded) {
        return;
    }
    m_viewLoaded = true;
    emit viewLoadedChanged();
    viewDidLoad();
}
