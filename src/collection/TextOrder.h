#pragma once

#include <QString>

// Texts order by Unicode scalar value after canonical normalisation, with no
// locale: upper case before lower case, and canonically equivalent spellings
// equal. Negative, zero or positive like strcmp.
int compareText(const QString& a, const QString& b);
