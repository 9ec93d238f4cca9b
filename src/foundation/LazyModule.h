#pragma once

#include <QString>
#include <QtGlobal>

#include "Log.h"

// Libraries that a start does not need (sound device, decoders, the upload
// server's network stack, the keychain) live in modules loaded on first use,
// so that the window's first frame does not wait for the dynamic loader to
// map and relocate them and all they pull in.
namespace LazyModule {

// Where a module is looked for: beside the running program, then in the
// modules folder of the installed layout (lib/corvantis beside bin), else
// where the build put it (`builtPath`, for tests and tools that run from their
// own build directories).
QString path(const QString& builtPath);
// The same for a program that lives in `programDirectory`.
QString path(const QString& builtPath, const QString& programDirectory);
// The installed layout's modules folder, relative to the programs' folder.
QString installedModuleDirectory();

// Loads the module at `path` for the life of the process and resolves its
// entry point; nullptr with the reason in `error` when the module is missing
// or is not one of this build.
QFunctionPointer resolve(const QString& path, const char* entry, QString* error);

// For a module that is nothing but a table of a library's functions: the
// table its `entry` hands out, loaded once per table type. When that fails,
// `what` and the reason are logged once ("The <what> cannot be loaded: ...")
// and nullptr answers from then on, with that line in `error`.
template <typename Table>
const Table* sharedTable(const QString& path, const char* entry, const char* what, QString* error) {
    struct Loaded {
        const Table* table = nullptr;
        QString failure;
    };
    static const Loaded loaded = [&] {
        using Entry = const Table* (*)();
        Loaded result;
        const auto function = reinterpret_cast<Entry>(resolve(path, entry, &result.failure));
        result.table = function ? function() : nullptr;
        if (!result.table) {
            result.failure = QStringLiteral("The %1 cannot be loaded: %2")
                                 .arg(QLatin1String(what), result.failure);
            systemLog(result.failure);
        }
        return result;
    }();
    if (!loaded.table && error) {
        *error = loaded.failure;
    }
    return loaded.table;
}

}  // namespace LazyModule
