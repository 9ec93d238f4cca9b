#include "BackgroundPool.h"

#include <QThread>
#include <QThreadPool>

namespace BackgroundPool {

QThreadPool& shared() {
    static QThreadPool pool;
    static const bool sized = [] {
        pool.setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
        return true;
    }();
    Q_UNUSED(sized);
    return pool;
}

}  // namespace BackgroundPool
