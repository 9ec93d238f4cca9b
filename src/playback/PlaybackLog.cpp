#include "PlaybackLog.h"

Q_LOGGING_CATEGORY(lcPlayback, "corvantis.playback", QtInfoMsg)
