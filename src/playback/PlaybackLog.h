#pragma once

#include <QLoggingCategory>

// Diagnostics of the playback subsystem (not the system's own log lines).
Q_DECLARE_LOGGING_CATEGORY(lcPlayback)
