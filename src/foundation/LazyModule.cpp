#include "LazyModule.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

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
    // library handle.
    QLibrary library(path);
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const QFunctionPointer function = library.resolve(entry);
    if (!function && error) {
        *error = library.isLoaded() ? QStringLiteral("%1 is not a module of this build").arg(path)
                                    : library.errorString();
    }
    return function;
}

}  // namespace LazyModule
