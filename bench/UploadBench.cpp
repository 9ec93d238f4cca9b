// The upload server's figures, each beside nginx's from the same run:
//   - one large file (1 GiB; 16 MiB with --smoke) sent with `curl -F` on
//     loopback, in MB/s, against nginx writing the same request body to a
//     file, five uploads to each taken in turns: the best of the first three
//     (goal: at least 0.9x nginx) and the median of all five;
//   - the server's peak resident memory growth during those uploads (goal:
//     at most 32 MB);
//   - 8 clients sending 100 small files each at once, all under one name:
//     every file must land under a distinct name and the record must hold
//     all 800 entries after a listing first.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int kClients = 8;

QByteArray patternBlock() {
    QByteArray block(1 << 20, '\0');
    for (qsizetype i = 0; i < block.size(); ++i) {
        block[i] = char((i * 131 + 7) & 0xff);
    }
    return block;
}

bool makeFile(const QString& path, qint64 megabytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    const QByteArray block = patternBlock();
    for (qint64 i = 0; i < megabytes; ++i) {
        if (file.write(block) != block.size()) {
            return false;
        }
    }
    return true;
}

quint16 freePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// A kB figure of /proc/<pid>/status ("VmRSS", "VmHWM").
double statusMegabytes(qint64 pid, const char* field) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1.0;
    }
    const QRegularExpression line(QStringLiteral("^%1:\\s+(\\d+) kB$").arg(field),
                                  QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(status.readAll()));
    return match.hasMatch() ? match.captured(1).toDouble() / 1024.0 : -1.0;
}

struct Curl {
    double seconds = 0.0;
    QByteArray out;
    bool ok = false;
};

Curl runCurl(const QStringList& arguments, bool quiet = false) {
    QProcess process;
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral("curl"), QStringList{"-sS", "--max-time", "600"} + arguments);
    process.waitForFinished(-1);
    Curl result;
    result.seconds = double(timer.nsecsElapsed()) / 1e9;
    result.out = process.readAllStandardOutput();
    result.ok = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!result.ok && !quiet) {
        std::fprintf(stderr, "bench: curl failed: %s\n",
                     process.readAllStandardError().constData());
    }
    return result;
}

// SIGTERM, and SIGKILL if that is not enough.
void stopProcess(QProcess& process) {
    process.terminate();
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
    }
}

class Server {
public:
    Server(const QString& cli, const QString& home) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("CORVANTIS_HOME"), home);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(cli,
                        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0")});
        const QRegularExpression line(QStringLiteral("Serving .* on port (\\d+)\n"));
        QString out;
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 20000 && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(100);
            out += QString::fromUtf8(m_process.readAllStandardOutput());
            const QRegularExpressionMatch match = line.match(out);
            if (match.hasMatch()) {
                m_port = quint16(match.captured(1).toUInt());
                break;
            }
        }
    }
    ~Server() { stopProcess(m_process); }
    quint16 port() const { return m_port; }
    qint64 pid() const { return m_process.processId(); }

private:
    QProcess m_process;
    quint16 m_port = 0;
};

