// The upload server under many or misbehaving clients, over loopback. Other
// machines are played by other addresses of 127.0.0.0/8.
#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <memory>
#include <vector>

#include "AppDirectories.h"
#include "HttpTestClient.h"
#include "TestSupport.h"
#include "WiFiUploadServer.h"

namespace {

// Connections that send the start of a request and then one more header line
// whenever asked, never the blank line that ends the headers.
class Tricklers {
public:
    Tricklers(quint16 port, const char* from, int count) {
        for (int i = 0; i < count; ++i) {
            m_connections.push_back(std::make_unique<RawConnection>(port, from));
            m_connections.back()->send("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\n");
        }
    }

    // One more line on each connection; how many the server still keeps.
    int trickle() {
        int open = 0;
        for (const auto& connection : m_connections) {
            if (connection->isConnected() && connection->send("X-Slow: 1\r\n")) {
                ++open;
            } else {
                connection->close();
            }
        }
        return open;
    }

private:
    std::vector<std::unique_ptr<RawConnection>> m_connections;
};

QString clientFile(const QString& name, qsizetype size) {
    const QString path = testHome() + QStringLiteral("/client/") + name;
    writeFile(path, QByteArray(size, 'm'));
    return path;
}

QStringList stored() {
    return QDir(downloadedMusicDirectory()).entryList(QDir::Files, QDir::Name);
}

TEST(UploadServerLoadTest, TricklingClientsCannotStarveAnother) {
    struct Case {
        const char* defence;
        unsigned perAddressLimit;
        unsigned headerTimeoutSeconds;
    };
    const Case cases[] = {
        {"the limit per address", 4, 600},
        {"the deadline for headers", 0, 1},
    };
    const QString file = clientFile("Fair.mp3", 20000);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.defence);
        WiFiUploadServer::Options options = loopbackOptions();
        options.connectionLimit = 16;
        options.perAddressLimit = c.perAddressLimit;
        options.headerTimeoutSeconds = c.headerTimeoutSeconds;
        WiFiUploadServer server(options);
        ASSERT_TRUE(server.startWithPort(0, QString()));
        Tricklers tricklers(server.port(), "127.0.0.2", 40);
        tricklers.trickle();

        // Another machine uploads while they trickle on; it is served long
        // before they would stop.
        const auto upload = startCurl(server.port(), "/", filePart(file, "Fair.mp3"));
        bool served = false;
        for (int round = 0; round < 200 && !served; ++round) {
            served = upload->waitForFinished(150);
            tricklers.trickle();
        }
        ASSERT_TRUE(served) << "starved while the trickle went on";
        EXPECT_EQ(upload->exitCode(), 0) << upload->readAllStandardError().toStdString();
        EXPECT_EQ(upload->readAllStandardOutput(), QByteArray());
        EXPECT_TRUE(stored().contains("Fair.mp3"));
        QDir(downloadedMusicDirectory()).removeRecursively();
    }
}

TEST(UploadServerLoadTest, ATricklerIsCutOffAtItsDeadline) {
    WiFiUploadServer::Options options = loopbackOptions();
    options.headerTimeoutSeconds = 1;
    WiFiUploadServer server(options);
    ASSERT_TRUE(server.startWithPort(0, QString()));
    RawConnection slow(server.port(), "127.0.0.2");
    ASSERT_TRUE(slow.send("GET /files HTTP/1.1\r\n"));
    // Never silent for as long as the idle limit, yet cut off.
    bool cut = false;
    QByteArray received;
    for (int round = 0; round < 50 && !cut; ++round) {
        slow.send("X-Slow: 1\r\n");
        cut = slow.waitForClose(200, &received);
    }
    EXPECT_TRUE(cut);
    EXPECT_TRUE(received.isEmpty() || received.startsWith("HTTP/1.1 408 "))
        << received.toStdString();
    // A prompt client on a kept-alive connection is not hurried.
    EXPECT_EQ(curlRequest(server.port(), "/files").status, 200);
}

TEST(UploadServerLoadTest, AClientOverItsAddressLimitIsToldToComeBack) {
    WiFiUploadServer::Options options = loopbackOptions();
    options.perAddressLimit = 2;
    WiFiUploadServer server(options);
    ASSERT_TRUE(server.startWithPort(0, QString()));
    const quint16 port = server.port();
    auto first = std::make_unique<RawConnection>(port, "127.0.0.3");
    auto second = std::make_unique<RawConnection>(port, "127.0.0.3");
    ASSERT_TRUE(first->send("GET /files HTTP/1.1\r\n"));
    ASSERT_TRUE(second->send("GET /files HTTP/1.1\r\n"));

    const QStringList third{"--interface", "127.0.0.3"};
    const QString file = clientFile("Late.mp3", 5000);
    for (const QStringList& request : {third, third + filePart(file, "Late.mp3")}) {
        SCOPED_TRACE(request.join(' ').toStdString());
        const HttpAnswer busy = curlRequest(port, request.size() > 2 ? "/" : "/files", request);
        EXPECT_EQ(busy.status, 503);
        EXPECT_EQ(busy.contentType, "text/plain; charset=utf-8");
        EXPECT_FALSE(busy.body.isEmpty());
    }
    EXPECT_TRUE(stored().isEmpty());
    // Other machines are served all the while.
    EXPECT_EQ(curlRequest(port, "/files").status, 200);

    // Once the address holds fewer, it is served again.
    first.reset();
    second.reset();
    EXPECT_TRUE(waitUntil([&] { return curlRequest(port, "/files", third).status == 200; }));
}

TEST(UploadServerLoadTest, ManySimultaneousUploadsAreAllAnsweredAndStored) {
    WiFiUploadServer::Options options = loopbackOptions();
    options.perAddressLimit = 0;  // every client here shares 127.0.0.1
    WiFiUploadServer server(options);
    ASSERT_TRUE(server.startWithPort(0, QString()));
    constexpr int kClients = 200;
    const QString file = clientFile("Load.mp3", 30000);
    // One curl running every transfer at once, each on its own connection:
    // far more than the server serves at a time.
    QStringList arguments{"-Z", "--parallel-immediate", "--parallel-max",
                          QString::number(kClients)};
    for (int i = 0; i < kClients; ++i) {
        if (i > 0) {
            arguments << "--next";
        }
        arguments << "-sS"
                  << "--max-time"
                  << "120"
                  << "-o"
                  << "/dev/null"
                  << "-w"
                  << "%{http_code} %{size_download}\\n"
                  << filePart(file, QStringLiteral("Load %1.mp3").arg(i))
                  << QStringLiteral("http://127.0.0.1:%1/").arg(server.port());
    }
    QProcess curl;
    curl.start("curl", arguments);
    ASSERT_TRUE(curl.waitForFinished(180000));
    EXPECT_EQ(curl.exitCode(), 0) << curl.readAllStandardError().toStdString();
    const QStringList answers =
        QString::fromUtf8(curl.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(answers.size(), kClients);
    EXPECT_EQ(answers.count("200 0"), kClients) << answers.join(", ").toStdString();
    EXPECT_EQ(stored().size(), kClients);
    const QJsonArray record = QJsonDocument::fromJson(curlRequest(server.port(), "/files").body)
                                  .object()
                                  .value("files")
                                  .toArray();
    EXPECT_EQ(record.size(), kClients);
}

}  // namespace
