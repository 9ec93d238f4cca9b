#include "WiFiViewController.h"

#include "WiFiAddress.h"

const QString WiFiViewController::kBonjourName = QStringLiteral("WiFi Sync Server");

WiFiViewController::WiFiViewController(QObject* parent)
    : WiFiViewController(WiFiUploadServer::Options(), kDefaultPort, parent) {}

WiFiViewController::WiFiViewController(WiFiUploadServer::Options options, quint16 port,
                                       QObject* parent)
    : QObject(parent), m_options(std::move(options)), m_port(port) {}

WiFiViewController::~WiFiViewController() = default;

void WiFiViewController::viewDidLoad() {
    m_webServer.reset();
    m_webServer = std::make_unique<WiFiUploadServer>(m_options);
    const bool started = m_webServer->startWithPort(m_port, kBonjourName);
    // The label shows where a browser finds the server, the port included
    // when a refused port 80 made it take another.
    const quint16 shownPort = started ? m_webServer->port() : m_port;
    m_ipAddressText = addressLabelText(getWiFiAddress(), shownPort);
    emit ipAddressTextChanged();
}

void WiFiViewController::didClickBack() {
    if (m_webServer) {
        m_webServer->stop();
    }
    emit dismissRequested();
}

QString WiFiViewController::ipAddressText() const {
    return m_ipAddressText;
}

WiFiUploadServer* WiFiViewController::webServer() const {
    return m_webServer.get();
}
