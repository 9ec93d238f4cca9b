#include "AudioFile.h"

#include <QLoggingCategory>
#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

#include "FfmpegHandles.h"
#include "FileStatus.h"
#include "Mp3InfoTag.h"
#include "NativeFileName.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
}

namespace {

Q_LOGGING_CATEGORY(lcDecode, "corvantis.audio.decode", QtInfoMsg)

// Beyond these a stream is garbage that happened to parse.
constexpr int kMaxChannels = 64;
constexpr int kMaxSampleRate = 1'536'000;
// Packets in a row that may fail before a reader gives up on the file.
constexpr int kMaxConsecutiveErrors = 64;
// Container seeks that may land too late before a reader decodes from the
// start instead.
constexpr int kSeekAttempts = 4;

qint64 toSamples(int64_t timestamp, AVRational timeBase, int sampleRate) {
    return av_rescale_q(timestamp, timeBase, AVRational{1, sampleRate});
}

int64_t fromSamples(qint64 samples, AVRational timeBase, int sampleRate) {
    return av_rescale_q(samples, AVRational{1, sampleRate}, timeBase);
}

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

// One demuxer with its audio stream chosen and its decoder found.
struct Input {
    ffmpeg::Input context;
    int streamIndex = -1;
    const AVCodec* codec = nullptr;

