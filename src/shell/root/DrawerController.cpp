#include "DrawerController.h"

DrawerController::DrawerController(ViewController* mainViewController,
                                   ViewController* drawerViewController, qreal drawerWidth,
                                   QObject* parent)
    : ViewController(parent),
      m_main(mainViewController),
      m_drawer(drawerViewController),
      m_drawerWidth(drawerWidth) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/DrawerView.qml")));
    if (m_main == nullptr || m_drawer == nullptr) {
        qFatal("DrawerController: a drawer needs its main screen and its menu");
    }
    addChildViewController(m_main);
    addChildViewController(m_drawer);
    // The window's title follows the area on show.
    setTitle(m_main->title());
    connect(m_main.data(), &ViewController::titleChanged, this,
            [this] { setTitle(m_main->title()); });
}

void DrawerController::setDrawerState(DrawerState state, bool animated) {
    if (m_state == state) {
        return;
    }
    m_state = state;
    m_animated = animated;
    emit drawerStateChanged();
}

void DrawerController::viewDidLoad() {
    ViewController::viewDidLoad();
    m_main->loadViewIfNeeded();
    m_drawer->loadViewIfNeeded();
}

void DrawerController::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    m_main->viewWillAppear(animated);
}

void DrawerController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    m_main->viewDidAppear(animated);
}

void DrawerController::viewWillDisappear(bool animated) {
    ViewController::viewWillDisappear(animated);
    m_main->viewWillDisappear(animated);
}

void DrawerController::viewDidDisappear(bool animated) {
    ViewController::viewDidDisappear(animated);
    m_main->viewDidDisappear(animated);
}
