#include "Navigation.h"

#include <QLoggingCategory>
#include <QQmlEngine>

Q_LOGGING_CATEGORY(lcNavigation, "corvantis.navigation")

Navigation& Navigation::shared() {
    static Navigation* instance = new Navigation;
    return *instance;
}

Navigation* Navigation::create(QQmlEngine*, QJSEngine*) {
    Navigation* navigation = &shared();
    QQmlEngine::setObjectOwnership(navigation, QQmlEngine::CppOwnership);
    return navigation;
}

Navigation::Navigation(QObject* parent) : QObject(parent) {}

int Navigation::enqueue(Completion completion) {
    const int id = m_nextRequest++;
    m_pending.insert(id, std::move(completion));
    return id;
}

void Navigation::transitionFinished(int requestId) {
    Completion completion = m_pending.take(requestId);
    if (completion) {
        completion();
    }
}

void Navigation::attachWindow() {
    m_windowAttached = true;
    if (m_root) {
        // The window came after its root: show the root as it stands.
        emit rootTransitionRequested(m_root, 0, 0.0, enqueue({}));
    }
}

void Navigation::setWindowSize(const QSizeF& size) {
    if (m_windowSize == size) {
        return;
    }
    m_windowSize = size;
    emit windowMetricsChanged();
}

void Navigation::setSafeAreaInsets(qreal left, qreal top, qreal right, qreal bottom) {
    const QMarginsF insets(left, top, right, bottom);
    if (m_safeAreaInsets == insets) {
        return;
    }
    m_safeAreaInsets = insets;
    emit windowMetricsChanged();
}

void Navigation::detachWindow() {
    m_windowAttached = false;
    m_windowSize = {};
    m_safeAreaInsets = {};
    // Nothing will report these transitions any more; end them now so that
    // no completion is lost.
    const QList<int> ids = m_pending.keys();
    for (int id : ids) {
        transitionFinished(id);
    }
}

void Navigation::makeKeyAndVisible(ViewController* root) {
    if (root == nullptr) {
        qFatal("Navigation: the window needs a root screen");
    }
    ViewController* old = m_root;
    m_root = root;
    if (root->parent() == nullptr) {
        root->setParent(this);
    }
    root->loadViewIfNeeded();
    root->viewWillAppear(false);
    emit rootViewControllerChanged();
    auto appeared = [this, root = QPointer<ViewController>(root), old = QPointer(old)] {
        if (old && old != root && old->parent() == this) {
            old->deleteLater();
        }
        if (root) {
            root->viewDidAppear(false);
        }
    };
    if (m_windowAttached) {
        emit rootTransitionRequested(root, 0, 0.0, enqueue(std::move(appeared)));
    } else {
        appeared();
    }
}

void Navigation::changeRootViewController(ViewController* controller, int options, double duration,
                                          Completion completion) {
    if (!m_root || controller == nullptr) {
        return;
    }
    QPointer<ViewController> old = m_root;
    m_root = controller;
    if (controller->parent() == nullptr) {
        controller->setParent(this);
    }
    controller->loadViewIfNeeded();
    if (old) {
        old->viewWillDisappear(duration > 0);
    }
    controller->viewWillAppear(duration > 0);
    emit rootViewControllerChanged();
    auto finished = [this, old, controller = QPointer<ViewController>(controller), duration,
                     completion = std::move(completion)] {
        if (old) {
            old->viewDidDisappear(duration > 0);
            if (old->parent() == this) {
                old->deleteLater();
            }
        }
        if (controller) {
            controller->viewDidAppear(duration > 0);
        }
        if (completion) {
            completion();
        }
    };
    if (m_windowAttached) {
        emit rootTransitionRequested(controller, options, duration, enqueue(std::move(finished)));
    } else {
        finished();
    }
}

ViewController* Navigation::topPresentedViewController() const {
    ViewController* top = m_root;
    while (top != nullptr && top->presentedViewController() != nullptr) {
        top = top->presentedViewController();
    }
    return top;
}

