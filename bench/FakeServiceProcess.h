#pragma once

#include <sys/types.h>

#include <QString>
#include <functional>

class FakeDropbox;

// The local fake of the cloud service in a process of its own, so that a
// bench's figures hold the client alone and the server never competes with
// it for a thread. Fork it before the bench starts any thread.
struct FakeServiceProcess {
    pid_t pid = -1;
    QString url;
    QString accessToken;
    QString refreshToken;

    bool isRunning() const { return pid > 0 && !refreshToken.isEmpty(); }
    // `fill` adds the content; the tokens are issued afterwards. The process
    // ends with the bench, even when the bench itself dies.
    static FakeServiceProcess start(const std::function<void(FakeDropbox&)>& fill);
    void stop() const;

    // Points the client of this process at the service (before its first use).
    void useFromClient() const;
    // Stores the issued sign-in where the client finds it at its first use.
    void storeSignIn() const;
};
