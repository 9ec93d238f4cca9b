#include "LazyModule.h"

#include <dlfcn.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// Where the running program lives, without needing a QCoreApplication.
QString programDirectory() {
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath().section(u'/', 0, -2);
}

}  // namespace

namespace LazyModule {

QString path(const QString& builtPath) {
    return path(builtPath, programDirectory());
}

QString path(const QString& builtPath, const QString& programDirectory) {
    const QString name = QFileInfo(builtPath).fileName();
    const QDir program(programDirectory);
    for (const QString& candidate :
         {program.filePath(name), program.filePath(installedModuleDirectory() + u'/' + name)}) {
        if (QFileInfo::exists(candidate)) {
            return QDir::cleanPath(candidate);
        }
    }
    return builtPath;
}

QString installedModuleDirectory() {
    return QStringLiteral(CORVANTIS_INSTALLED_MODULE_DIR);
}

QFunctionPointer resolve(const QString& path, const char* entry, QString* error) {
    // Never unloaded: objects the module made may outlive any owner of the
    // handle. The loader itself is used rather than QLibrary, whose records
    // of a library still held at exit are dropped unfreed.
    void* handle = ::dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        if (error) {
            *error = QString::fromLocal8Bit(::dlerror());
        }
        return nullptr;
    }
    const auto function = reinterpret_cast<QFunctionPointer>(::dlsym(handle, entry));
    if (!function && error) {
        *error = QStringLiteral("%1 is not a module of this build").arg(path);
    }
    return function;
}

}  // namespace LazyModule
