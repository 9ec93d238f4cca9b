#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "WiFiUploadServer.h"

// What the upload screen drives: a new server when the view loads, stopped
// when the user goes back, and the address label's text meanwhile. Lives on
// the main thread; the server's handlers never touch it.
class WiFiViewController : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString ipAddressText READ ipAddressText NOTIFY ipAddressTextChanged)

public:
    static constexpr quint16 kDefaultPort = 80;
    static const QString kBonjourName;

    explicit WiFiViewController(QObject* parent = nullptr);
    // `options` and `port` for the servers it makes: a headless run or a test.
    WiFiViewController(WiFiUploadServer::Options options, quint16 port, QObject* parent = nullptr);
    ~WiFiViewController() override;

    // Starts a fresh server and sets the label; a failed start leaves the
    // label showing the address all the same.
    Q_INVOKABLE void viewDidLoad();
    // Stops the server and asks the screen to go away.
    Q_INVOKABLE void didClickBack();

    QString ipAddressText() const;
    // The running server, or null before viewDidLoad.
    WiFiUploadServer* webServer() const;

signals:
    void ipAddressTextChanged();
    void dismissRequested();

private:
    WiFiUploadServer::Options m_options;
    quint16 m_port = kDefaultPort;
    std::unique_ptr<WiFiUploadServer> m_webServer;
    QString m_ipAddressText;
};
