#include "UploadStagingArea.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <cerrno>

namespace {

const char* const kLockName = ".lock";

// A folder whose lock file can be taken belongs to no running server.
void sweepAbandoned(const QString& root) {
    const QDir rootDir(root);
    for (const QString& name :
         rootDir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
        const QString folder = rootDir.filePath(name);
        const int fd = ::open(QFile::encodeName(folder + QLatin1Char('/') + kLockName).constData(),
                              O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            QDir(folder).removeRecursively();
        }
        ::close(fd);
    }
}

}  // namespace

UploadStagingArea::~UploadStagingArea() {
    close();
}

bool UploadStagingArea::open(const QString& root, int* error) {
    close();
    QDir().mkpath(root);
    sweepAbandoned(root);
    QByteArray folder = QFile::encodeName(root + QStringLiteral("/XXXXXX"));
    if (!::mkdtemp(folder.data())) {
        *error = errno;
        return false;
    }
    const QString path = QFile::decodeName(folder);
    const int fd = ::open(QFile::encodeName(path + QLatin1Char('/') + kLockName).constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 || ::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        *error = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        QDir(path).removeRecursively();
        return false;
    }
    m_root = root;
    m_path = path;
    m_lockFd = fd;
    return true;
}

void UploadStagingArea::close() {
    if (m_path.isEmpty()) {
        return;
    }
    QDir(m_path).removeRecursively();
    ::close(m_lockFd);
    m_lockFd = -1;
    m_path.clear();
    // The shared root goes too once no other server uses it.
    QDir().rmdir(m_root);
}
