#include "HttpTestClient.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QTemporaryFile>

#include "TestSupport.h"

namespace {

QString url(quint16 port, const QString& path) {
    return QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path);
}

int connectTo(quint16 port, const char* from = nullptr) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in source{};
    source.sin_family = AF_INET;
    const bool bound =
        !from || (::inet_pton(AF_INET, from, &source.sin_addr) == 1 &&
                  ::bind(fd, reinterpret_cast<sockaddr*>(&source), sizeof source) == 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && bound &&
        ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        return fd;
    }
    if (fd >= 0) {
        ::close(fd);
    }
    return -1;
}

}  // namespace

void PrintTo(const HttpAnswer& answer, std::ostream* os) {
    *os << answer.status << " " << answer.contentType.toStdString() << " \""
        << answer.body.left(200).toStdString() << "\"";
}

HttpAnswer textAnswer(const QByteArray& body) {
    return {200, QStringLiteral("text/plain; charset=utf-8"), body};
}

WiFiUploadServer::Options loopbackOptions() {
    WiFiUploadServer::Options options;
    options.loopbackOnly = true;
    options.announce = false;
    return options;
}

HttpAnswer curlRequest(quint16 port, const QString& path, const QStringList& arguments) {
    QTemporaryFile body;
    EXPECT_TRUE(body.open());
    const ProcessRun run = runProcess(QStringLiteral("curl"),
                                      QStringList{"-sS", "--max-time", "60", "-o", body.fileName(),
                                                  "-w", "%{http_code} %{content_type}"} +
                                          arguments + QStringList{url(port, path)},
                                      70000);
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    HttpAnswer answer;
    const qsizetype space = run.out.indexOf(QLatin1Char(' '));
    answer.status = run.out.left(space).toInt();
    answer.contentType = run.out.mid(space + 1);
    answer.body = body.readAll();
    return answer;
}

std::unique_ptr<QProcess> startCurl(quint16 port, const QString& path,
                                    const QStringList& arguments) {
    auto process = std::make_unique<QProcess>();
    process->start(QStringLiteral("curl"), QStringList{"-sS", "--max-time", "60"} + arguments +
                                               QStringList{url(port, path)});
    return process;
}

QStringList filePart(const QString& localPath, const QString& name, const QString& field) {
    return {QStringLiteral("-F"),
            QStringLiteral("%1=@%2;filename=\"%3\"").arg(field, localPath, name)};
}

RawConnection::RawConnection(quint16 port, const char* from) : m_fd(connectTo(port, from)) {}

RawConnection::~RawConnection() {
    close();
}

bool RawConnection::send(const QByteArray& bytes) {
    qsizetype offset = 0;
    while (offset < bytes.size()) {
        const ssize_t sent =
            ::send(m_fd, bytes.constData() + offset, size_t(bytes.size() - offset), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        offset += sent;
    }
    return true;
}

bool RawConnection::waitForClose(int timeoutMs, QByteArray* received) {
    QDeadlineTimer deadline(timeoutMs);
    char buffer[4096];
    while (!deadline.hasExpired()) {
        pollfd descriptor{m_fd, POLLIN, 0};
        if (::poll(&descriptor, 1, int(std::max<qint64>(1, deadline.remainingTime()))) <= 0) {
            continue;
        }
        const ssize_t count = ::recv(m_fd, buffer, sizeof buffer, 0);
        if (count <= 0) {
            return true;
        }
        if (received) {
            received->append(buffer, count);
        }
    }
    return false;
}

void RawConnection::close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool acceptsConnections(quint16 port) {
    const int fd = connectTo(port);
    if (fd < 0) {
        return false;
    }
    ::close(fd);
    return true;
}
