#include "WiFiScreenController.h"

#include "Localization.h"
#include "WiFiViewController.h"

namespace {
quint16 s_preferredPort = WiFiViewController::kDefaultPort;
}

void WiFiScreenController::setPreferredPort(quint16 port) {
    s_preferredPort = port;
}

WiFiScreenController::WiFiScreenController(QObject* parent)
    : ViewController(parent),
      m_server(std::make_unique<WiFiViewController>(WiFiUploadServer::Options(), s_preferredPort)) {
    connect(m_server.get(), &WiFiViewController::ipAddressTextChanged, this,
            &WiFiScreenController::ipAddressTextChanged);
    connect(m_server.get(), &WiFiViewController::dismissRequested, this,
            [this] { dismissViewController(true); });
}

WiFiScreenController::~WiFiScreenController() {
    // Leaving by any other way than back still ends the server and the hold.
    if (WiFiUploadServer* server = m_server->webServer()) {
        server->stop();
    }
}

QString WiFiScreenController::ipAddressText() const {
    return m_server->ipAddressText();
}

QString WiFiScreenController::pageAddress() const {
    const QString text = m_server->ipAddressText();
    return text.startsWith(QStringLiteral("http://")) ? text : QString();
}

void WiFiScreenController::viewDidLoad() {
    ViewController::viewDidLoad();
    m_server->viewDidLoad();
    m_idleInhibitor.inhibit(Localization::text("wifi_inhibit_reason"));
}

void WiFiScreenController::didClickBack() {
    m_idleInhibitor.release();
    m_server->didClickBack();
}
