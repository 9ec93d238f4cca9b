#pragma once

#include <QtGlobal>

// A point on a timeline counted in frames at a rate: the engine's render clock
// (node time) or a player's own timeline (player time).
struct AudioTime {
    qint64 sampleTime = 0;
    double sampleRate = 0.0;

    double seconds() const { return sampleRate > 0.0 ? double(sampleTime) / sampleRate : 0.0; }
};
