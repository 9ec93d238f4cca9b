#include "AudioFixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cmath>
#include <numbers>

#include "FfmpegHandles.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {

struct EncoderChoice {
    const char* codec;
    const char* muxer;
};

EncoderChoice encoderFor(FixtureFormat format) {
    switch (format) {
        case FixtureFormat::wav:
            return {"pcm_s16le", "wav"};
        case FixtureFormat::aiff:
            return {"pcm_s16be", "aiff"};
        case FixtureFormat::flac:
            return {"flac", "flac"};
        case FixtureFormat::mp3:
        case FixtureFormat::mp3NoHeader:
            return {"libmp3lame", "mp3"};
        case FixtureFormat::m4aAac:
            return {"aac", "ipod"};
        case FixtureFormat::m4aAlac:
            return {"alac", "ipod"};
        case FixtureFormat::oggVorbis:
            return {"libvorbis", "ogg"};
        case FixtureFormat::opus:
            return {"libopus", "ogg"};
    }
    return {"", ""};
}

// The integer form of the frame pattern: consecutive frames step by one, so
// lossless encoders keep it small, and channels sit far apart.
qint16 patternValue(qint64 frame, int channel) {
    return static_cast<qint16>(static_cast<quint16>((frame + channel * 20011) & 0xFFFF));
}

// Sample formats the generator writes, most wanted first: 16-bit keeps the
// pattern exact, the rest serve the encoders that take nothing else.
constexpr AVSampleFormat kWritableFormats[] = {AV_SAMPLE_FMT_S16,  AV_SAMPLE_FMT_S16P,
                                               AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_FLT,
                                               AV_SAMPLE_FMT_S32P, AV_SAMPLE_FMT_S32};

AVSampleFormat pickSampleFormat(const AVCodec* codec) {
    for (const AVSampleFormat wanted : kWritableFormats) {
        for (const AVSampleFormat* offered = codec->sample_fmts;
             offered && *offered != AV_SAMPLE_FMT_NONE; ++offered) {
            if (*offered == wanted) {
                return wanted;
            }
        }
    }
    return AV_SAMPLE_FMT_NONE;
}

class SignalSource {
public:
    SignalSource(const AudioFixture& fixture) : m_fixture(fixture) {}

    double value(qint64 frame, int channel) const {
        if (m_fixture.signal.kind == FixtureSignal::Kind::framePattern) {
            return patternValue(frame, channel) / 32768.0;
        }
        const double frequency = m_fixture.signal.frequency * (channel + 1);
        return m_fixture.signal.amplitude *
               std::sin(2.0 * std::numbers::pi * frequency * frame / m_fixture.sampleRate);
    }
    qint16 value16(qint64 frame, int channel) const {
        if (m_fixture.signal.kind == FixtureSignal::Kind::framePattern) {
            return patternValue(frame, channel);
        }
        return static_cast<qint16>(std::lrint(value(frame, channel) * 32767.0));
    }

    // Writes frames [first, first + count) into `frame`'s buffers.
    void fill(AVFrame* frame, qint64 first, int count) const {
        const int channels = m_fixture.channels;
        const auto format = static_cast<AVSampleFormat>(frame->format);
        const bool planar = av_sample_fmt_is_planar(format);
        for (int i = 0; i < count; ++i) {
            for (int c = 0; c < channels; ++c) {
                const int plane = planar ? c : 0;
                const int index = planar ? i : i * channels + c;
                uint8_t* data = frame->extended_data[plane];
                switch (av_get_packed_sample_fmt(format)) {
                    case AV_SAMPLE_FMT_S16:
                        reinterpret_cast<int16_t*>(data)[index] = value16(first + i, c);
                        break;
                    case AV_SAMPLE_FMT_S32:
                        reinterpret_cast<int32_t*>(data)[index] =
                            int32_t(value16(first + i, c)) * 65536;
                        break;
                    default:
                        reinterpret_cast<float*>(data)[index] =
                            static_cast<float>(value(first + i, c));
                        break;
                }
            }
        }
    }

private:
    AudioFixture m_fixture;
};

QString fail(const QString& what, int code) {
    return what + ": " + ffmpeg::errorText(code);
}

