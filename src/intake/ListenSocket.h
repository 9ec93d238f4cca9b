#pragma once

#include <QtGlobal>

// A bound, listening TCP socket for the upload server.
struct ListenSocket {
    int fd = -1;
    quint16 port = 0;
    int error = 0;  // errno of the failed bind or listen when fd is -1
};

// Where the first port 80 is refused to an unprivileged process, the server
// takes the first free port from here upward, and the label shows it.
constexpr quint16 kUnprivilegedFallbackPort = 8080;

// Listens on `port` (0: any free one) on every address, IPv6 and IPv4 alike
// where the system has IPv6, or on loopback only. When the system refuses
// port 80 for want of privilege, walks from kUnprivilegedFallbackPort upward
// to the first free port.
ListenSocket openListenSocket(quint16 port, bool loopbackOnly);
