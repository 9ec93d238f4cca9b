#include "BackgroundPool.h"

#include <sys/resource.h>

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace BackgroundPool {

namespace {

std::atomic<bool> g_stopping{false};

void stopAndDrain() {
    g_stopping.store(true, std::memory_order_relaxed);
    drain();
}

// Never destroyed: a pool's destructor would run among the statics, after
// those made later than it (which its work may use) were gone. It is drained
// instead, from the first moment the process is known to be ending.
QThreadPool* made(int threads) {
    static const bool hooked = [] {
        if (QCoreApplication::instance()) {
            qAddPostRoutine(stopAndDrain);
        }
        std::atexit(stopAndDrain);
        return true;
    }();
    Q_UNUSED(hooked);
    auto* pool = new QThreadPool;
    pool->setMaxThreadCount(threads);
    return pool;
}

}  // namespace

QThreadPool& shared() {
    static QThreadPool* const pool = made(std::max(1, QThread::idealThreadCount()));
    return *pool;
}

QThreadPool& bulk() {
    static QThreadPool* const pool = made(1);
    return *pool;
}

void yieldToTheWindow() {
    // Each thread has its own nice value on Linux; who 0 is the caller.
    // Qt's thread priorities do nothing for ordinary threads here.
    constexpr int kNice = 10;
    thread_local const bool lowered = ::setpriority(PRIO_PROCESS, 0, kNice) == 0;
    Q_UNUSED(lowered);
}

bool stopping() {
    return g_stopping.load(std::memory_order_relaxed);
}

void drain() {
    // The bulk pass first: a scan's results may still queue covers on it.
    bulk().waitForDone();
    shared().waitForDone();
    bulk().waitForDone();
}

}  // namespace BackgroundPool
