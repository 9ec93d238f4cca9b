#include "LaunchProbe.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <chrono>

namespace LaunchProbe {

qint64 monotonicNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::optional<QMap<QByteArray, qint64>> waitForReports(QProcess& process,
                                                       const QByteArrayList& markers,
                                                       int timeoutMs) {
    QMap<QByteArray, qint64> reports;
    QByteArray pending;
    const QDeadlineTimer deadline(timeoutMs);
    while (reports.size() < markers.size()) {
        if (!process.waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime())))) {
            return std::nullopt;
        }
        pending += process.readAllStandardOutput();
        qsizetype end;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QByteArray line = pending.left(end).trimmed();
            pending.remove(0, end + 1);
            for (const QByteArray& marker : markers) {
                if (line.startsWith(marker + ' ')) {
                    reports.insert(marker, line.mid(marker.size() + 1).toLongLong());
                }
            }
        }
    }
    return reports;
}

void stop(QProcess& process) {
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n == 0 ? 0 : n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

}  // namespace LaunchProbe
