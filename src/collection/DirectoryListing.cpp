#include "DirectoryListing.h"

#include <dirent.h>

#include <QFile>
#include <cerrno>
#include <cstring>

DirectoryListing DirectoryListing::of(const QString& directory) {
    DirectoryListing listing;
    DIR* dir = opendir(QFile::encodeName(directory).constData());
    if (dir == nullptr) {
        listing.error =
            QStringLiteral("%1: %2").arg(directory, QString::fromLocal8Bit(strerror(errno)));
        return listing;
    }
    errno = 0;
    while (const dirent* entry = readdir(dir)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            listing.names.append(QFile::decodeName(entry->d_name));
        }
        errno = 0;
    }
    const int error = errno;
    closedir(dir);
    if (error != 0) {
        listing.names.clear();
        listing.error =
            QStringLiteral("%1: %2").arg(directory, QString::fromLocal8Bit(strerror(error)));
        return listing;
    }
    listing.ok = true;
    return listing;
}
