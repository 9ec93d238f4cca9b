#include "BackgroundPool.h"

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

}  // namespace BackgroundPool
