#include "TagReader.h"

#include "LazyModule.h"
#include "TagLibrary.h"

const TagLibrary* TagLibrary::shared() {
    return LazyModule::sharedTable<TagLibrary>(modulePath(), kTagLibraryEntry, "tag library",
                                               nullptr);
}

QString TagLibrary::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_TAG_LIBRARY_MODULE));
}

TagFields TagReader::readFields(const QString& path) {
    const TagLibrary* library = TagLibrary::shared();
    return library ? library->readFields(path) : TagFields{};
}

std::optional<QByteArray> TagReader::readFrontCover(const QString& path) {
    const TagLibrary* library = TagLibrary::shared();
    return library ? library->readFrontCover(path) : std::nullopt;
}
