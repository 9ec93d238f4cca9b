#pragma once

#include <QString>
#include <QStringList>

// The entries of one directory in the order the file system gives them, all of
// them (hidden ones and subdirectories too), without "." and "..".
struct DirectoryListing {
    bool ok = false;
    QStringList names;
    QString error;  // why it could not be listed

    static DirectoryListing of(const QString& directory);
};
