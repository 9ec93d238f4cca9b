#include "QuickTestHarness.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QPointingDevice>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QTest>
#include <functional>

#include "AppDelegate.h"
#include "AppStyle.h"
#include "Bundles.h"
#include "Localization.h"
#include "Navigation.h"
#include "Storyboard.h"
#include "TestSupport.h"

namespace {

bool effectivelyVisible(const QQuickItem* item) {
    for (const QQuickItem* up = item; up != nullptr; up = up->parentItem()) {
        if (!up->isVisible() || up->opacity() <= 0.0) {
            return false;
        }
    }
    return item->width() > 0 && item->height() > 0;
}

// Depth first, children in reverse stacking order, so that what is drawn on
// top is found first.
QQuickItem* search(QQuickItem* item, const std::function<bool(const QString&)>& matches) {
    if (item == nullptr || !item->isVisible() || item->opacity() <= 0.0) {
        return nullptr;
    }
    QList<QQuickItem*> children = item->childItems();
    std::stable_sort(children.begin(), children.end(),
                     [](QQuickItem* a, QQuickItem* b) { return a->z() < b->z(); });
    for (qsizetype i = children.size() - 1; i >= 0; --i) {
        if (QQuickItem* found = search(children[i], matches)) {
            return found;
        }
    }
    if (matches(QuickTestHarness::accessibleName(item)) && effectivelyVisible(item)) {
        return item;
    }
    return nullptr;
}

}  // namespace

QuickTestHarness::QuickTestHarness(Start start) {
    static bool registered = false;
    if (!registered) {
        Localization::install();
        installAppStyle();
        registerBundles();
        registered = true;
    }
    m_engine = std::make_unique<QQmlApplicationEngine>();
    if (start == Start::application) {
        m_delegate = std::make_unique<AppDelegate>();
        if (!m_delegate->applicationDidFinishLaunching(*m_engine)) {
            ADD_FAILURE() << "the application could not make its window";
            return;
        }
    } else {
        AppDelegate::addModuleImportPath(*m_engine);
        m_engine->load(QUrl(QStringLiteral("qrc:/Corvantis/Shell/Main.qml")));
        if (m_engine->rootObjects().isEmpty()) {
            ADD_FAILURE() << "the window could not be made";
            return;
        }
    }
    showWindow();
}

void QuickTestHarness::showWindow() {
    m_window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
    m_window->setGeometry(0, 0, 390, 844);
    m_window->show();
    m_window->requestActivate();
    if (!QTest::qWaitForWindowExposed(m_window)) {
        ADD_FAILURE() << "the window was never shown";
    }
}

QString QuickTestHarness::accessibleName(const QQuickItem* item) {
    return accessibleText(item, "name");
}

QString QuickTestHarness::accessibleDescription(const QQuickItem* item) {
    return accessibleText(item, "description");
}

QString QuickTestHarness::accessibleText(const QQuickItem* item, const char* property) {
    // The Accessible attached object is a child of the item it describes.
    for (const QObject* child : item->children()) {
        if (qstrcmp(child->metaObject()->className(), "QQuickAccessibleAttached") == 0) {
            return child->property(property).toString();
        }
    }
    return {};
}

QuickTestHarness::~QuickTestHarness() {
    Navigation::shared().detachWindow();
    m_engine.reset();
    m_delegate.reset();
    // Items the window let go of with destroy() are only deleted from the
    // event loop; without this their images would outlive the test.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void QuickTestHarness::launch() {
    Navigation::shared().makeKeyAndVisible(
        Storyboard::storyboardWithName(AppDelegate::initialBundleName())
            .instantiateInitialViewController());
    settle(100);
}

QQuickWindow* QuickTestHarness::window() const {
    return m_window;
}

void QuickTestHarness::resize(int width, int height) {
    m_window->resize(width, height);
    settle(50);
}

QQuickItem* QuickTestHarness::find(const QString& name) const {
    return m_window ? search(m_window->contentItem(),
                             [&](const QString& candidate) { return candidate == name; })
                    : nullptr;
}

