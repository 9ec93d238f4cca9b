#pragma once

#include <QList>
#include <QString>
#include <optional>

// One IPv4 address of a network interface, with what the choice needs to know.
struct InterfaceAddress {
    QString interfaceName;
    QString address;  // numeric form
    bool isUp = false;
    bool isLoopback = false;
    bool isWireless = false;
};

// The address a browser on the same network can reach: that of the Wi-Fi
// interface, else that of the first interface that is up and not loopback.
// Of several addresses on the chosen interface the last one listed wins.
std::optional<QString> pickWiFiAddress(const QList<InterfaceAddress>& addresses);

// Every IPv4 address of the machine, by getifaddrs and numeric getnameinfo.
QList<InterfaceAddress> interfaceAddresses();

// pickWiFiAddress over this machine's interfaces.
std::optional<QString> getWiFiAddress();

// What the upload screen shows: "http://" and the address, with ":" and the
// port only when it is not the HTTP default; "IP Address not found" without one.
QString addressLabelText(const std::optional<QString>& address, quint16 port);
