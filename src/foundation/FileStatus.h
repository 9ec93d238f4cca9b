#pragma once

#include <sys/types.h>

#include <QFile>
#include <QString>
#include <optional>

// What is at a path, symbolic links followed, and which file it is. Paths go
// to the system through NativeFileName, so names that are not UTF-8 work.
struct FileStatus {
    enum class Type { missing, regular, directory, other };

    Type type = Type::missing;
    dev_t device = 0;
    ino_t inode = 0;

    static FileStatus of(const QString& path);

    bool exists() const { return type != Type::missing; }
    bool isRegular() const { return type == Type::regular; }
    // FIFOs, sockets and devices: opening or reading one can wait forever.
    bool isSpecial() const { return type == Type::other; }
    // Both name the same file, through whatever links, hard or symbolic.
    bool isSameFileAs(const FileStatus& other) const {
        return exists() && other.exists() && device == other.device && inode == other.inode;
    }
};

// Opens `path` for reading when it is a regular file, without waiting on a
// FIFO that has no writer. Nothing on success, else why not.
std::optional<QString> openRegularFile(QFile& file, const QString& path);
