#pragma once

#include <QString>

// Texts order by Unicode scalar value after canonical normalisation, with no
// locale: upper case before lower case, and canonically equivalent spellings
// equal. Negative, zero or positive like strcmp.
int compareText(const QString& a, const QString& b);

// The same order over texts already in normalisation form C, for sorts that
// normalise each key once instead of on every comparison.
QString normalizedForOrder(const QString& text);
int compareNormalized(const QString& left, const QString& right);
