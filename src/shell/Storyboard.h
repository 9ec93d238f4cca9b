#pragma once

#include <QHash>
#include <QString>
#include <QUrl>
#include <functional>

class ViewController;

// Screens are opened by the name of their bundle, as the screens' logic names
// them ("Main", "Player", ...). Each subsystem registers its bundles once at
// start; a bundle that has not been built yet opens a plain page bearing its
// name, so the frame can be walked end to end before every screen exists.
class Storyboard {
public:
    using Factory = std::function<ViewController*()>;

    struct Bundle {
        Factory initial;
        QHash<QString, Factory> identified;
    };

    static void registerBundle(const QString& name, Bundle bundle);
    static bool isRegistered(const QString& name);
    // Forgets every registration (tests that build their own set).
    static void unregisterAll();

    // A screen of class T drawn by the QML at `view`.
    template <typename T>
    static Factory screen(const QUrl& view) {
        return [view] {
            auto* controller = new T;
            controller->setViewSource(view);
            return static_cast<ViewController*>(controller);
        };
    }

    static Storyboard storyboardWithName(const QString& name) { return Storyboard(name); }

    QString name() const { return m_name; }
    // A new instance each time; the caller (or the screen that shows it) owns it.
    ViewController* instantiateInitialViewController() const;
    // A registered bundle without that identifier is a programming error.
    ViewController* instantiateViewControllerWithIdentifier(const QString& identifier) const;

private:
    explicit Storyboard(QString name) : m_name(std::move(name)) {}
    ViewController* placeholder(const QString& what) const;

    QString m_name;
};
