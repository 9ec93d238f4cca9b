#include "Containment.h"

#include "DrawerController.h"
#include "NavigationController.h"

void replaceChild(ViewController& parent, ViewController* from, ViewController* to,
                  const std::optional<QString>& title) {
    if (from != nullptr && from->parentViewController() != nullptr) {
        from->removeFromParentViewController();
    }
    if (to == nullptr) {
        return;
    }
    parent.addChildViewController(to);
    to->loadViewIfNeeded();
    if (title) {
        parent.setTitle(*title);
    }
}

DrawerController* findDrawerController(const ViewController& controller) {
    const ViewController* from = &controller;
    while (true) {
        const NavigationController* stack = from->navigationController();
        ViewController* up =
            stack != nullptr ? stack->parentViewController() : from->parentViewController();
        if (up == nullptr) {
            return nullptr;
        }
        if (auto* drawer = qobject_cast<DrawerController*>(up)) {
            return drawer;
        }
        from = up;
    }
}
