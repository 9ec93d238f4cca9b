#include "FakeServiceProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QStringList>
#include <csignal>

#include "FakeDropbox.h"

FakeServiceProcess FakeServiceProcess::start(const std::function<void(FakeDropbox&)>& fill) {
    int channel[2];
    if (pipe(channel) != 0) {
        return {};
    }
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        close(channel[0]);
        int argc = 1;
        char name[] = "fake-service";
        char* argv[] = {name, nullptr};
        QCoreApplication app(argc, argv);
        FakeDropbox fake;
        fill(fake);
        const DropboxTokens tokens = fake.issueTokens();
        const QByteArray hello =
            (QStringList{fake.url().toString(), tokens.accessToken, tokens.refreshToken}.join(
                 '\n') +
             '\n')
                .toUtf8();
        if (write(channel[1], hello.constData(), hello.size()) != hello.size()) {
            _exit(1);
        }
        close(channel[1]);
        app.exec();  // until the bench ends it
        _exit(0);
    }
    close(channel[1]);
    QByteArray hello;
    char buffer[512];
    ssize_t n = 0;
    while (hello.count('\n') < 3 && (n = read(channel[0], buffer, sizeof buffer)) > 0) {
        hello.append(buffer, n);
    }
    close(channel[0]);
    const QStringList lines = QString::fromUtf8(hello).split('\n');
    return {pid, lines.value(0), lines.value(1), lines.value(2)};
}

void FakeServiceProcess::stop() const {
    if (pid > 0) {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
    }
}

void FakeServiceProcess::useFromClient() const {
    for (const char* variable : {"CORVANTIS_DROPBOX_API_URL", "CORVANTIS_DROPBOX_CONTENT_URL",
                                 "CORVANTIS_DROPBOX_AUTH_URL"}) {
        qputenv(variable, url.toUtf8());
    }
    qputenv("CORVANTIS_DROPBOX_APP_KEY", FakeDropbox::appKey);
}

void FakeServiceProcess::storeSignIn() const {
    DropboxTokens tokens;
    tokens.appKey = FakeDropbox::appKey;
    tokens.accessToken = accessToken;
    tokens.refreshToken = refreshToken;
    DropboxTokenStore::save(tokens);
}
