#include "TextOrder.h"

#include <algorithm>

int compareText(const QString& a, const QString& b) {
    if (a == b) {
        return 0;
    }
    return compareNormalized(normalizedForOrder(a), normalizedForOrder(b));
}

QString normalizedForOrder(const QString& text) {
    return text.normalized(QString::NormalizationForm_C);
}

int compareNormalized(const QString& left, const QString& right) {
    // UTF-16 order puts the surrogates (characters beyond U+FFFF) before
    // U+E000..U+FFFF; ranking the units moves them back behind.
    const auto scalarRank = [](char16_t unit) -> int {
        if (unit >= 0xE000) {
            return unit - 0x800;
        }
        if (unit >= 0xD800) {
            return unit + 0x2000;
        }
        return unit;
    };
    const qsizetype common = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < common; ++i) {
        const char16_t x = left.at(i).unicode();
        const char16_t y = right.at(i).unicode();
        if (x != y) {
            return scalarRank(x) < scalarRank(y) ? -1 : 1;
        }
    }
    return left.size() < right.size() ? -1 : (left.size() > right.size() ? 1 : 0);
}
