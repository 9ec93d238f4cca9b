#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <QThreadPool>
#include <algorithm>
#include <array>
#include <memory>

#include "BackgroundPool.h"
#include "MainQueue.h"

bool waitUntil(const std::function<bool()>& condition, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

bool settle(int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    const std::array<QThreadPool*, 3> pools{QThreadPool::globalInstance(),
                                            &BackgroundPool::shared(), &BackgroundPool::bulk()};
    for (;;) {
        for (QThreadPool* pool : pools) {
            if (!pool->waitForDone(int(deadline.remainingTime()))) {
                return false;
            }
        }
        // The main queue runs in order: once this has run, so has all before it.
        auto reached = std::make_shared<bool>(false);
        MainQueue::async([reached] { *reached = true; });
        if (!waitUntil([&] { return *reached; }, int(deadline.remainingTime()))) {
            return false;
        }
        if (std::all_of(pools.cbegin(), pools.cend(),
                        [](QThreadPool* pool) { return pool->activeThreadCount() == 0; })) {
            return true;
        }
    }
}

QString testHome() {
    return qEnvironmentVariable("CORVANTIS_HOME");
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

ProcessRun runProcess(const QString& program, const QStringList& arguments, int timeoutMs,
                      const QProcessEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        ADD_FAILURE() << program.toStdString() << " did not finish in " << timeoutMs << " ms";
        process.kill();
        process.waitForFinished();
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

PrivateBus::PrivateBus() {
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--session"), QStringLiteral("--nofork"),
                    QStringLiteral("--print-address=1")});
    if (m_daemon.waitForStarted(5000) && waitUntil([&] { return m_daemon.canReadLine(); }, 5000)) {
        address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
    }
}

PrivateBus::~PrivateBus() {
    m_daemon.kill();
    m_daemon.waitForFinished(2000);
}
