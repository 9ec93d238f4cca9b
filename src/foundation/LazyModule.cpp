#include "LazyModule.h"

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
    const QString besideProgram = programDirectory() + u'/' + QFileInfo(builtPath).fileName();
    return QFileInfo::exists(besideProgram) ? besideProgram : builtPath;
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