    AVStream* stream() const { return context->streams[streamIndex]; }
    int sampleRate() const { return stream()->codecpar->sample_rate; }
};

// Errors that say more about the machine at this moment than about the file.
bool isSystemFailure(int code) {
    for (const int number : {EIO, ENOMEM, EMFILE, ENFILE, ENOBUFS, EAGAIN, EINTR}) {
        if (code == AVERROR(number)) {
            return true;
        }
    }
    return false;
}

std::optional<Input> openInput(const QString& path, QString* error,
                               AudioFile::OpenFailure* failure = nullptr) {
    const auto fail = [error, failure](const QString& text, int code = 0) -> std::optional<Input> {
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
    AVFormatContext* raw = nullptr;
    const QByteArray url = "file:" + NativeFileName::encode(path);
    int result = avformat_open_input(&raw, url.constData(), nullptr, &options);
    av_dict_free(&options);
    if (result < 0) {
        return fail(ffmpeg::errorText(result), result);
    }
    Input input{ffmpeg::Input(raw)};
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

// Reads the next packet of any stream, stepping over damaged stretches that
// the demuxer resyncs after. False at the end of the file.
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

// Sums the packets' lengths without decoding them: the length of a stream
// whose container does not state it. nullopt when a packet has no length.
std::optional<qint64> countPackets(const Input& input, const QString& path) {
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
std::optional<qint64> mp3HeaderLength(const Input& input, const QString& path) {
    const std::optional<Mp3InfoTag> tag = readMp3InfoTag(path);
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

// `readPackets` says whether the demuxer has moved on past its header.
qint64 measureLength(const Input& input, const QString& path, bool* readPackets) {
    *readPackets = false;
    const AVStream* stream = input.stream();
    const AVCodecID codec = stream->codecpar->codec_id;
    // A bare MPEG audio stream: its length is in the first frame, if anywhere.
    if (!std::strcmp(input.context->iformat->name, "mp3")) {
        if (const std::optional<qint64> length = mp3HeaderLength(input, path)) {
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
    *readPackets = true;
    if (const std::optional<qint64> counted = countPackets(input, path)) {
        return *counted;
    }
    qCWarning(lcDecode) << path << "states no length and has packets without one";
    return 0;
}

// How much audio a decoder needs before the frames it yields after a jump are
// right: overlapping transforms, bit reservoirs and prediction all look back.
qint64 prerollFor(const AVCodecParameters* parameters) {
    switch (parameters->codec_id) {
        case AV_CODEC_ID_MP1:
        case AV_CODEC_ID_MP2:
        case AV_CODEC_ID_MP3:
            // The bit reservoir reaches 511 bytes back, which in small
            // frames of a low bit rate is up to a dozen frames.
            return 12 * 1152;
        case AV_CODEC_ID_AAC:
            return 2 * 1024;
        case AV_CODEC_ID_OPUS:
            // 80 ms settle it for the ear; the decoder's energy and pitch
            // memory needs several times that to give the very samples a
            // decode from the start gives.
            return parameters->sample_rate * 400 / 1000;
        case AV_CODEC_ID_VORBIS:
            return 2048;
        default:
            break;
    }
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters->codec_id);
    if (descriptor && (descriptor->props & AV_CODEC_PROP_LOSSY)) {
        return 4096;
    }
    return 0;
}

// Raw elementary streams have no index: their demuxers jump by byte rate or
// a coarse table and guess the timestamp of where they land.
bool seeksInexactly(const AVInputFormat* format) {
    for (const char* name : {"mp3", "aac", "ac3"}) {
        if (!std::strcmp(format->name, name)) {
            return true;
        }
    }
    return false;
}

}  // namespace

struct AudioFile::Properties {
    QString path;
    qint64 length = 0;
    int sampleRate = 0;
    int channels = 0;
};

namespace {

class FfmpegFileReader final : public AudioFileReader {
public:
    explicit FfmpegFileReader(const AudioFile::Properties& properties)
        : m_properties(properties), m_packet(av_packet_alloc()), m_frame(av_frame_alloc()) {}
    ~FfmpegFileReader() override { av_channel_layout_uninit(&m_converterLayout); }
    FfmpegFileReader(const FfmpegFileReader&) = delete;
    FfmpegFileReader& operator=(const FfmpegFileReader&) = delete;

    // Over `input` when given (a demuxer fresh from openInput), else over a
    // new one.
    bool open(QString* error, std::optional<Input> input = std::nullopt);

    bool seek(qint64 frame) override;
    qint64 read(float* destination, qint64 frames) override;
    qint64 position() const override { return m_position; }

private:
    enum class Step { frame, end, failed };

    Step decodeNextFrame();
    bool isBeforeSkipTarget();
    bool placeFrame();
    bool convertFrame();
    void resetDecoding();
    bool restart();
    qint64 pendingEnd() const { return m_pendingStart + m_pendingFrames; }

    const AudioFile::Properties m_properties;
    std::optional<Input> m_input;
    ffmpeg::Codec m_decoder;
    ffmpeg::Packet m_packet;
    ffmpeg::Frame m_frame;
    ffmpeg::Resampler m_converter;
    AVChannelLayout m_converterLayout{};
    int m_converterFormat = -1;
    int m_converterRate = 0;
    qint64 m_preroll = 0;

    // Output frame index that the stream's timestamps call zero: the first
    // decoded frame's timestamp from a fresh start, once known.
    std::optional<qint64> m_origin;
    // Decoded frames not yet handed out, interleaved float.
    std::vector<float> m_pending;
    qint64 m_pendingStart = 0;
    qint64 m_pendingFrames = 0;
    // Where the next decoded frame goes when its timestamp is not consulted.
    qint64 m_decodeCursor = 0;
    // The next decoded frame is placed by its timestamp (after a jump).
    bool m_placeByTimestamp = true;
    // A jump made by reading from the start, where the demuxer's own seek is
    // not exact: packets that end at or before `target` are read but not
    // decoded, and counted while their sizes say how many frames they hold.
    struct Scan {
        qint64 target = 0;
        qint64 counted = 0;
        bool countable = true;
        bool first = true;
    };
    std::optional<Scan> m_scan;
    bool m_seekByScanning = false;
    qint64 m_position = 0;
    bool m_flushed = false;
    bool m_failed = false;
    int m_consecutiveErrors = 0;
};

bool FfmpegFileReader::open(QString* error, std::optional<Input> input) {
    av_channel_layout_uninit(&m_converterLayout);
    m_converter.reset();
    m_decoder.reset();
    m_input = input ? std::move(input) : openInput(m_properties.path, error);
    if (!m_input) {
        return false;
    }
    const AVStream* stream = m_input->stream();
    m_decoder.reset(avcodec_alloc_context3(m_input->codec));
    int result = avcodec_parameters_to_context(m_decoder.get(), stream->codecpar);
    // With the packet time base known the decoder moves a frame's timestamp
    // past the samples it trims, which is what places frames exactly.
    m_decoder->pkt_timebase = stream->time_base;
    if (result >= 0) {
        result = avcodec_open2(m_decoder.get(), m_input->codec, nullptr);
    }
    if (result < 0) {
        if (error) {
            *error = ffmpeg::errorText(result);
        }
        m_input.reset();
        return false;
    }
    m_preroll = prerollFor(stream->codecpar);
    m_seekByScanning = seeksInexactly(m_input->context->iformat);
    m_position = 0;
    m_decodeCursor = 0;
    resetDecoding();
    m_failed = false;
    return true;
}

void FfmpegFileReader::resetDecoding() {
    m_pendingStart = m_decodeCursor;
    m_pendingFrames = 0;
    m_placeByTimestamp = true;
    m_scan.reset();
    m_flushed = false;
    m_consecutiveErrors = 0;
}

bool FfmpegFileReader::restart() {
    QString error;
    if (!open(&error)) {
        qCWarning(lcDecode) << "cannot reopen" << m_properties.path << ":" << error;
        m_failed = true;
        return false;
    }
    return true;
}

FfmpegFileReader::Step FfmpegFileReader::decodeNextFrame() {
    for (;;) {
        int result = avcodec_receive_frame(m_decoder.get(), m_frame.get());
        if (result >= 0) {
            m_consecutiveErrors = 0;
            const bool placed = placeFrame() && convertFrame();
            av_frame_unref(m_frame.get());
            if (!placed) {
                return Step::failed;
            }
            if (m_pendingFrames > 0) {
                return Step::frame;
            }
            continue;
        }
        if (result == AVERROR_EOF) {
            return Step::end;
        }
        if (result != AVERROR(EAGAIN)) {
            qCDebug(lcDecode) << m_properties.path
                              << "frame does not decode:" << ffmpeg::errorText(result);
            if (++m_consecutiveErrors > kMaxConsecutiveErrors) {
                return Step::failed;
            }
            continue;
        }
        if (m_flushed) {
            return Step::end;
        }
        if (!readPacket(m_input->context.get(), m_packet.get(), m_properties.path)) {
            avcodec_send_packet(m_decoder.get(), nullptr);
            m_flushed = true;
            continue;
        }
        if (m_packet->stream_index == m_input->streamIndex && isBeforeSkipTarget()) {
            av_packet_unref(m_packet.get());
            continue;
        }
        if (m_packet->stream_index == m_input->streamIndex) {
            result = avcodec_send_packet(m_decoder.get(), m_packet.get());
            if (result < 0 && result != AVERROR(EAGAIN)) {
                // A damaged packet becomes silence of its length, so what
                // follows keeps its place.
                qCDebug(lcDecode) << m_properties.path
                                  << "skips a packet:" << ffmpeg::errorText(result);
                m_decodeCursor += toSamples(m_packet->duration, m_input->stream()->time_base,
                                            m_properties.sampleRate);
                if (++m_consecutiveErrors > kMaxConsecutiveErrors) {
                    av_packet_unref(m_packet.get());
                    return Step::failed;
                }
            }
        }
        av_packet_unref(m_packet.get());
    }
}

bool FfmpegFileReader::isBeforeSkipTarget() {
    if (!m_scan) {
        return false;
    }
    Scan& scan = *m_scan;
    const AVStream* stream = m_input->stream();
    if (scan.first) {
        scan.counted -= skipSamples(m_packet.get(), true);
        scan.first = false;
    }
    // These codecs fix the frames in a packet, which counts exactly where
    // the container's clock cannot (AC-3 at 44.1 kHz against 90 kHz).
    const int frames = av_get_audio_frame_duration2(stream->codecpar, m_packet->size);
    scan.countable = scan.countable && frames > 0;
    qint64 end = 0;
    if (scan.countable) {
        end = scan.counted + frames;
    } else if (m_packet->pts != AV_NOPTS_VALUE && m_packet->duration > 0) {
        end = toSamples(m_packet->pts + m_packet->duration, stream->time_base,
                        m_properties.sampleRate) -
              *m_origin;
    } else {
        m_scan.reset();
        return false;
    }
    if (end <= scan.target) {
        scan.counted = end;
        return true;
    }
    if (scan.countable) {
        m_decodeCursor = scan.counted;
        m_placeByTimestamp = false;
    }
    m_scan.reset();
    return false;
}

bool FfmpegFileReader::placeFrame() {
    if (!m_placeByTimestamp) {
        m_pendingStart = m_decodeCursor;
        return true;
    }
    m_placeByTimestamp = false;
    const int64_t timestamp = m_frame->best_effort_timestamp != AV_NOPTS_VALUE
                                  ? m_frame->best_effort_timestamp
                                  : m_frame->pts;
    if (timestamp == AV_NOPTS_VALUE) {
        // Without timestamps only counting from the start is exact.
        if (!m_origin) {
            m_origin = 0;
        }
        m_pendingStart = m_decodeCursor;
        return true;
    }
    const qint64 at = toSamples(timestamp, m_input->stream()->time_base, m_properties.sampleRate);
    if (!m_origin) {
        m_origin = at;
    }
    m_pendingStart = at - *m_origin;
    return true;
}

bool FfmpegFileReader::convertFrame() {
    const int channels = m_properties.channels;
    const int frames = m_frame->nb_samples;
    if (m_frame->sample_rate != m_properties.sampleRate) {
        qCDebug(lcDecode) << m_properties.path << "changes rate to" << m_frame->sample_rate;
    }
    if (!m_converter || m_converterFormat != m_frame->format ||
        m_converterRate != m_frame->sample_rate ||
        av_channel_layout_compare(&m_converterLayout, &m_frame->ch_layout) != 0) {
        // Same rate on both sides: only the sample format changes (and the
        // channels, should a stream change its count midway).
        AVChannelLayout out{};
        if (m_frame->ch_layout.nb_channels == channels) {
            av_channel_layout_copy(&out, &m_frame->ch_layout);
        } else {
            av_channel_layout_default(&out, channels);
        }
        SwrContext* raw = nullptr;
        int result = swr_alloc_set_opts2(
            &raw, &out, AV_SAMPLE_FMT_FLT, m_frame->sample_rate, &m_frame->ch_layout,
            static_cast<AVSampleFormat>(m_frame->format), m_frame->sample_rate, 0, nullptr);
        av_channel_layout_uninit(&out);
        m_converter.reset(raw);
        if (result >= 0) {
            result = swr_init(raw);
        }
        if (result < 0) {
            qCWarning(lcDecode) << m_properties.path
                                << "cannot convert samples:" << ffmpeg::errorText(result);
            m_converter.reset();
            return false;
        }
        av_channel_layout_uninit(&m_converterLayout);
        av_channel_layout_copy(&m_converterLayout, &m_frame->ch_layout);
        m_converterFormat = m_frame->format;
        m_converterRate = m_frame->sample_rate;
    }
    m_pending.resize(size_t(frames) * channels);
    auto* out = reinterpret_cast<uint8_t*>(m_pending.data());
    const int converted = swr_convert(m_converter.get(), &out, frames,
                                      const_cast<const uint8_t**>(m_frame->extended_data), frames);
    if (converted < 0) {
        qCWarning(lcDecode) << m_properties.path
                            << "cannot convert samples:" << ffmpeg::errorText(converted);
        return false;
    }
    m_pendingFrames = converted;
    m_decodeCursor = m_pendingStart + converted;
    return true;
}

qint64 FfmpegFileReader::read(float* destination, qint64 frames) {
    if (m_failed || !m_input) {
        return -1;
    }
    const int channels = m_properties.channels;
    qint64 written = 0;
    while (written < frames && m_position < m_properties.length) {
        const qint64 wanted = std::min(frames - written, m_properties.length - m_position);
        if (m_position < pendingEnd()) {
            float* out = destination + written * channels;
            if (m_position < m_pendingStart) {
                // Audio that was lost to a damaged packet.
                const qint64 gap = std::min(wanted, m_pendingStart - m_position);
                std::fill(out, out + gap * channels, 0.0f);
                written += gap;
                m_position += gap;
                continue;
            }
            const qint64 count = std::min(wanted, pendingEnd() - m_position);
            const float* from = m_pending.data() + (m_position - m_pendingStart) * channels;
            std::copy(from, from + count * channels, out);
            written += count;
            m_position += count;
            continue;
        }
        const Step step = decodeNextFrame();
        if (step == Step::end) {
            break;
        }
        if (step == Step::failed) {
            qCWarning(lcDecode) << m_properties.path << "does not decode beyond frame"
                                << m_position;
            m_failed = true;
            return written > 0 ? written : -1;
        }
    }
    return written;
}

bool FfmpegFileReader::seek(qint64 frame) {
    if (frame < 0 || frame > m_properties.length) {
        return false;
    }
    if (!m_input && !restart()) {
        return false;
    }
    // Close ahead: decoding on is cheaper than any jump, and exact.
    const qint64 nearby = std::max<qint64>(m_preroll, m_properties.sampleRate / 4);
    if (!m_failed && frame >= m_position && frame - m_position <= nearby) {
        m_position = frame;
        return true;
    }
    if (frame <= m_preroll + nearby) {
        if (!restart()) {
            return false;
        }
        m_position = frame;
        return true;
    }
    if (!m_origin && decodeNextFrame() != Step::frame) {
        // A file whose first frame does not decode cannot be placed by
        // timestamps at all.
        return false;
    }
    if (m_seekByScanning) {
        // Timestamps are exact only when counted from the start, so read
        // from there, decoding nothing until the pre-roll before `frame`.
        if (!restart()) {
            return false;
        }
        m_scan = Scan{frame - m_preroll};
        m_position = frame;
        return true;
    }
    const AVStream* stream = m_input->stream();
    qint64 backoff = m_preroll + 1;
    for (int attempt = 0; attempt < kSeekAttempts && frame - backoff > 0; ++attempt) {
        const int64_t target =
            fromSamples(*m_origin + frame - backoff, stream->time_base, m_properties.sampleRate);
        const int result = avformat_seek_file(m_input->context.get(), m_input->streamIndex,
                                              INT64_MIN, target, target, 0);
        if (result < 0) {
            qCDebug(lcDecode) << m_properties.path << "cannot seek:" << ffmpeg::errorText(result);
            break;
        }
        avcodec_flush_buffers(m_decoder.get());
        m_failed = false;
        resetDecoding();
        m_position = frame;
        const Step step = decodeNextFrame();
        if (step == Step::frame && m_pendingStart <= frame - m_preroll) {
            return true;
        }
        // Landed too late for the decoder to settle (or nowhere): further back.
        backoff = backoff * 4 + m_properties.sampleRate;
    }
    qCDebug(lcDecode) << m_properties.path << "decodes from the start to reach frame" << frame;
    if (!restart()) {
        return false;
    }
    m_position = frame;
    return true;
}

}  // namespace

struct AudioFile::OpenInput {
    std::mutex mutex;
    std::optional<Input> input;
};

AudioFile::AudioFile(std::unique_ptr<Properties> properties)
    : m_properties(std::move(properties)), m_openInput(std::make_unique<OpenInput>()) {}

AudioFile::~AudioFile() = default;

std::shared_ptr<AudioFile> AudioFile::openForReading(const QString& path, QString* error,
                                                     OpenFailure* failure) {
    std::optional<Input> input = openInput(path, error, failure);
    if (!input) {
        return nullptr;
    }
    auto properties = std::make_unique<Properties>();
    properties->path = path;
    properties->sampleRate = input->sampleRate();
    properties->channels = input->stream()->codecpar->ch_layout.nb_channels;
    bool readPackets = false;
    properties->length = measureLength(*input, path, &readPackets);
    std::shared_ptr<AudioFile> file(new AudioFile(std::move(properties)));
    // A demuxer that counted its way to the end would have to find its way
    // back; a new one is the surer start.
    if (!readPackets) {
        file->m_openInput->input = std::move(input);
    }
    return file;
}

QString AudioFile::path() const {
    return m_properties->path;
}

qint64 AudioFile::length() const {
    return m_properties->length;
}

double AudioFile::sampleRate() const {
    return m_properties->sampleRate;
}

int AudioFile::channelCount() const {
    return m_properties->channels;
}

double AudioFile::durationSeconds() const {
    return double(m_properties->length) / m_properties->sampleRate;
}

std::unique_ptr<AudioFileReader> AudioFile::createReader(QString* error) const {
    std::optional<Input> input;
    {
        const std::lock_guard lock(m_openInput->mutex);
        input.swap(m_openInput->input);
    }
    auto reader = std::make_unique<FfmpegFileReader>(*m_properties);
    if (!reader->open(error, std::move(input))) {
        return nullptr;
    }
    return reader;
}
