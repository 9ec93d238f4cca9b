#pragma once

#include <QString>
#include <functional>

// Runs the event loop until `condition` holds or `timeoutMs` passes; returns
// whether it held. Async tests wait with a bound and fail, never hang.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000);

// Runs the event loop for `ms` milliseconds.
void spinEventLoop(int ms);

// The CORVANTIS_HOME this test process owns (a fresh temporary directory).
QString testHome();

// Writes `bytes` to `path`, creating parent directories; fails the test on error.
void writeFile(const QString& path, const QByteArray& bytes);
