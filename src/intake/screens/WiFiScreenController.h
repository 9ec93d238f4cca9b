#pragma once

#include <QString>
#include <memory>

#include "IdleInhibitor.h"
#include "ViewController.h"

class WiFiViewController;

// The upload screen: while it is open, a server on the local network takes
// files from a browser on another computer. Shows the address to type in
// (and a QR code of it for a phone's camera), and keeps the machine from
// falling asleep under a transfer.
class WiFiScreenController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a screen of the \"Download\" bundle")
    Q_PROPERTY(QString ipAddressText READ ipAddressText NOTIFY ipAddressTextChanged)
    // What the QR code holds: the address, or nothing when there is none.
    Q_PROPERTY(QString pageAddress READ pageAddress NOTIFY ipAddressTextChanged)

public:
    // The port the servers of later screens ask for first; 80 unless a test
    // or a headless run says otherwise.
    static void setPreferredPort(quint16 port);

    explicit WiFiScreenController(QObject* parent = nullptr);
    ~WiFiScreenController() override;

    QString ipAddressText() const;
    QString pageAddress() const;
    WiFiViewController& server() const { return *m_server; }
    const IdleInhibitor& idleInhibitor() const { return m_idleInhibitor; }

    void viewDidLoad() override;
    Q_INVOKABLE void didClickBack();

signals:
    void ipAddressTextChanged();

private:
    std::unique_ptr<WiFiViewController> m_server;
    IdleInhibitor m_idleInhibitor;
};
