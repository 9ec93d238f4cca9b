#pragma once

#include <QObject>
#include <QUrl>
#include <memory>

class MprisService;
class QQmlApplicationEngine;
class QQmlEngine;

// The application's start, in a fixed order: the audio session, the window
// with "Main" or, until the tutorial has run to its end, "Tutorial", then
// after its first frame the remote commands (which make the shared player,
// its graph and the restored equalizer). There is no analytics step: nothing is tracked and
// nothing goes over the network at launch.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // Steps 2 to 5 of the launch; the window is loaded into `engine`.
    // Returns false when the window could not be made.
    bool applicationDidFinishLaunching(QQmlApplicationEngine& engine);
    // Lets the views of every module import the others' QML types.
    static void addModuleImportPath(QQmlEngine& engine);

    // The bundle the launch opens: "Main" once the tutorial has run, else "Tutorial".
    static QString initialBundleName();
    // The window's own QML, which holds every screen.
    static QUrl windowUrl();

    // A URL handed to the application (by the desktop or a second start):
    // the cloud sign-in's redirect goes to the cloud client; anything else is
    // refused with one log line. Returns true always, as the platform expects.
    bool openURL(const QUrl& url);

private:
    void setupRemoteCommandsOnce();

    std::shared_ptr<MprisService> m_remoteCommands;
    bool m_remoteCommandsSetUp = false;
};
