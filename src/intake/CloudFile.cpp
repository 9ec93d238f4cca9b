#include "CloudFile.h"

#include <QHashFunctions>

size_t qHash(const CloudFile& file, size_t seed) {
    return qHashMulti(seed, file.id, file.name, file.source ? int(*file.source) + 1 : 0);
}

QString FileProtocol::id() const {
    return std::visit([](const auto& entry) { return entry.id; }, m_entry);
}

QString FileProtocol::name() const {
    return std::visit([](const auto& entry) { return entry.name; }, m_entry);
}

double TransferProgress::fractionCompleted() const {
    if (totalUnitCount <= 0) {
        return 0.0;
    }
    return double(completedUnitCount) / double(totalUnitCount);
}
