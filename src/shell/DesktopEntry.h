#pragma once

#include <QString>

// The desktop's entry for the window: a launcher, and, once an application
// key is configured, the handler of the cloud sign-in's redirect links
// (x-scheme-handler/db-<key>), so that the browser hands them to the window.
class DesktopEntry {
public:
    static QString fileName() { return QStringLiteral("corvantis.desktop"); }

    // The entry that starts `executable`; without a key it claims no links.
    static QString contents(const QString& executable, const QString& appKey);
    // Where the user's own entries live: $XDG_DATA_HOME/applications.
    static QString applicationsDirectory();

    // Writes the entry for the running binary and the configured key into
    // applicationsDirectory(), and makes it the links' default handler where
    // xdg-mime is installed. Says what it did on standard output, what failed
    // on standard error; returns the exit code of the command.
    static int install();
};
