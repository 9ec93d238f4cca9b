#include "IndexDatabase.h"

#include "LazyModule.h"

const IndexDatabase* IndexDatabase::shared() {
    return LazyModule::sharedTable<IndexDatabase>(modulePath(), kIndexDatabaseEntry,
                                                  "library index's database", nullptr);
}

QString IndexDatabase::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_INDEX_DATABASE_MODULE));
}
