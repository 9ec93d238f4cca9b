#include "FfmpegFileReader.h"

#include <algorithm>
#include <array>
#include <cstring>

using namespace ffmpeg;

namespace {

// Container seeks that may land too late before a reader decodes from the
// start instead.
constexpr int kSeekAttempts = 4;

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

FfmpegFileReader::FfmpegFileReader(const AudioFile::Properties& properties)
    : m_properties(properties),
      m_packet(av_packet_alloc()),
      m_frame(av_frame_alloc()),
      m_held(av_frame_alloc()) {}

FfmpegFileReader::~FfmpegFileReader() {
    av_channel_layout_uninit(&m_converterLayout);
}

bool FfmpegFileReader::open(std::optional<ffmpeg::AudioInput> probed, QString* error) {
    av_channel_layout_uninit(&m_converterLayout);
    m_converter.reset();
    m_decoder.reset();
    if (probed && probed->atStart) {
        m_input = std::move(probed);
    } else {
        m_input = openInput(m_properties.path, error);
    }
    if (!m_input) {
        return false;
    }
    if (m_input->device != m_properties.device || m_input->inode != m_properties.inode) {
        // Another file under the same name: its frames would not be the ones
        // the length and every position were measured in.
        if (error) {
            *error = QStringLiteral("The file was replaced after it was opened");
        }
        m_input.reset();
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
    av_frame_unref(m_held.get());
    m_placeByTimestamp = true;
    m_scan.reset();
    m_flushed = false;
    m_consecutiveErrors = 0;
}

bool FfmpegFileReader::restart() {
    QString error;
    if (!open(std::nullopt, &error)) {
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
            if (!placeFrame() || !prepareConverter()) {
                av_frame_unref(m_frame.get());
                return Step::failed;
            }
            // Kept as decoded: read() converts from it straight into the
            // caller's buffer, whatever part of it the caller asks for.
            av_frame_unref(m_held.get());
            av_frame_move_ref(m_held.get(), m_frame.get());
            m_pendingFrames = m_held->nb_samples;
            m_decodeCursor = m_pendingStart + m_pendingFrames;
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

bool FfmpegFileReader::prepareConverter() {
    const int channels = m_properties.channels;
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
    return true;
}

bool FfmpegFileReader::convertHeld(float* destination, qint64 offset, qint64 frames) {
    const AVFrame* frame = m_held.get();
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const bool planar = av_sample_fmt_is_planar(format);
    const int planes = planar ? frame->ch_layout.nb_channels : 1;
    const qint64 step =
        qint64(av_get_bytes_per_sample(format)) * (planar ? 1 : frame->ch_layout.nb_channels);
    std::array<const uint8_t*, kMaxChannels> from{};
    if (planes > int(from.size())) {
        qCWarning(lcDecode) << m_properties.path << "has too many channels:" << planes;
        return false;
    }
    for (int plane = 0; plane < planes; ++plane) {
        from[size_t(plane)] = frame->extended_data[plane] + offset * step;
    }
    auto* out = reinterpret_cast<uint8_t*>(destination);
    // At one rate the converter keeps nothing back: each call converts all
    // it is given, so a frame converts the same in any number of parts.
    const int converted =
        swr_convert(m_converter.get(), &out, int(frames), from.data(), int(frames));
    if (converted != frames) {
        qCWarning(lcDecode) << m_properties.path << "cannot convert samples:"
                            << (converted < 0
                                    ? ffmpeg::errorText(converted)
                                    : QStringLiteral("%1 of %2").arg(converted).arg(frames));
        return false;
    }
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
            qint64 count = 0;
            if (m_position < m_pendingStart) {
                // Audio that was lost to a damaged packet.
                count = std::min(wanted, m_pendingStart - m_position);
                std::fill(out, out + count * channels, 0.0f);
            } else {
                count = std::min(wanted, pendingEnd() - m_position);
                if (!convertHeld(out, m_position - m_pendingStart, count)) {
                    m_failed = true;
                    return written > 0 ? written : -1;
                }
            }
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
