#pragma once

#include <QString>
#include <QtGlobal>

// A float WAV whose every sample tells where it came from: frame k of channel c
// holds (k + 1) / 2^24 on the left and its negation on the right, exact in
// float for up to 2^24 frames. Lets a test name the source frame of any output
// sample.
QString writePatternFile(const QString& name, double sampleRate, qint64 frames, int channels = 2);
// The source frame an output sample encodes; -1 for silence.
qint64 patternFrame(float sample);
// A float WAV of a sine at `hertz` and `amplitude`.
QString writeSineFile(const QString& name, double sampleRate, qint64 frames, double hertz,
                      double amplitude, int channels = 2);
