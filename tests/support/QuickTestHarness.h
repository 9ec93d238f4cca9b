#pragma once

#include <QPointF>
#include <QString>
#include <memory>

class AppDelegate;
class QQmlApplicationEngine;
class QQuickItem;
class QQuickWindow;
class QRegularExpression;

// The real application window, offscreen, for tests that use the screens the
// way a person does: controls are found by their accessible names and driven
// with real pointer and key events. Every bundle is registered as the
// application registers it. Make one per test.
class QuickTestHarness {
public:
    enum class Start {
        // The window alone; launch() opens its first screen.
        window,
        // The application's own launch, as the executable runs it: the audio
        // session, the first screen, then the remote commands.
        application,
    };

    explicit QuickTestHarness(Start start = Start::window);
    ~QuickTestHarness();

    // Opens the window's first screen as the launch does ("Main" or "Tutorial").
    void launch();

    QQuickWindow* window() const;
    // Resizes the window (the default is the phone size, 390 x 844).
    void resize(int width, int height);

    // The first visible item whose Accessible.name is `name`, searched from
    // the top of the window's stacking order; null when none is on show.
    QQuickItem* find(const QString& name) const;
    // The same, failing the test when there is none after `timeoutMs`.
    QQuickItem* waitFor(const QString& name, int timeoutMs = 3000) const;
    // Whether a visible item with that name is on show.
    bool isShown(const QString& name) const;
    // The first visible item whose whole Accessible.name matches `pattern`,
    // for controls that carry what they show (an address, a count).
    QQuickItem* findMatching(const QRegularExpression& pattern) const;

    // A press and release at the centre of the named control (or of `item`).
    void tap(const QString& name);
    void tap(QQuickItem* item);
    // A tap at a point of the window, in window coordinates.
    void tapAt(QPointF point);
    // A mouse drag in `steps` moves, `msPerStep` apart in event time, so that
    // the speed the items see is (to - from) / (steps * msPerStep).
    void drag(QPointF from, QPointF to, int steps = 10, int msPerStep = 16);
    // The same with a touch point.
    void touchDrag(QPointF from, QPointF to, int steps = 10, int msPerStep = 16);
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    // The names of the items Tab stops at, `presses` times from where the
    // focus stands; an unnamed stop is an empty name, leaving the window
    // "<none>".
    QStringList tabStops(int presses);
    void type(const QString& text);

    // The centre of an item in window coordinates.
    static QPointF centreOf(QQuickItem* item);
    // The Accessible.name an item carries; empty when it has none.
    static QString accessibleName(const QQuickItem* item);
    // Its Accessible.description; empty when it has none.
    static QString accessibleDescription(const QQuickItem* item);

    // Lets animations and queued work run for a while (event time, not a check).
    void settle(int ms = 400);
    // Saves the window as <build>/screenshots/<name>.png and returns the path.
    QString screenshot(const QString& name) const;

private:
    static QString accessibleText(const QQuickItem* item, const char* property);
    void showWindow();

    std::unique_ptr<QQmlApplicationEngine> m_engine;
    std::unique_ptr<AppDelegate> m_delegate;
    QQuickWindow* m_window = nullptr;
    qulonglong m_timestamp = 1000;
};