namespace {

// Whether the presenter's own screen goes out of sight under this style.
bool coversPresenter(ModalPresentationStyle style) {
    return style == ModalPresentationStyle::fullScreen ||
           style == ModalPresentationStyle::pageSheet ||
           style == ModalPresentationStyle::formSheet ||
           style == ModalPresentationStyle::currentContext;
}

}  // namespace

void Navigation::present(ViewController* presenter, ViewController* controller, bool animated,
                         Completion completion) {
    if (controller == nullptr) {
        qCWarning(lcNavigation) << "present: no screen to present";
        return;
    }
    if (presenter == nullptr) {
        presenter = m_root;
    }
    if (presenter == nullptr) {
        qCWarning(lcNavigation) << "present: there is no window to present" << controller;
        return;
    }
    if (controller->presentingViewController() != nullptr || controller == m_root) {
        qCWarning(lcNavigation) << "present: the screen is already on show" << controller;
        return;
    }
    // A screen that already presents one passes the request up its chain, so
    // that a second alert stacks over the first instead of being lost.
    while (presenter->presentedViewController() != nullptr) {
        presenter = presenter->presentedViewController();
    }
    presenter->m_presentedViewController = controller;
    controller->m_presentingViewController = presenter;
    if (controller->parent() == nullptr) {
        controller->setParent(presenter);
    }
    emit controller->presentingViewControllerChanged();
    const ModalPresentationStyle style = controller->modalPresentationStyle();
    const bool covers = coversPresenter(style);
    controller->loadViewIfNeeded();
    if (covers) {
        presenter->viewWillDisappear(animated);
    }
    controller->viewWillAppear(animated);
    emit presenter->presentedViewControllerChanged();

    auto appeared = [presenter = QPointer(presenter), controller = QPointer(controller), covers,
                     animated, completion = std::move(completion)] {
        if (covers && presenter) {
            presenter->viewDidDisappear(animated);
        }
        if (controller) {
            controller->viewDidAppear(animated);
        }
        if (completion) {
            completion();
        }
    };
    if (m_windowAttached) {
        emit presentRequested(controller, presenter, static_cast<int>(style), animated,
                              enqueue(std::move(appeared)));
    } else {
        appeared();
    }
}

void Navigation::dismiss(ViewController* controller, bool animated, Completion completion) {
    if (controller == nullptr) {
        return;
    }
    // A screen inside a presented container (a stack, a tab) dismisses the
    // container.
    ViewController* presented = controller;
    while (presented != nullptr && presented->presentingViewController() == nullptr) {
        presented = presented->parentViewController();
    }
    if (presented == nullptr) {
        qCWarning(lcNavigation) << "dismiss: the screen is not presented" << controller;
        return;
    }
    if (m_dismissing.contains(presented)) {
        qCDebug(lcNavigation) << "dismiss: already on its way out" << presented;
        return;
    }
    m_dismissing.insert(presented);
    connect(presented, &QObject::destroyed, this,
            [this, presented] { m_dismissing.remove(presented); });
    // Whatever stands above goes with it, without its own animation.
    if (ViewController* above = presented->presentedViewController()) {
        dismiss(above, false, {});
    }
    ViewController* presenter = presented->presentingViewController();
    const bool covers = coversPresenter(presented->modalPresentationStyle());
    presented->viewWillDisappear(animated);
    if (covers && presenter) {
        presenter->viewWillAppear(animated);
    }
    auto gone = [this, presenter = QPointer(presenter), presented = QPointer(presented),
                 leaving = static_cast<const ViewController*>(presented), covers, animated,
                 completion = std::move(completion)] {
        m_dismissing.remove(leaving);
        if (presented) {
            presented->viewDidDisappear(animated);
            presented->m_presentingViewController = nullptr;
            emit presented->presentingViewControllerChanged();
        }
        if (presenter) {
            if (presenter->m_presentedViewController == presented) {
                presenter->m_presentedViewController = nullptr;
            }
            emit presenter->presentedViewControllerChanged();
            if (covers) {
                presenter->viewDidAppear(animated);
            }
        }
        if (presented && presented->parent() == presenter) {
            presented->deleteLater();
        }
        if (completion) {
            completion();
        }
    };
    if (m_windowAttached) {
        emit dismissRequested(presented, animated, enqueue(std::move(gone)));
    } else {
        gone();
    }
}