QQuickItem* QuickTestHarness::findMatching(const QRegularExpression& pattern) const {
    const QRegularExpression whole(QRegularExpression::anchoredPattern(pattern.pattern()),
                                   pattern.patternOptions());
    return m_window ? search(m_window->contentItem(),
                             [&](const QString& candidate) {
                                 return !candidate.isEmpty() && whole.match(candidate).hasMatch();
                             })
                    : nullptr;
}

QQuickItem* QuickTestHarness::waitFor(const QString& name, int timeoutMs) const {
    QQuickItem* item = nullptr;
    waitUntil([&] { return (item = find(name)) != nullptr; }, timeoutMs);
    if (item == nullptr) {
        ADD_FAILURE() << "nothing named \"" << name.toStdString() << "\" is on show";
    }
    return item;
}

bool QuickTestHarness::isShown(const QString& name) const {
    return find(name) != nullptr;
}

QPointF QuickTestHarness::centreOf(QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
}

void QuickTestHarness::tap(const QString& name) {
    if (QQuickItem* item = waitFor(name)) {
        tap(item);
    }
}

void QuickTestHarness::tap(QQuickItem* item) {
    // A control that slides in (a sheet from below) is tapped where it comes
    // to rest, not outside the window on its way.
    const QRectF inside(QPointF(0, 0), m_window->size());
    waitUntil([&] { return inside.contains(centreOf(item)); }, 2000);
    tapAt(centreOf(item));
}

void QuickTestHarness::tapAt(QPointF point) {
    const QPoint p = point.toPoint();
    QTest::mousePress(m_window, Qt::LeftButton, Qt::NoModifier, p);
    QTest::mouseRelease(m_window, Qt::LeftButton, Qt::NoModifier, p, 30);
    settle(30);
}

void QuickTestHarness::drag(QPointF from, QPointF to, int steps, int msPerStep) {
    QTest::mousePress(m_window, Qt::LeftButton, Qt::NoModifier, from.toPoint());
    for (int i = 1; i <= steps; ++i) {
        const QPointF at = from + (to - from) * (static_cast<double>(i) / steps);
        QTest::mouseMove(m_window, at.toPoint(), msPerStep);
    }
    QTest::mouseRelease(m_window, Qt::LeftButton, Qt::NoModifier, to.toPoint(), 1);
}

void QuickTestHarness::touchDrag(QPointF from, QPointF to, int steps, int msPerStep) {
    static QPointingDevice* device = QTest::createTouchDevice();
    QTest::touchEvent(m_window, device).press(0, from.toPoint(), m_window);
    for (int i = 1; i <= steps; ++i) {
        QTest::qWait(msPerStep);
        const QPointF at = from + (to - from) * (static_cast<double>(i) / steps);
        QTest::touchEvent(m_window, device).move(0, at.toPoint(), m_window);
    }
    QTest::touchEvent(m_window, device).release(0, to.toPoint(), m_window);
}

void QuickTestHarness::key(int key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(m_window, static_cast<Qt::Key>(key), modifiers);
    settle(30);
}

void QuickTestHarness::type(const QString& text) {
    for (const QChar c : text) {
        QTest::keyClick(m_window, c.toLatin1());
    }
    settle(30);
}

QStringList QuickTestHarness::tabStops(int presses) {
    QStringList stops;
    for (int i = 0; i < presses; ++i) {
        key(Qt::Key_Tab);
        const QQuickItem* focused = m_window->activeFocusItem();
        stops << (focused ? accessibleName(focused) : QStringLiteral("<none>"));
    }
    return stops;
}

void QuickTestHarness::settle(int ms) {
    QTest::qWait(ms);
}

QString QuickTestHarness::screenshot(const QString& name) const {
    const QString folder = QStringLiteral(CORVANTIS_SCREENSHOT_DIR);
    QDir().mkpath(QFileInfo(folder + QLatin1Char('/') + name).absolutePath());
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".png");
    // Whatever is moving comes to rest first, so the picture shows the screen.
    QTest::qWait(350);
    const QImage image = m_window->grabWindow();
    if (image.isNull() || !image.save(path)) {
        ADD_FAILURE() << "could not save the screenshot " << path.toStdString();
    }
    return path;
}
