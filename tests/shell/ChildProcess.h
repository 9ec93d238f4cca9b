#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// A program that runs beside the test, its standard error collected for the
// test to read; it is stopped when the test ends, however it ends.
class ChildProcess {
public:
    ChildProcess(const QString& program, const QStringList& arguments,
                 const QProcessEnvironment& environment) {
        QObject::connect(&m_process, &QProcess::readyReadStandardError,
                         [this] { m_err += QString::fromUtf8(m_process.readAllStandardError()); });
        m_process.setProcessEnvironment(environment);
        m_process.start(program, arguments);
        m_process.waitForStarted();
    }
    ~ChildProcess() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                kill();
            }
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    QProcess& process() { return m_process; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    // Stops it at once, as a crash would.
    void kill() {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    const QString& err() const { return m_err; }

private:
    QProcess m_process;
    QString m_err;
};