// nginx as the peer: the request body is written to a file and the request
// answered by a second local location, without passing the body on.
class Nginx {
public:
    explicit Nginx(const QString& root) : m_port(freePort()) {
        const quint16 backend = freePort();
        QDir().mkpath(root + "/body");
        QDir().mkpath(root + "/logs");
        const QString config =
            QStringLiteral(
                "worker_processes 1;\n"
                "daemon off;\n"
                "pid %1/nginx.pid;\n"
                "error_log %1/logs/error.log;\n"
                "events { worker_connections 64; }\n"
                "http {\n"
                "  access_log off;\n"
                "  client_body_temp_path %1/body;\n"
                "  proxy_temp_path %1/proxy;\n"
                "  fastcgi_temp_path %1/fastcgi;\n"
                "  uwsgi_temp_path %1/uwsgi;\n"
                "  scgi_temp_path %1/scgi;\n"
                "  server {\n"
                "    listen 127.0.0.1:%2;\n"
                "    client_max_body_size 0;\n"
                "    location / {\n"
                "      client_body_in_file_only clean;\n"
                "      client_body_buffer_size 128k;\n"
                "      proxy_pass_request_body off;\n"
                "      proxy_set_header Content-Length \"\";\n"
                "      proxy_set_header X-Body-File $request_body_file;\n"
                "      proxy_pass http://127.0.0.1:%3/done;\n"
                "    }\n"
                "  }\n"
                "  server { listen 127.0.0.1:%3; location /done { return 200 \"\"; } }\n"
                "}\n")
                .arg(root)
                .arg(m_port)
                .arg(backend);
        QFile file(root + "/nginx.conf");
        if (file.open(QIODevice::WriteOnly)) {
            file.write(config.toUtf8());
        }
        file.close();
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(root + "/logs/stderr.log");
        m_process.start(QStringLiteral("nginx"),
                        {QStringLiteral("-p"), root, QStringLiteral("-c"), root + "/nginx.conf"});
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 10000 && m_process.state() != QProcess::NotRunning) {
            if (runCurl({"-o", "/dev/null", QStringLiteral("http://127.0.0.1:%1/").arg(m_port)},
                        true)
                    .ok) {
                m_ready = true;
                break;
            }
            QThread::msleep(50);
        }
    }
    ~Nginx() { stopProcess(m_process); }
    bool ready() const { return m_ready; }
    quint16 port() const { return m_port; }

private:
    QProcess m_process;
    quint16 m_port;
    bool m_ready = false;
};

QString url(quint16 port, const QString& path = QStringLiteral("/")) {
    return QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path);
}

