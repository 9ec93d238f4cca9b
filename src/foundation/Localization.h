#pragma once

#include <QString>

// Shown texts are looked up by key (qtTrId), as the screens name them. The
// English texts are compiled into the binary; install() makes them active.
namespace Localization {
void install();
QString text(const char* key);
}  // namespace Localization
