#include "FileStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "NativeFileName.h"

namespace {

FileStatus::Type typeOf(mode_t mode) {
    if (S_ISREG(mode)) {
        return FileStatus::Type::regular;
    }
    if (S_ISDIR(mode)) {
        return FileStatus::Type::directory;
    }
    return FileStatus::Type::other;
}

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

}  // namespace

FileStatus FileStatus::of(const QString& path) {
    struct stat status {};
    if (::stat(NativeFileName::encode(path).constData(), &status) != 0) {
        return {};
    }
    return {typeOf(status.st_mode), status.st_dev, status.st_ino};
}

std::optional<QString> openRegularFile(QFile& file, const QString& path) {
    // Non-blocking only for the open itself: a FIFO would wait there for a
    // writer. What was opened is then tested, not the name, which may change.
    const int fd =
        ::open(NativeFileName::encode(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return systemError(errno);
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        const int error = errno;
        ::close(fd);
        return systemError(error);
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(fd);
        return S_ISDIR(status.st_mode) ? systemError(EISDIR) : QStringLiteral("Not a regular file");
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0 ||
        !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        const QString error = file.errorString();
        ::close(fd);
        return error;
    }
    return std::nullopt;
}
