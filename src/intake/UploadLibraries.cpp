#include "UploadLibraries.h"

#include <mutex>

#include "LazyModule.h"
#include "Log.h"

const UploadLibraries* UploadLibraries::shared(QString* error) {
    static std::once_flag once;
    static const UploadLibraries* libraries = nullptr;
    static QString failure;
    std::call_once(once, [] {
        const auto entry = reinterpret_cast<UploadLibrariesEntry>(
            LazyModule::resolve(modulePath(), kUploadLibrariesEntry, &failure));
        libraries = entry ? entry() : nullptr;
        if (!libraries) {
            failure =
                QStringLiteral("The upload server's libraries cannot be loaded: %1").arg(failure);
            systemLog(failure);
        }
    });
    if (!libraries && error) {
        *error = failure;
    }
    return libraries;
}

QString UploadLibraries::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_UPLOAD_LIBRARIES_MODULE));
}
