#include "ListenSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace {

// Clients beyond the server's connection limit wait here, not refused: room
// for a busy LAN's worth of them.
constexpr int kBacklog = 512;
constexpr int kFallbackAttempts = 100;

ListenSocket tryListen(int family, quint16 port, bool loopbackOnly) {
    ListenSocket result;
    const int fd = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        result.error = errno;
        return result;
    }
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    int rc = 0;
    if (family == AF_INET6) {
        const int v6only = loopbackOnly ? 1 : 0;
        ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &v6only, sizeof v6only);
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(port);
        address.sin6_addr = loopbackOnly ? in6addr_loopback : in6addr_any;
        rc = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    } else {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(loopbackOnly ? INADDR_LOOPBACK : INADDR_ANY);
        rc = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    if (rc != 0 || ::listen(fd, kBacklog) != 0) {
        result.error = errno;
        ::close(fd);
        return result;
    }
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length);
    result.fd = fd;
    result.port = ntohs(family == AF_INET6 ? reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port
                                           : reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
    return result;
}

ListenSocket listenOn(quint16 port, bool loopbackOnly) {
    // Loopback listens on IPv4 only: a browser on the same machine and the
    // tests use 127.0.0.1. Every address otherwise, through one dual-stack
    // socket where the system has IPv6.
    if (!loopbackOnly) {
        const ListenSocket dualStack = tryListen(AF_INET6, port, false);
        if (dualStack.fd >= 0 ||
            (dualStack.error != EAFNOSUPPORT && dualStack.error != EADDRNOTAVAIL)) {
            return dualStack;
        }
    }
    return tryListen(AF_INET, port, loopbackOnly);
}

}  // namespace

ListenSocket openListenSocket(quint16 port, bool loopbackOnly) {
    ListenSocket result = listenOn(port, loopbackOnly);
    if (result.fd >= 0 || port != 80 || (result.error != EACCES && result.error != EPERM)) {
        return result;
    }
    for (int attempt = 0; attempt < kFallbackAttempts; ++attempt) {
        result = listenOn(quint16(kUnprivilegedFallbackPort + attempt), loopbackOnly);
        if (result.fd >= 0 || result.error != EADDRINUSE) {
            return result;
        }
    }
    return result;
}
