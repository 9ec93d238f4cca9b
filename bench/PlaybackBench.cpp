// Whole-pipeline figures, each printed beside its peer from the same run:
//   - offline render (decode + graph + WAV write) of a 10-minute MP3 and FLAC
//     against `ffmpeg -i FILE -f null -` (goal: at most 1.2x its time for
//     MP3, at most its time for FLAC);
//   - peak memory while rendering a 1-hour file (goal: at most 64 MB), beside
//     ffmpeg's own peak for decoding the same file;
//   - from playCurrentTrack() to the first non-silent sample at the offline
//     output (goal: at most 50 ms), beside plain FFmpeg opening the file and
//     decoding its first frame.
// `--smoke` uses short files so that the suite can check the bench still runs.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "AppDirectories.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "Track.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

struct RunResult {
    double seconds = 0.0;
    // User and system time of the child: on a busy machine this moves far
    // less than the wall time.
    double cpuSeconds = 0.0;
    double peakMegabytes = 0.0;
    int exitCode = -1;
};

// Runs a program to its end with its output thrown away; wall time and the
// child's own peak resident memory.
RunResult runProgram(const std::vector<std::string>& command) {
    // Nothing buffered here may be written a second time by the child.
    std::fflush(stdout);
    QElapsedTimer timer;
    timer.start();
    const pid_t pid = fork();
    if (pid == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        if (devNull < 0 || dup2(devNull, STDOUT_FILENO) < 0 || dup2(devNull, STDERR_FILENO) < 0) {
            _exit(126);
        }
        std::vector<char*> argv;
        for (const std::string& part : command) {
            argv.push_back(const_cast<char*>(part.c_str()));
        }
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    RunResult result;
    result.seconds = double(timer.nsecsElapsed()) / 1e9;
    result.cpuSeconds = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                        double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    result.peakMegabytes = double(usage.ru_maxrss) / 1024.0;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// The fastest of a few runs: what the machine can do, less its noise.
RunResult bestOf(int runs, const std::vector<std::string>& command) {
    RunResult best;
    best.seconds = INFINITY;
    for (int i = 0; i < runs; ++i) {
        const RunResult result = runProgram(command);
        if (result.exitCode != 0) {
            std::fprintf(stderr, "bench: \"%s\" failed with %d\n", command[0].c_str(),
                         result.exitCode);
            std::exit(1);
        }
        if (result.seconds < best.seconds) {
            best = result;
        }
    }
    return best;
}

void generate(const QString& path, const QString& source, double seconds,
              const QStringList& codec) {
    std::vector<std::string> command = {"ffmpeg",    "-nostdin",
                                        "-y",        "-hide_banner",
                                        "-loglevel", "error",
                                        "-f",        "lavfi",
                                        "-t",        QString::number(seconds).toStdString(),
                                        "-i",        source.toStdString(),
                                        "-ac",       "2"};
    for (const QString& part : codec) {
        command.push_back(part.toStdString());
    }
    command.push_back(path.toStdString());
    if (runProgram(command).exitCode != 0) {
        std::fprintf(stderr, "bench: cannot generate %s with ffmpeg\n", qPrintable(path));
        std::exit(1);
    }
}

std::vector<std::string> ffmpegNull(const QString& path) {
    return {"ffmpeg", "-nostdin",         "-hide_banner", "-loglevel", "error",
            "-i",     path.toStdString(), "-f",           "null",      "-"};
}

std::vector<std::string> corvantisRender(const QString& path, const QString& out) {
    return {CORVANTIS_CLI, "render", path.toStdString(), out.toStdString()};
}

void keepBest(RunResult& best, const RunResult& run) {
    best.seconds = std::min(best.seconds, run.seconds);
    best.cpuSeconds = std::min(best.cpuSeconds, run.cpuSeconds);
}

void compareRender(const char* label, const QString& path, const QString& out, int runs,
                   double goal) {
    RunResult ours = bestOf(1, corvantisRender(path, out));
    RunResult discarded = bestOf(1, corvantisRender(path, QStringLiteral("/dev/null")));
    RunResult peer = bestOf(1, ffmpegNull(path));
    // Taking turns spreads the machine's load over all three.
    for (int run = 1; run < runs; ++run) {
        keepBest(ours, bestOf(1, corvantisRender(path, out)));
        keepBest(discarded, bestOf(1, corvantisRender(path, QStringLiteral("/dev/null"))));
        keepBest(peer, bestOf(1, ffmpegNull(path)));
    }
    std::printf(
        "render %-5s corvantis-cli render: %7.3f s   ffmpeg -f null: %7.3f s   "
        "ratio %.2fx (goal <= %.2fx)   processor time %.3f s vs %.3f s (%.2fx)\n",
        label, ours.seconds, peer.seconds, ours.seconds / peer.seconds, goal, ours.cpuSeconds,
        peer.cpuSeconds, ours.cpuSeconds / peer.cpuSeconds);
    // The same render with its WAV thrown away: decoding and the graph
    // alone, which is all the peer does.
    std::printf(
        "render %-5s into /dev/null:        %7.3f s   ffmpeg -f null: %7.3f s   "
        "ratio %.2fx   processor time %.3f s vs %.3f s (%.2fx)\n",
        label, discarded.seconds, peer.seconds, discarded.seconds / peer.seconds,
        discarded.cpuSeconds, peer.cpuSeconds, discarded.cpuSeconds / peer.cpuSeconds);
}

// Milliseconds from handing the manager a queue to the first audible sample.
double playbackLatencyMs(const QString& directory, const QString& name) {
    PlaybackManager manager(std::make_unique<OfflineAudioOutput>(44100.0, 256));
    const TrackPtr track = Track::fromFile(name, directory);
    std::vector<float> block(256 * 2);
    QElapsedTimer timer;
    timer.start();
    manager.setCurrentIndex(0);
    manager.setCurrentPlaylist({track});
    manager.playCurrentTrack();
    AudioEngine& engine = manager.audioEngine();
    for (int rendered = 0; rendered < 44100 * 10; rendered += 256) {
        engine.renderOffline(block.data(), 256);
        if (std::any_of(block.begin(), block.end(), [](float s) { return s != 0.0f; })) {
            return double(timer.nsecsElapsed()) / 1e6;
        }
    }
    return INFINITY;
}

// The same moment for bare FFmpeg: open, find the stream, decode one frame.
double ffmpegFirstFrameMs(const QString& path) {
    QElapsedTimer timer;
    timer.start();
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, QFile::encodeName(path).constData(), nullptr, nullptr) < 0) {
        return INFINITY;
    }
    avformat_find_stream_info(format, nullptr);
    const AVCodec* codec = nullptr;
    const int stream = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    avcodec_parameters_to_context(context, format->streams[stream]->codecpar);
    avcodec_open2(context, codec, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    double elapsed = INFINITY;
    while (av_read_frame(format, packet) >= 0) {
        const bool ours = packet->stream_index == stream;
        if (ours) {
            avcodec_send_packet(context, packet);
        }
        av_packet_unref(packet);
        if (ours && avcodec_receive_frame(context, frame) == 0) {
            elapsed = double(timer.nsecsElapsed()) / 1e6;
            break;
        }
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    avformat_close_input(&format);
    return elapsed;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const bool smoke = app.arguments().contains(QStringLiteral("--smoke"));
    QTemporaryDir work;
    if (!work.isValid()) {
        return 1;
    }
    qputenv("CORVANTIS_HOME", work.filePath(QStringLiteral("home")).toUtf8());
    const QString music = downloadedMusicDirectory();
    const double longSeconds = smoke ? 20.0 : 600.0;
    const double hourSeconds = smoke ? 60.0 : 3600.0;
    const int runs = smoke ? 1 : 3;
    // Music-like material: pink noise under a few tones, so the encoders work
    // as hard as on real recordings.
    const QString program = QStringLiteral(
        "anoisesrc=c=pink:r=44100:a=0.25,aformat=channel_layouts=mono[n];"
        "sine=f=220:r=44100[a];sine=f=331:r=44100[b];"
        "[n][a][b]amix=inputs=3:normalize=0");
    const QString mp3 = QDir(music).filePath(QStringLiteral("long.mp3"));
    const QString flac = QDir(music).filePath(QStringLiteral("long.flac"));
    const QString hour = QDir(music).filePath(QStringLiteral("hour.flac"));
    std::printf("generating %.0f s MP3 and FLAC and a %.0f s FLAC with ffmpeg...\n", longSeconds,
                hourSeconds);
    generate(mp3, program, longSeconds, {"-c:a", "libmp3lame", "-q:a", "2"});
    generate(flac, program, longSeconds, {"-c:a", "flac"});
    generate(hour, QStringLiteral("sine=f=440:r=44100"), hourSeconds, {"-c:a", "flac"});

    const QString out = work.filePath(QStringLiteral("out.wav"));
    compareRender("mp3", mp3, out, runs, 1.2);
    compareRender("flac", flac, out, runs, 1.0);
    QFile::remove(out);

    const RunResult ours = runProgram(corvantisRender(hour, QStringLiteral("/dev/null")));
    const RunResult peer = runProgram(ffmpegNull(hour));
    std::printf(
        "memory rendering %.0f s: corvantis-cli render peak %.1f MB (goal <= 64 MB)   "
        "ffmpeg -f null peak %.1f MB\n",
        hourSeconds, ours.peakMegabytes, peer.peakMegabytes);

    double latency = INFINITY;
    double firstFrame = INFINITY;
    for (int i = 0; i < 5; ++i) {
        latency = std::min(latency, playbackLatencyMs(music, QStringLiteral("long.mp3")));
        firstFrame = std::min(firstFrame, ffmpegFirstFrameMs(mp3));
    }
    std::printf(
        "latency playCurrentTrack() to first sound: %.2f ms (goal <= 50 ms)   "
        "ffmpeg open + first frame: %.2f ms\n",
        latency, firstFrame);
    return ours.exitCode == 0 && std::isfinite(latency) ? 0 : 1;
}