// Sends one frame (or the flush, for nullptr) and writes every packet that
// comes out.
QString encodeAndWrite(AVCodecContext* encoder, AVFrame* frame, AVFormatContext* output,
                       AVStream* stream) {
    int result = avcodec_send_frame(encoder, frame);
    if (result < 0) {
        return fail("encode", result);
    }
    const ffmpeg::Packet packet(av_packet_alloc());
    while ((result = avcodec_receive_packet(encoder, packet.get())) >= 0) {
        av_packet_rescale_ts(packet.get(), encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        if ((result = av_interleaved_write_frame(output, packet.get())) < 0) {
            return fail("write packet", result);
        }
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) {
        return fail("encode", result);
    }
    return {};
}

void configureEncoder(AVCodecContext* encoder, FixtureFormat format) {
    switch (format) {
        case FixtureFormat::mp3:
        case FixtureFormat::mp3NoHeader:
        case FixtureFormat::oggVorbis:
            // Variable bit rate, as most music files are.
            encoder->flags |= AV_CODEC_FLAG_QSCALE;
            encoder->global_quality = 4 * FF_QP2LAMBDA;
            break;
        case FixtureFormat::m4aAac:
            encoder->bit_rate = 128000;
            break;
        case FixtureFormat::opus:
            encoder->bit_rate = 96000;
            break;
        default:
            break;
    }
}

// Float value of one sample of any library sample format.
float sampleAsFloat(const AVFrame* frame, int index, int channel) {
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const int channels = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(format);
    const uint8_t* data = frame->extended_data[planar ? channel : 0];
    const int at = planar ? index : index * channels + channel;
    switch (av_get_packed_sample_fmt(format)) {
        case AV_SAMPLE_FMT_U8:
            return (data[at] - 128) / 128.0f;
        case AV_SAMPLE_FMT_S16:
            return reinterpret_cast<const int16_t*>(data)[at] / 32768.0f;
        case AV_SAMPLE_FMT_S32:
            return static_cast<float>(reinterpret_cast<const int32_t*>(data)[at] / 2147483648.0);
        case AV_SAMPLE_FMT_S64:
            return static_cast<float>(reinterpret_cast<const int64_t*>(data)[at] /
                                      9223372036854775808.0);
        case AV_SAMPLE_FMT_FLT:
            return reinterpret_cast<const float*>(data)[at];
        case AV_SAMPLE_FMT_DBL:
            return static_cast<float>(reinterpret_cast<const double*>(data)[at]);
        default:
            return 0.0f;
    }
}

}  // namespace

QString fixtureExtension(FixtureFormat format) {
    switch (format) {
        case FixtureFormat::wav:
            return ".wav";
        case FixtureFormat::aiff:
            return ".aiff";
        case FixtureFormat::flac:
            return ".flac";
        case FixtureFormat::mp3:
        case FixtureFormat::mp3NoHeader:
            return ".mp3";
        case FixtureFormat::m4aAac:
        case FixtureFormat::m4aAlac:
            return ".m4a";
        case FixtureFormat::oggVorbis:
            return ".ogg";
        case FixtureFormat::opus:
            return ".opus";
    }
    return {};
}

const char* fixtureName(FixtureFormat format) {
    switch (format) {
        case FixtureFormat::wav:
            return "wav";
        case FixtureFormat::aiff:
            return "aiff";
        case FixtureFormat::flac:
            return "flac";
        case FixtureFormat::mp3:
            return "mp3";
        case FixtureFormat::mp3NoHeader:
            return "mp3NoHeader";
        case FixtureFormat::m4aAac:
            return "m4aAac";
        case FixtureFormat::m4aAlac:
            return "m4aAlac";
        case FixtureFormat::oggVorbis:
            return "oggVorbis";
        case FixtureFormat::opus:
            return "opus";
    }
    return "";
}

bool isLossless(FixtureFormat format) {
    switch (format) {
        case FixtureFormat::wav:
        case FixtureFormat::aiff:
        case FixtureFormat::flac:
        case FixtureFormat::m4aAlac:
            return true;
        default:
            return false;
    }
}

float patternSample(qint64 frame, int channel) {
    return patternValue(frame, channel) / 32768.0f;
}

