#include "CliFormat.h"

#include <cmath>

#include "NativeFileName.h"

QString cliEscaped(QString value) {
    value = NativeFileName::forDisplay(value);
    value.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    value.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    value.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    value.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    return value;
}

QString cliDuration(double seconds) {
    if (std::isnan(seconds)) {
        return QStringLiteral("nan");
    }
    return QString::number(seconds, 'f', 3);
}
