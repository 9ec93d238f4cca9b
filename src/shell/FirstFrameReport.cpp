#include "FirstFrameReport.h"

#include <chrono>
#include <cstdio>

FirstFrameReport::FirstFrameReport(QObject* parent)
    : QObject(parent), m_requested(!qEnvironmentVariableIsEmpty("CORVANTIS_REPORT_FIRST_FRAME")) {}

FirstFrameReport* FirstFrameReport::create(QQmlEngine*, QJSEngine*) {
    return new FirstFrameReport;
}

namespace {

void report(const char* what) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    std::printf("%s %lld\n", what, static_cast<long long>(std::chrono::nanoseconds(now).count()));
    std::fflush(stdout);
}

}  // namespace

void FirstFrameReport::frameShown() {
    if (!m_requested) {
        return;
    }
    if (!m_reported) {
        m_reported = true;
        report("first frame");
    }
    if (m_rowPending && !m_rowReported) {
        m_rowReported = true;
        report("first row");
    }
}

void FirstFrameReport::rowShown() {
    m_rowPending = m_requested;
}
