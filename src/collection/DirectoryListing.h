#pragma once

#include <QString>
#include <QStringList>

// The entries of one directory in the order the file system gives them, all of
// them (hidden ones and subdirectories too), without "." and ".." and without
// FIFOs, sockets and devices, which no reader may open. Names keep their bytes
// (NativeFileName), so one that is not UTF-8 can still be opened.
struct DirectoryListing {
    bool ok = false;
    QStringList names;
    QString error;  // why it could not be listed

    static DirectoryListing of(const QString& directory);
};
