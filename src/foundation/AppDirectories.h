#pragma once

#include <QString>

// Every directory the application writes to hangs below one root, so that a
// test or a second profile owns its whole world by setting CORVANTIS_HOME.
class AppDirectories {
public:
    // $CORVANTIS_HOME, else the platform's application-data location.
    static QString home();
    // The user's documents directory; created on demand.
    static QString documentsDirectory();
    static QString settingsFile();
    static QString cachesDirectory();
    // Private configuration such as sign-in tokens (kept readable by the user only).
    static QString configDirectory();
    // Without a login session Qt would warn about the missing runtime
    // directory on every start; this gives it the private folder it would
    // pick anyway. Call before the application object is made.
    static void provideRuntimeDirectory();
};

// The flat music folder, "Downloaded Music" in the documents directory. Fixed
// for the life of the process on first use; created if missing, and a failure
// to create it is not reported (the scans then simply find nothing).
const QString& downloadedMusicDirectory();
