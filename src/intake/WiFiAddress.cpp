#include "WiFiAddress.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <QFileInfo>

std::optional<QString> pickWiFiAddress(const QList<InterfaceAddress>& addresses) {
    auto usable = [](const InterfaceAddress& entry) { return entry.isUp && !entry.isLoopback; };
    QString chosen;
    for (const InterfaceAddress& entry : addresses) {
        if (usable(entry) && entry.isWireless) {
            chosen = entry.interfaceName;
            break;
        }
    }
    if (chosen.isEmpty()) {
        for (const InterfaceAddress& entry : addresses) {
            if (usable(entry)) {
                chosen = entry.interfaceName;
                break;
            }
        }
    }
    if (chosen.isEmpty()) {
        return std::nullopt;
    }
    std::optional<QString> result;
    for (const InterfaceAddress& entry : addresses) {
        if (entry.interfaceName == chosen && usable(entry)) {
            result = entry.address;
        }
    }
    return result;
}

QList<InterfaceAddress> interfaceAddresses() {
    QList<InterfaceAddress> result;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return result;
    }
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        char host[NI_MAXHOST];
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host, sizeof host, nullptr, 0,
                        NI_NUMERICHOST) != 0) {
            continue;
        }
        InterfaceAddress address;
        address.interfaceName = QString::fromLocal8Bit(entry->ifa_name);
        address.address = QString::fromLatin1(host);
        address.isUp = entry->ifa_flags & IFF_UP;
        address.isLoopback = entry->ifa_flags & IFF_LOOPBACK;
        const QString sysfs = QStringLiteral("/sys/class/net/") + address.interfaceName;
        address.isWireless = QFileInfo::exists(sysfs + QStringLiteral("/wireless")) ||
                             QFileInfo::exists(sysfs + QStringLiteral("/phy80211"));
        result.append(address);
    }
    freeifaddrs(list);
    return result;
}

std::optional<QString> getWiFiAddress() {
    return pickWiFiAddress(interfaceAddresses());
}

QString addressLabelText(const std::optional<QString>& address, quint16 port) {
    if (!address) {
        return QStringLiteral("IP Address not found");
    }
    QString text = QStringLiteral("http://") + *address;
    if (port != 80) {
        text += QLatin1Char(':') + QString::number(port);
    }
    return text;
}
