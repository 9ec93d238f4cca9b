#include "DirectoryListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "NativeFileName.h"

namespace {

// FIFOs, sockets and devices: opening one to read its tags could wait
// forever. Links count as what they point at.
bool isSpecial(DIR* dir, const dirent& entry) {
    switch (entry.d_type) {
        case DT_FIFO:
        case DT_SOCK:
        case DT_CHR:
        case DT_BLK:
            return true;
        case DT_LNK:
        case DT_UNKNOWN: {
            struct stat status {};
            if (::fstatat(dirfd(dir), entry.d_name, &status, 0) != 0) {
                return false;  // gone, or a dangling link: whoever opens it finds nothing
            }
            return !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
        }
        default:
            return false;
    }
}

}  // namespace

DirectoryListing DirectoryListing::of(const QString& directory) {
    DirectoryListing listing;
    DIR* dir = opendir(NativeFileName::encode(directory).constData());
    if (dir == nullptr) {
        listing.error =
            QStringLiteral("%1: %2").arg(directory, QString::fromLocal8Bit(strerror(errno)));
        return listing;
    }
    errno = 0;
    while (const dirent* entry = readdir(dir)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0 &&
            !isSpecial(dir, *entry)) {
            listing.names.append(NativeFileName::decode(QByteArray(entry->d_name)));
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
