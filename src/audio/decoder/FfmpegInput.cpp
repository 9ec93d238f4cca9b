#include "FfmpegInput.h"

#include <QtEndian>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "FileStatus.h"
#include "Mp3InfoTag.h"
#include "NativeFileName.h"

extern "C" {
#include <libavutil/log.h>
}

Q_LOGGING_CATEGORY(lcDecode, "corvantis.audio.decode", QtInfoMsg)

namespace ffmpeg {

namespace {

// Beyond this (and kMaxChannels) a stream is garbage that happened to parse.
constexpr int kMaxSampleRate = 1'536'000;

// The libraries' own complaints about a file ("CRC mismatch!", "Header
// missing", ...) are diagnostics like ours, not lines on the user's terminal.
void forwardLibraryLog(void* context, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_WARNING || !lcDecode().isDebugEnabled()) {
        return;
    }
    char line[1024];
    int printPrefix = 1;
    av_log_format_line2(context, level, format, arguments, line, sizeof line, &printPrefix);
    qCDebug(lcDecode).noquote() << QString::fromUtf8(line).trimmed();
}

std::atomic<quint64> openedFiles{0};

// Errors that say more about the machine at this moment than about the file.
bool isSystemFailure(int code) {
    for (const int number : {EIO, ENOMEM, EMFILE, ENFILE, ENOBUFS, EAGAIN, EINTR}) {
        if (code == AVERROR(number)) {
            return true;
        }
    }
    return false;
}

// Sums the packets' lengths without decoding them: the length of a stream
// whose container does not state it. nullopt when a packet has no length.
std::optional<qint64> countPackets(const AudioInput& input, const QString& path) {
    const ffmpeg::Packet packet(av_packet_alloc());
    const AVRational timeBase = input.stream()->time_base;
    qint64 total = 0;
    qint64 lastDiscard = 0;
    bool first = true;
    while (readPacket(input.context.get(), packet.get(), path)) {
        if (packet->stream_index == input.streamIndex) {
            if (packet->duration <= 0) {
                av_packet_unref(packet.get());
                return std::nullopt;
            }
            total += toSamples(packet->duration, timeBase, input.sampleRate());
            if (first) {
                // Where no packet carries the start trim (Opus outside Ogg),
                // the decoder takes the stream's own from its header.
                const qint64 trim = skipSamples(packet.get(), true);
                const AVCodecParameters* parameters = input.stream()->codecpar;
                total -= trim > 0 || parameters->codec_id != AV_CODEC_ID_OPUS
                             ? trim
                             : parameters->initial_padding;
                first = false;
            }
            lastDiscard = skipSamples(packet.get(), false);
        }
        av_packet_unref(packet.get());
    }
    return std::max<qint64>(0, total - lastDiscard);
}

// The exact length the Xing/Info/VBRI header states, when the demuxer read
// the same header (its duration and start then match it).
std::optional<qint64> mp3HeaderLength(AudioInput& input) {
    // Read through the demuxer's own file, which then goes back to where it
    // stood: the bytes are those it parsed, and the file is not opened again.
    AVIOContext* io = input.context->pb;
    const int64_t resume = avio_tell(io);
    const std::optional<Mp3InfoTag> tag = readMp3InfoTag([io](qint64 offset, int size) {
        QByteArray bytes(size, Qt::Uninitialized);
        const int got = avio_seek(io, offset, SEEK_SET) < 0
                            ? 0
                            : avio_read(io, reinterpret_cast<unsigned char*>(bytes.data()), size);
        bytes.resize(std::max(got, 0));
        return bytes;
    });
    if (avio_seek(io, resume, SEEK_SET) != resume) {
        input.atStart = false;
    }
    const AVStream* stream = input.stream();
    if (!tag || stream->duration == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    const int rate = input.sampleRate();
    if (toSamples(stream->duration, stream->time_base, rate) != tag->codedLength()) {
        return std::nullopt;
    }
    // The demuxer drops the delay plus the layer III decoder's own 529
    // samples at the start, and at the end whatever padding exceeds those 529.
    if (tag->delay && (stream->start_time == AV_NOPTS_VALUE ||
                       toSamples(stream->start_time, stream->time_base, rate) !=
                           *tag->delay + Mp3InfoTag::kDecoderDelay)) {
        return std::nullopt;
    }
    return tag->decodedLength();
}

}  // namespace

qint64 toSamples(int64_t timestamp, AVRational timeBase, int sampleRate) {
    return av_rescale_q(timestamp, timeBase, AVRational{1, sampleRate});
}

int64_t fromSamples(qint64 samples, AVRational timeBase, int sampleRate) {
    return av_rescale_q(samples, AVRational{1, sampleRate}, timeBase);
}

std::optional<AudioInput> openInput(const QString& path, QString* error,
                                    AudioFile::OpenFailure* failure) {
    const auto fail = [error, failure](const QString& text,
                                       int code = 0) -> std::optional<AudioInput> {
        if (error) {
            *error = text;
        }
        if (failure) {
            *failure = isSystemFailure(code) ? AudioFile::OpenFailure::system
                                             : AudioFile::OpenFailure::unreadable;
        }
        return std::nullopt;
    };
    static std::once_flag routeLog;
    std::call_once(routeLog, [] { av_log_set_callback(forwardLibraryLog); });
    const FileStatus status = FileStatus::of(path);
    if (!status.exists()) {
        return fail(ffmpeg::errorText(AVERROR(ENOENT)), AVERROR(ENOENT));
    }
    if (status.type == FileStatus::Type::directory) {
        return fail(ffmpeg::errorText(AVERROR(EISDIR)), AVERROR(EISDIR));
    }
    // A FIFO would hold the demuxer until something writes to it.
    if (!status.isRegular()) {
        return fail(QStringLiteral("Not a regular file"));
    }
    // Only the file itself: a playlist or reference file in the music folder
    // must not make the demuxer reach out anywhere else.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    // Raw streams (FLAC, AC-3, ...) are read in pieces of this size and cut
    // into frames by a parser. The 1 KiB default makes several allocations
    // per KiB of the file; 8 KiB measured cheapest for FLAC at 16 and 24 bits
    // (larger pieces cost the parser more copying than they save).
    av_dict_set(&options, "raw_packet_size", "8192", 0);
    AVFormatContext* raw = nullptr;
    const QByteArray url = "file:" + NativeFileName::encode(path);
    int result = avformat_open_input(&raw, url.constData(), nullptr, &options);
    av_dict_free(&options);
    if (result < 0) {
        return fail(ffmpeg::errorText(result), result);
    }
    openedFiles.fetch_add(1, std::memory_order_relaxed);
    AudioInput input{ffmpeg::Input(raw)};
    input.device = quint64(status.device);
    input.inode = quint64(status.inode);
    if ((result = avformat_find_stream_info(raw, nullptr)) < 0) {
        return fail(ffmpeg::errorText(result), result);
    }
    input.streamIndex = av_find_best_stream(raw, AVMEDIA_TYPE_AUDIO, -1, -1, &input.codec, 0);
    if (input.streamIndex == AVERROR_STREAM_NOT_FOUND) {
        return fail(QStringLiteral("No audio stream"));
    }
    if (input.streamIndex < 0 || !input.codec) {
        return fail(QStringLiteral("No decoder for the audio stream"));
    }
    const AVCodecParameters* parameters = input.stream()->codecpar;
    if (parameters->sample_rate <= 0 || parameters->sample_rate > kMaxSampleRate ||
        parameters->ch_layout.nb_channels <= 0 ||
        parameters->ch_layout.nb_channels > kMaxChannels) {
        return fail(QStringLiteral("Unsupported audio format (%1 Hz, %2 channels)")
                        .arg(parameters->sample_rate)
                        .arg(parameters->ch_layout.nb_channels));
    }
    for (unsigned i = 0; i < raw->nb_streams; ++i) {
        if (int(i) != input.streamIndex) {
            raw->streams[i]->discard = AVDISCARD_ALL;
        }
    }
    return input;
}

quint64 filesOpened() {
    return openedFiles.load(std::memory_order_relaxed);
}

bool readPacket(AVFormatContext* context, AVPacket* packet, const QString& path) {
    for (int errors = 0;; ++errors) {
        const int result = av_read_frame(context, packet);
        if (result >= 0) {
            return true;
        }
        const bool atEnd = result == AVERROR_EOF || !context->pb || avio_feof(context->pb);
        if (atEnd || errors >= kMaxConsecutiveErrors) {
            return false;
        }
        qCDebug(lcDecode) << path << "skips damaged data:" << ffmpeg::errorText(result);
    }
}

qint64 skipSamples(const AVPacket* packet, bool atStart) {
    size_t size = 0;
    const uint8_t* data = av_packet_get_side_data(packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    if (!data || size < 8) {
        return 0;
    }
    quint32 value = 0;
    std::memcpy(&value, data + (atStart ? 0 : 4), sizeof value);
    return qFromLittleEndian(value);
}

qint64 measureLength(AudioInput& input, const QString& path) {
    const AVStream* stream = input.stream();
    const AVCodecID codec = stream->codecpar->codec_id;
    // A bare MPEG audio stream: its length is in the first frame, if anywhere.
    if (!std::strcmp(input.context->iformat->name, "mp3")) {
        if (const std::optional<qint64> length = mp3HeaderLength(input)) {
            return *length;
        }
    } else if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0 &&
               input.context->duration_estimation_method != AVFMT_DURATION_FROM_BITRATE) {
        qint64 length = toSamples(stream->duration, stream->time_base, input.sampleRate());
        // The Ogg demuxer counts Opus pre-skip into the duration it states.
        if (codec == AV_CODEC_ID_OPUS && !std::strcmp(input.context->iformat->name, "ogg")) {
            length -= stream->codecpar->initial_padding;
        }
        return std::max<qint64>(0, length);
    }
    input.atStart = false;
    if (const std::optional<qint64> counted = countPackets(input, path)) {
        return *counted;
    }
    qCWarning(lcDecode) << path << "states no length and has packets without one";
    return 0;
}

}  // namespace ffmpeg
