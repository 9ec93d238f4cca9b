#pragma once

#include <QPointer>

#include "ViewController.h"

// The side menu over the main content. The main screen fills the window; the
// drawer slides in over it from the leading edge, opened by the menu control
// or an edge swipe and closed by a tap beside it, a swipe back or Escape.
class DrawerController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Main\" bundle")
    Q_PROPERTY(ViewController* mainViewController READ mainViewController CONSTANT)
    Q_PROPERTY(ViewController* drawerViewController READ drawerViewController CONSTANT)
    Q_PROPERTY(int drawerState READ drawerStateValue NOTIFY drawerStateChanged)
    Q_PROPERTY(bool animated READ isAnimated NOTIFY drawerStateChanged)
    Q_PROPERTY(qreal drawerWidth READ drawerWidth CONSTANT)
    Q_PROPERTY(int preferredStatusBarStyle READ preferredStatusBarStyle CONSTANT)

public:
    // The numbers the screens pass around.
    enum class DrawerState { opened = 0, closed = 1 };

    static constexpr qreal kDefaultDrawerWidth = 300;

    DrawerController(ViewController* mainViewController, ViewController* drawerViewController,
                     qreal drawerWidth = kDefaultDrawerWidth, QObject* parent = nullptr);

    ViewController* mainViewController() const { return m_main; }
    ViewController* drawerViewController() const { return m_drawer; }
    DrawerState drawerState() const { return m_state; }
    int drawerStateValue() const { return static_cast<int>(m_state); }
    bool isAnimated() const { return m_animated; }
    qreal drawerWidth() const { return m_drawerWidth; }
    // Light content over the dark bar.
    int preferredStatusBarStyle() const { return 1; }

    void setDrawerState(DrawerState state, bool animated);
    // From the view: the menu control, the edge swipe, a tap beside the drawer.
    Q_INVOKABLE void openDrawer() { setDrawerState(DrawerState::opened, true); }
    Q_INVOKABLE void closeDrawer() { setDrawerState(DrawerState::closed, true); }

    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;

signals:
    void drawerStateChanged();

private:
    QPointer<ViewController> m_main;
    QPointer<ViewController> m_drawer;
    DrawerState m_state = DrawerState::closed;
    bool m_animated = false;
    qreal m_drawerWidth;
};
