#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <functional>

// Runs the event loop until `condition` holds or `timeoutMs` passes; returns
// whether it held. Async tests wait with a bound and fail, never hang.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000);

// Runs what the main queue and the global thread pool have been given, and
// what that gives them in turn, until both are idle; false when that takes
// longer than `timeoutMs`. What has not happened by then was never going to
// happen without a new event from outside.
bool settle(int timeoutMs = 5000);

// The CORVANTIS_HOME this test process owns (a fresh temporary directory).
QString testHome();

// Writes `bytes` to `path`, creating parent directories; fails the test on error.
void writeFile(const QString& path, const QByteArray& bytes);
// The bytes of the file at `path`; fails the test when it cannot be read.
QByteArray readFile(const QString& path);

struct ProcessRun {
    int exitCode = -1;  // -1 when it crashed or had to be killed
    QString out;
    QString err;
};

// Runs a program to its end (killed after `timeoutMs`, which fails the test),
// in this test's environment unless `environment` is given.
ProcessRun runProcess(
    const QString& program, const QStringList& arguments, int timeoutMs = 20000,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());

// A session bus of this test's own, made before anything asks for the bus:
// DBUS_SESSION_BUS_ADDRESS points at it while it lives. `address` stays empty
// when no dbus-daemon could be started.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    QString address;

private:
    QProcess m_daemon;
};
