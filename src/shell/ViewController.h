#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QString>
#include <QUrl>
#include <functional>

class NavigationController;

// How a screen is shown over the one that presents it. The numbers are the
// ones the screens' logic passes around.
enum class ModalPresentationStyle {
    fullScreen = 0,
    pageSheet = 1,
    formSheet = 2,
    currentContext = 3,
    custom = 4,
    overFullScreen = 5,
    overCurrentContext = 6,
    popover = 7,
};

// One screen: the C++ side holds its state and rules, the QML view named by
// viewSource draws it and forwards gestures. The window's QML makes the view
// when the screen is shown and drives the life-cycle calls below; controllers
// never hold QML items, they ask Navigation to present, push or dismiss.
class ViewController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("screens are made by their bundles")
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QUrl viewSource READ viewSource CONSTANT)
    Q_PROPERTY(bool viewLoaded READ isViewLoaded NOTIFY viewLoadedChanged)
    Q_PROPERTY(int modalPresentationStyle READ modalPresentationStyleValue NOTIFY
                   modalPresentationStyleChanged)
    Q_PROPERTY(QRectF popoverSourceRect READ popoverSourceRect WRITE setPopoverSourceRect NOTIFY
                   popoverSourceRectChanged)
    Q_PROPERTY(ViewController* presentedViewController READ presentedViewController NOTIFY
                   presentedViewControllerChanged)
    Q_PROPERTY(ViewController* presentingViewController READ presentingViewController NOTIFY
                   presentingViewControllerChanged)

public:
    using Completion = std::function<void()>;

    explicit ViewController(QObject* parent = nullptr);
    ~ViewController() override;

    QString title() const { return m_title; }
    virtual void setTitle(const QString& title);

    // The QML component that draws this screen; set once by whoever makes it.
    QUrl viewSource() const { return m_viewSource; }
    void setViewSource(const QUrl& source) { m_viewSource = source; }

    bool isViewLoaded() const { return m_viewLoaded; }

    ModalPresentationStyle modalPresentationStyle() const { return m_modalPresentationStyle; }
    void setModalPresentationStyle(ModalPresentationStyle style);
    int modalPresentationStyleValue() const { return static_cast<int>(m_modalPresentationStyle); }

    // Where a popover points on a wide window, in window coordinates: the
    // control it came from. Empty: the popover stands in the middle.
    QRectF popoverSourceRect() const { return m_popoverSourceRect; }
    void setPopoverSourceRect(const QRectF& rect);

    // Containment: a child's view lives inside its parent's (tabs, areas, the
    // stack of a navigation controller).
    ViewController* parentViewController() const { return m_parentViewController; }
    QList<ViewController*> childViewControllers() const;
    void addChildViewController(ViewController* child);
    void removeFromParentViewController();
    // The nearest navigation controller above this screen, if any.
    NavigationController* navigationController() const;

    // Modal presentation, carried out by the window through Navigation.
    ViewController* presentedViewController() const { return m_presentedViewController; }
    ViewController* presentingViewController() const { return m_presentingViewController; }
    void presentViewController(ViewController* controller, bool animated,
                               Completion completion = {});
    // Dismisses what this screen presents, or, when it presents nothing, this
    // screen itself.
    void dismissViewController(bool animated, Completion completion = {});
    // The same from a view's close control or a tap outside a popover.
    Q_INVOKABLE void dismissAnimated() { dismissViewController(true); }

    // Life cycle, called by the window's QML (or by Navigation when no window
    // is attached). Subclasses call the parent first, like the platform's.
    Q_INVOKABLE virtual void viewDidLoad();
    Q_INVOKABLE virtual void viewWillAppear(bool animated);
    Q_INVOKABLE virtual void viewDidAppear(bool animated);
    Q_INVOKABLE virtual void viewWillDisappear(bool animated);
    Q_INVOKABLE virtual void viewDidDisappear(bool animated);
    // Makes sure viewDidLoad ran once; QML calls this when it made the view.
    Q_INVOKABLE void loadViewIfNeeded();

signals:
    void titleChanged();
    void viewLoadedChanged();
    void modalPresentationStyleChanged();
    void popoverSourceRectChanged();
    void presentedViewControllerChanged();
    void presentingViewControllerChanged();
    // A child was added or removed (tabs and areas redraw their container).
    void childViewControllersChanged();

private:
    friend class Navigation;

    QString m_title;
    QUrl m_viewSource;
    bool m_viewLoaded = false;
    ModalPresentationStyle m_modalPresentationStyle = ModalPresentationStyle::fullScreen;
    QRectF m_popoverSourceRect;
    QPointer<ViewController> m_parentViewController;
    QList<QPointer<ViewController>> m_children;
    QPointer<ViewController> m_presentedViewController;
    QPointer<ViewController> m_presentingViewController;
};