// One upload of `file`, in seconds (negative when it failed); the stored copy
// is removed afterwards.
double uploadSeconds(quint16 port, const QString& file, const QString& music) {
    const Curl curl = runCurl({"-f", "-o", "/dev/null", "-F",
                               QStringLiteral("file=@%1;filename=big.bin").arg(file), url(port)});
    if (!music.isEmpty()) {
        QDir(music).removeRecursively();
        QDir().mkpath(music);
    }
    return curl.ok ? curl.seconds : -1.0;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

int stressRun(quint16 port, const QString& root, const QString& music, int filesEach) {
    const QString small = root + "/small.mp3";
    QFile file(small);
    if (!file.open(QIODevice::WriteOnly) || file.write(patternBlock().left(8192)) != 8192) {
        return 1;
    }
    file.close();
    // The page lists first; so does every client here.
    if (!runCurl({"-o", "/dev/null", url(port, "/files")}).ok) {
        return 1;
    }
    QElapsedTimer timer;
    timer.start();
    std::vector<std::unique_ptr<QProcess>> clients;
    for (int client = 0; client < kClients; ++client) {
        QStringList arguments{"-sS", "--max-time", "600"};
        for (int i = 0; i < filesEach; ++i) {
            if (i > 0) {
                arguments << "--next";
            }
            arguments << "-F" << QStringLiteral("file=@%1;filename=Track.mp3").arg(small)
                      << url(port);
        }
        auto process = std::make_unique<QProcess>();
        process->start(QStringLiteral("curl"), arguments);
        clients.push_back(std::move(process));
    }
    bool answersEmpty = true;
    for (auto& client : clients) {
        client->waitForFinished(-1);
        answersEmpty =
            answersEmpty && client->exitCode() == 0 && client->readAllStandardOutput().isEmpty();
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    const int expected = kClients * filesEach;
    const QStringList stored =
        QDir(music).entryList(QDir::Files | QDir::NoDotAndDotDot | QDir::Hidden);
    const Curl listing = runCurl({url(port, "/files")});
    const QJsonArray record =
        QJsonDocument::fromJson(listing.out).object().value(QStringLiteral("files")).toArray();
    QSet<QString> recorded;
    for (const QJsonValue& entry : record) {
        recorded.insert(entry[QStringLiteral("name")].toString());
    }
    const bool whole = answersEmpty && stored.size() == expected && record.size() == expected &&
                       recorded == QSet<QString>(stored.begin(), stored.end());
    std::printf(
        "stress %d clients x %d files: %lld files stored under distinct names, record "
        "holds %lld entries, %.2f s (%s)\n",
        kClients, filesEach, static_cast<long long>(stored.size()),
        static_cast<long long>(record.size()), seconds, whole ? "ok" : "FAILED");
    return whole ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const bool smoke = app.arguments().contains(QStringLiteral("--smoke"));
    const qint64 megabytes = smoke ? 16 : 1024;
    const int runs = smoke ? 1 : 5;
    const int filesEach = smoke ? 10 : 100;

    QTemporaryDir root;
    if (!root.isValid()) {
        return 2;
    }
    // nginx's worker may run as another user, who must reach its folders.
    QFile::setPermissions(root.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner | QFileDevice::ReadOther |
                                           QFileDevice::ExeOther);
    const QString big = root.filePath("big.bin");
    if (!makeFile(big, megabytes)) {
        std::fprintf(stderr, "bench: cannot write %s\n", qPrintable(big));
        return 2;
    }
    const QString home = root.filePath("home");
    const QString music = home + "/Documents/Downloaded Music";

    {
        // A world of its own, so that the record holds the stress files only.
        const QString stressHome = root.filePath("stress");
        Server server(QStringLiteral(CORVANTIS_CLI), stressHome);
        if (server.port() == 0 ||
            stressRun(server.port(), root.path(), stressHome + "/Documents/Downloaded Music",
                      filesEach) != 0) {
            return 1;
        }
    }
    Server server(QStringLiteral(CORVANTIS_CLI), home);
    if (server.port() == 0) {
        std::fprintf(stderr, "bench: corvantis-cli serve did not start\n");
        return 2;
    }
    Nginx nginx(root.filePath("nginx"));
    if (!nginx.ready()) {
        std::fprintf(stderr, "bench: nginx did not start (see %s)\n",
                     qPrintable(root.filePath("nginx/logs")));
        return 2;
    }
    // Taking turns spreads the machine's mood over both servers.
    const double before = statusMegabytes(server.pid(), "VmRSS");
    std::vector<double> ours, theirs;
    for (int run = 0; run < runs; ++run) {
        ours.push_back(uploadSeconds(server.port(), big, music));
        theirs.push_back(uploadSeconds(nginx.port(), big, QString()));
        if (ours.back() < 0 || theirs.back() < 0) {
            return 1;
        }
    }
    const double growth = statusMegabytes(server.pid(), "VmHWM") - before;
    const auto rate = [megabytes](double seconds) {
        return double(megabytes) * 1.048576 / seconds;
    };
    const int bestRuns = std::min(runs, 3);
    const double oursBest = rate(*std::min_element(ours.begin(), ours.begin() + bestRuns));
    const double nginxBest = rate(*std::min_element(theirs.begin(), theirs.begin() + bestRuns));
    const double oursMedian = rate(median(ours));
    const double nginxMedian = rate(median(theirs));
    std::printf("upload of %lld MiB with curl -F on loopback, best of %d:\n", megabytes, bestRuns);
    std::printf("  Corvantis: %.0f MB/s\n", oursBest);
    std::printf("  nginx (request body to file): %.0f MB/s\n", nginxBest);
    std::printf("  ratio: %.2fx nginx (goal: at least 0.9x)\n", oursBest / nginxBest);
    std::printf("median of %d: Corvantis %.0f MB/s, nginx %.0f MB/s, ratio %.2fx\n", runs,
                oursMedian, nginxMedian, oursMedian / nginxMedian);
    std::printf(
        "peak memory growth of the server during the uploads: %.1f MB (goal: at most 32 MB)\n",
        growth);
    return 0;
}
