#pragma once

#include <QtQml/qqmlregistration.h>
#include <QHash>
#include <QMarginsF>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QSizeF>
#include <functional>

#include "ViewController.h"

class QQmlEngine;
class QJSEngine;

// The one window's navigation, as the screens ask for it: the window's root
// (with a cross-dissolve when it changes), modal presentation and dismissal
// with completions, and the chain of presented screens. C++ asks; the
// window's QML carries it out and reports back when each transition ends.
// Before a window is attached (tests of controllers, a headless run) every
// request completes at once, as an unanimated one would.
class Navigation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(
        ViewController* rootViewController READ rootViewController NOTIFY rootViewControllerChanged)
    Q_PROPERTY(QSizeF windowSize READ windowSize WRITE setWindowSize NOTIFY windowMetricsChanged)

public:
    using Completion = std::function<void()>;

    // The transition option of a cross-dissolve, as screens pass it.
    static constexpr int kTransitionCrossDissolve = 0x500000;

    static Navigation& shared();
    static Navigation* create(QQmlEngine*, QJSEngine*);

    // The key window's root; null before the window is made.
    ViewController* rootViewController() const { return m_root; }
    bool hasKeyWindow() const { return !m_root.isNull(); }
    // Makes the window with this root, at once (the launch).
    void makeKeyAndVisible(ViewController* root);
    // Swaps the key window's root with a transition. Without a key window
    // nothing happens, not even the completion.
    void changeRootViewController(ViewController* controller, int options, double duration,
                                  Completion completion = {});

    // The screen on top of the chain of presented screens from the root.
    ViewController* topPresentedViewController() const;

    void present(ViewController* presenter, ViewController* controller, bool animated,
                 Completion completion);
    void dismiss(ViewController* controller, bool animated, Completion completion);

    // From the window's QML.
    Q_INVOKABLE void attachWindow();
    Q_INVOKABLE void detachWindow();
    // A transition asked for by one of the signals below has ended.
    Q_INVOKABLE void transitionFinished(int requestId);
    bool isWindowAttached() const { return m_windowAttached; }

    // The window's size and the edges its content keeps clear of, as the
    // window reports them; empty and zero without a window. Screens that
    // size themselves from the screen (the dialog) read them here.
    QSizeF windowSize() const { return m_windowSize; }
    void setWindowSize(const QSizeF& size);
    QMarginsF safeAreaInsets() const { return m_safeAreaInsets; }
    Q_INVOKABLE void setSafeAreaInsets(qreal left, qreal top, qreal right, qreal bottom);

signals:
    void rootViewControllerChanged();
    void windowMetricsChanged();
    // The window swaps its root: `options` and `duration` say how.
    void rootTransitionRequested(ViewController* controller, int options, double duration,
                                 int requestId);
    void presentRequested(ViewController* controller, ViewController* presenter, int style,
                          bool animated, int requestId);
    void dismissRequested(ViewController* controller, bool animated, int requestId);

private:
    explicit Navigation(QObject* parent = nullptr);
    int enqueue(Completion completion);

    QPointer<ViewController> m_root;
    bool m_windowAttached = false;
    QSizeF m_windowSize;
    QMarginsF m_safeAreaInsets;
    int m_nextRequest = 1;
    QHash<int, Completion> m_pending;
    // Screens on their way out: a second dismissal of one (a double tap on a
    // close button) is refused rather than run twice.
    QSet<const ViewController*> m_dismissing;
};
