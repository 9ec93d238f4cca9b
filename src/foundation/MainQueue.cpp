#include "MainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace MainQueue {

void async(std::function<void()> work) {
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr) {
        qFatal("MainQueue::async called before the application object exists");
    }
    QMetaObject::invokeMethod(app, std::move(work), Qt::QueuedConnection);
}

}  // namespace MainQueue
