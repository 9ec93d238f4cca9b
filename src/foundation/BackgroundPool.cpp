#include "BackgroundPool.h"

#include <sys/resource.h>

#include <QThread>
#include <QThreadPool>
#include <algorithm>

namespace BackgroundPool {

namespace {

QThreadPool& sized(QThreadPool& pool, int threads) {
    pool.setMaxThreadCount(threads);
    return pool;
}

}  // namespace

QThreadPool& shared() {
    static QThreadPool pool;
    static QThreadPool& ready = sized(pool, std::max(1, QThread::idealThreadCount()));
    return ready;
}

QThreadPool& bulk() {
    static QThreadPool pool;
    static QThreadPool& ready = sized(pool, 1);
    return ready;
}

void yieldToTheWindow() {
    // Each thread has its own nice value on Linux; who 0 is the caller.
    // Qt's thread priorities do nothing for ordinary threads here.
    constexpr int kNice = 10;
    thread_local const bool lowered = ::setpriority(PRIO_PROCESS, 0, kNice) == 0;
    Q_UNUSED(lowered);
}

}  // namespace BackgroundPool
