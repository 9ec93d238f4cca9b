#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLocale>
#include <QTemporaryDir>

// Each test process gets a world of its own: a fresh CORVANTIS_HOME that is
// removed afterwards, and an application object for the event loop.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    if (!home.isValid()) {
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("CORVANTIS_TEST_KEEP_HOME")) {
        qputenv("CORVANTIS_HOME", home.path().toUtf8());
    }
    // Without a login session Qt warns about the runtime directory on every
    // start, in this process and in every program a test runs.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString runtime = home.filePath(QStringLiteral("runtime"));
        QDir().mkpath(runtime);
        QFile::setPermissions(
            runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    // Tests compare shown texts with the English ones, whatever the machine speaks.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return RUN_ALL_TESTS();
}
