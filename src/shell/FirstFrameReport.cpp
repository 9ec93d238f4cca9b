#include "FirstFrameReport.h"

#include <chrono>
#include <cstdio>

FirstFrameReport::FirstFrameReport(QObject* parent)
    : QObject(parent), m_requested(!qEnvironmentVariableIsEmpty("CORVANTIS_REPORT_FIRST_FRAME")) {}

FirstFrameReport* FirstFrameReport::create(QQmlEngine*, QJSEngine*) {
    return new FirstFrameReport;
}

void FirstFrameReport::frameShown() {
    if (!m_requested || m_reported) {
        return;
    }
    m_reported = true;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    std::printf("first frame %lld\n",
                static_cast<long long>(std::chrono::nanoseconds(now).count()));
    std::fflush(stdout);
}
