#include "ReplacingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFileInfo>
#include <QRandomGenerator>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "NativeFileName.h"

namespace {

constexpr int kNameAttempts = 100;

}  // namespace

ReplacingFile::ReplacingFile(QString path) : m_path(std::move(path)) {}

ReplacingFile::~ReplacingFile() {
    discard();
}

bool ReplacingFile::fail(int error) {
    m_error = QString::fromLocal8Bit(std::strerror(error));
    discard();
    return false;
}

void ReplacingFile::discard() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temporary.isEmpty()) {
        ::unlink(m_temporary.constData());
        m_temporary.clear();
    }
}

bool ReplacingFile::open() {
    discard();
    const QFileInfo info(m_path);
    // Hidden, beside the file, so that the rename stays on one file system.
    const QByteArray stem = NativeFileName::encode(info.path() + QLatin1String("/.") +
                                                   info.fileName() + QLatin1Char('.'));
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const QByteArray candidate =
            stem + QByteArray::number(QRandomGenerator::global()->generate(), 36) + ".tmp";
        m_fd = ::open(candidate.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_fd >= 0) {
            m_temporary = candidate;
            return true;
        }
        if (errno != EEXIST) {
            return fail(errno);
        }
    }
    return fail(EEXIST);
}

bool ReplacingFile::write(const char* data, qint64 size) {
    if (m_fd < 0) {
        return fail(EBADF);
    }
    while (size > 0) {
        const ssize_t written = ::write(m_fd, data, size_t(size));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return fail(errno);
        }
        data += written;
        size -= written;
    }
    return true;
}

bool ReplacingFile::commit() {
    if (m_fd < 0) {
        return fail(EBADF);
    }
    if (::fsync(m_fd) != 0) {
        return fail(errno);
    }
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0) {
        return fail(errno);
    }
    // rename() replaces the directory entry, a symbolic link included.
    if (::rename(m_temporary.constData(), NativeFileName::encode(m_path).constData()) != 0) {
        return fail(errno);
    }
    m_temporary.clear();
    return true;
}

std::optional<QString> ReplacingFile::replace(const QString& path, const QByteArray& bytes) {
    ReplacingFile file(path);
    if (!file.open() || !file.write(bytes) || !file.commit()) {
        return file.errorString();
    }
    return std::nullopt;
}
