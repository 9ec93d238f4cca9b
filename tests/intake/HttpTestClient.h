#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <memory>
#include <ostream>

#include "WiFiUploadServer.h"

// What a client saw of one HTTP answer.
struct HttpAnswer {
    int status = 0;
    QString contentType;
    QByteArray body;
    bool operator==(const HttpAnswer&) const = default;
};
void PrintTo(const HttpAnswer& answer, std::ostream* os);

// A 200 answer of plain text.
HttpAnswer textAnswer(const QByteArray& body);

// Options of a server on loopback only that announces nothing.
WiFiUploadServer::Options loopbackOptions();

// Runs curl against http://127.0.0.1:<port><path> with `arguments` (such as
// -F parts) and returns the answer; a curl failure fails the test.
HttpAnswer curlRequest(quint16 port, const QString& path, const QStringList& arguments = {});

// One curl run started in the background, for uploads that run side by side.
std::unique_ptr<QProcess> startCurl(quint16 port, const QString& path,
                                    const QStringList& arguments);

// -F arguments that upload `localPath` under the client file name `name`.
QStringList filePart(const QString& localPath, const QString& name,
                     const QString& field = QStringLiteral("file"));

// A plain TCP connection to 127.0.0.1, for what curl will not do: stall,
// send oversized headers, or go away in the middle of a body.
class RawConnection {
public:
    // `from` binds the client's end to another loopback address, such as
    // "127.0.0.2", so that a test can play several machines.
    explicit RawConnection(quint16 port, const char* from = nullptr);
    ~RawConnection();
    bool isConnected() const { return m_fd >= 0; }
    bool send(const QByteArray& bytes);
    // Whether the server closed the connection within `timeoutMs`; what it
    // sent before closing is kept in `received`.
    bool waitForClose(int timeoutMs, QByteArray* received = nullptr);
    void close();

private:
    int m_fd = -1;
};

// Whether a TCP connection to 127.0.0.1:<port> is accepted.
bool acceptsConnections(quint16 port);
