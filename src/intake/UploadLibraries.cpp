#include "UploadLibraries.h"

#include "LazyModule.h"

const UploadLibraries* UploadLibraries::shared(QString* error) {
    return LazyModule::sharedTable<UploadLibraries>(modulePath(), kUploadLibrariesEntry,
                                                    "upload server's libraries", error);
}

QString UploadLibraries::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_UPLOAD_LIBRARIES_MODULE));
}
