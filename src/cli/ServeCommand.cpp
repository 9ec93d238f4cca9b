#include <semaphore.h>

#include <QFileInfo>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "CliCommand.h"
#include "WiFiViewController.h"

namespace {

// sem_post is one of the few calls a signal handler may make.
sem_t g_stopRequested;

void onStopSignal(int) {
    sem_post(&g_stopRequested);
}

}  // namespace

// Runs the upload server without a screen until SIGINT or SIGTERM: what the
// upload screen does between appearing and the user going back.
int runServeCommand(const QStringList& arguments) {
    quint16 port = WiFiViewController::kDefaultPort;
    if (!arguments.isEmpty()) {
        bool ok = false;
        const uint value = arguments.size() == 2 && arguments.first() == QLatin1String("--port")
                               ? arguments.at(1).toUInt(&ok)
                               : 0;
        if (!ok || value > 65535) {
            return cliFail(QStringLiteral("serve takes [--port N] with N from 0 to 65535"));
        }
        port = quint16(value);
    }

    sem_init(&g_stopRequested, 0, 0);
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    WiFiViewController controller(WiFiUploadServer::Options(), port);
    controller.viewDidLoad();
    const WiFiUploadServer* server = controller.webServer();
    if (!server->isRunning()) {
        return cliFail(QStringLiteral("cannot listen on port %1: %2")
                           .arg(port)
                           .arg(QString::fromLocal8Bit(std::strerror(server->startError()))));
    }
    cliOut() << controller.ipAddressText() << Qt::endl;
    cliOut() << "Serving " << server->musicDirectory() << " on port " << server->port() << Qt::endl;

    while (sem_wait(&g_stopRequested) != 0 && errno == EINTR) {
    }
    controller.didClickBack();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    cliOut() << "stopped" << Qt::endl;
    return 0;
}
