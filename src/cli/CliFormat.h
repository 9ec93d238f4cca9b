#pragma once

#include <QString>

// One value per field whatever a tag holds: tabs, line breaks and the escape
// character itself are escaped, so a script can split on tabs and newlines.
// Bytes of a file name that are not UTF-8 show as U+FFFD.
QString cliEscaped(QString value);

// Seconds with three decimals; "nan" for a file that could not be measured.
QString cliDuration(double seconds);
