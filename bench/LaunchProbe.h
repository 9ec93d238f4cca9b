#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QMap>
#include <QProcess>
#include <optional>
#include <vector>

// What the start-up benches share: the clock the application reports on, and
// the reading of its reports ("first frame <ns>", "first row <ns>").
namespace LaunchProbe {

// The system's monotonic clock, as the application's reports read it.
qint64 monotonicNs();

// Reads the started `process`'s standard output until every marker of
// `markers` has been reported with its time; nothing when the process ends
// or `timeoutMs` passes first.
std::optional<QMap<QByteArray, qint64>> waitForReports(QProcess& process,
                                                       const QByteArrayList& markers,
                                                       int timeoutMs);

// Ends the process, asking first.
void stop(QProcess& process);

double median(std::vector<double> values);

}  // namespace LaunchProbe