QString writeAudioFixture(const QString& path, const AudioFixture& fixture) {
    if (fixture.signal.kind == FixtureSignal::Kind::framePattern && !isLossless(fixture.format)) {
        return QStringLiteral("a frame pattern needs a lossless format");
    }
    if (fixture.channels <= 0 || fixture.sampleRate <= 0 || fixture.frames < 0) {
        return QStringLiteral("bad fixture shape");
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    const EncoderChoice choice = encoderFor(fixture.format);
    const AVCodec* codec = avcodec_find_encoder_by_name(choice.codec);
    if (!codec) {
        return QStringLiteral("no encoder %1").arg(choice.codec);
    }
    const QByteArray name = QFile::encodeName(path);
    AVFormatContext* rawOutput = nullptr;
    int result =
        avformat_alloc_output_context2(&rawOutput, nullptr, choice.muxer, name.constData());
    if (result < 0) {
        return fail("output", result);
    }
    const ffmpeg::Output output(rawOutput);

    const ffmpeg::Codec encoder(avcodec_alloc_context3(codec));
    encoder->sample_rate = fixture.sampleRate;
    encoder->sample_fmt = pickSampleFormat(codec);
    encoder->time_base = {1, fixture.sampleRate};
    av_channel_layout_default(&encoder->ch_layout, fixture.channels);
    configureEncoder(encoder.get(), fixture.format);
    if (output->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    if ((result = avcodec_open2(encoder.get(), codec, nullptr)) < 0) {
        return fail(QStringLiteral("open %1").arg(choice.codec), result);
    }

    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    stream->time_base = encoder->time_base;
    avcodec_parameters_from_context(stream->codecpar, encoder.get());
    if ((result = avio_open(&output->pb, name.constData(), AVIO_FLAG_WRITE)) < 0) {
        return fail("create file", result);
    }
    AVDictionary* options = nullptr;
    if (fixture.format == FixtureFormat::mp3NoHeader) {
        av_dict_set(&options, "write_xing", "0", 0);
    }
    result = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    if (result < 0) {
        return fail("write header", result);
    }

    const SignalSource source(fixture);
    const int chunk = encoder->frame_size > 0 ? encoder->frame_size : 1024;
    const ffmpeg::Frame frame(av_frame_alloc());
    for (qint64 first = 0; first < fixture.frames; first += chunk) {
        const int count = static_cast<int>(std::min<qint64>(chunk, fixture.frames - first));
        av_frame_unref(frame.get());
        frame->format = encoder->sample_fmt;
        frame->nb_samples = count;
        frame->sample_rate = fixture.sampleRate;
        av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout);
        if ((result = av_frame_get_buffer(frame.get(), 0)) < 0) {
            return fail("frame", result);
        }
        source.fill(frame.get(), first, count);
        frame->pts = first;
        if (const QString error = encodeAndWrite(encoder.get(), frame.get(), output.get(), stream);
            !error.isEmpty()) {
            return error;
        }
    }
    if (const QString error = encodeAndWrite(encoder.get(), nullptr, output.get(), stream);
        !error.isEmpty()) {
        return error;
    }
    if ((result = av_write_trailer(output.get())) < 0) {
        return fail("write trailer", result);
    }
    return {};
}

std::optional<DecodedAudio> referenceDecode(const QString& path, QString* error) {
    const auto failed = [error](const QString& what, int code) -> std::optional<DecodedAudio> {
        if (error) {
            *error = fail(what, code);
        }
        return std::nullopt;
    };
    AVFormatContext* rawInput = nullptr;
    int result =
        avformat_open_input(&rawInput, QFile::encodeName(path).constData(), nullptr, nullptr);
    if (result < 0) {
        return failed("open", result);
    }
    const ffmpeg::Input input(rawInput);
    if ((result = avformat_find_stream_info(input.get(), nullptr)) < 0) {
        return failed("stream info", result);
    }
    const AVCodec* codec = nullptr;
    const int streamIndex = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (streamIndex < 0) {
        return failed("audio stream", streamIndex);
    }
    const AVStream* stream = input->streams[streamIndex];
    const ffmpeg::Codec decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream->codecpar);
    decoder->pkt_timebase = stream->time_base;
    if ((result = avcodec_open2(decoder.get(), codec, nullptr)) < 0) {
        return failed("decoder", result);
    }

    DecodedAudio decoded;
    decoded.sampleRate = decoder->sample_rate;
    decoded.channels = decoder->ch_layout.nb_channels;
    const ffmpeg::Packet packet(av_packet_alloc());
    const ffmpeg::Frame frame(av_frame_alloc());
    const auto drain = [&]() {
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            decoded.channels = frame->ch_layout.nb_channels;
            for (int i = 0; i < frame->nb_samples; ++i) {
                for (int c = 0; c < decoded.channels; ++c) {
                    decoded.samples.push_back(sampleAsFloat(frame.get(), i, c));
                }
            }
        }
    };
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == streamIndex) {
            avcodec_send_packet(decoder.get(), packet.get());
            drain();
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    drain();
    return decoded;
}
