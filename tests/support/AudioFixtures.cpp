#include "AudioFixtures.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cmath>
#include <numbers>

#include "FfmpegHandles.h"
#include "TestSupport.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {

// Everything the generator knows about a format, in the enum's order. `vbr`
// asks for variable bit rate, as most music files have; otherwise a nonzero
// `bitRate` is the constant rate.
struct FormatInfo {
    const char* name;
    const char* extension;
    const char* codec;
    const char* muxer;
    bool lossless;
    bool vbr;
    int bitRate;
};
constexpr FormatInfo kFormats[] = {
    {"wav", ".wav", "pcm_s16le", "wav", true, false, 0},
    {"aiff", ".aiff", "pcm_s16be", "aiff", true, false, 0},
    {"flac", ".flac", "flac", "flac", true, false, 0},
    {"mp3", ".mp3", "libmp3lame", "mp3", false, true, 0},
    {"mp3NoHeader", ".mp3", "libmp3lame", "mp3", false, true, 0},
    {"m4aAac", ".m4a", "aac", "ipod", false, false, 128000},
    {"m4aAlac", ".m4a", "alac", "ipod", true, false, 0},
    {"oggVorbis", ".ogg", "libvorbis", "ogg", false, true, 0},
    {"opus", ".opus", "libopus", "ogg", false, false, 96000},
    {"wavFloat", ".wav", "pcm_f32le", "wav", true, false, 0},
};

constexpr double kFrameIndexScale = 16777216.0;  // 2^24

const FormatInfo& infoOf(FixtureFormat format) {
    return kFormats[static_cast<int>(format)];
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

// The value of `fixture` at `frame` on `channel`, in float and in 16 bits.
double value(const AudioFixture& fixture, qint64 frame, int channel) {
    if (fixture.signal.kind == FixtureSignal::Kind::framePattern) {
        return patternValue(frame, channel) / 32768.0;
    }
    if (fixture.signal.kind == FixtureSignal::Kind::frameIndex) {
        return (channel % 2 ? -1 : 1) * double(frame + 1) / kFrameIndexScale;
    }
    const double frequency = fixture.signal.frequency * (channel + 1);
    return fixture.signal.amplitude *
           std::sin(2.0 * std::numbers::pi * frequency * frame / fixture.sampleRate);
}
qint16 value16(const AudioFixture& fixture, qint64 frame, int channel) {
    return fixture.signal.kind == FixtureSignal::Kind::framePattern
               ? patternValue(frame, channel)
               : static_cast<qint16>(std::lrint(value(fixture, frame, channel) * 32767.0));
}

// Writes frames [first, first + count) of `fixture` into `frame`'s buffers.
void fill(const AudioFixture& fixture, AVFrame* frame, qint64 first, int count) {
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const bool planar = av_sample_fmt_is_planar(format);
    for (int i = 0; i < count; ++i) {
        for (int c = 0; c < fixture.channels; ++c) {
            uint8_t* data = frame->extended_data[planar ? c : 0];
            const int index = planar ? i : i * fixture.channels + c;
            switch (av_get_packed_sample_fmt(format)) {
                case AV_SAMPLE_FMT_S16:
                    reinterpret_cast<int16_t*>(data)[index] = value16(fixture, first + i, c);
                    break;
                case AV_SAMPLE_FMT_S32:
                    reinterpret_cast<int32_t*>(data)[index] =
                        int32_t(value16(fixture, first + i, c)) * 65536;
                    break;
                default:
                    reinterpret_cast<float*>(data)[index] =
                        static_cast<float>(value(fixture, first + i, c));
                    break;
            }
        }
    }
}

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

// Float value of one decoded sample, in the sample formats the fixtures'
// decoders produce.
float sampleAsFloat(const AVFrame* frame, int index, int channel) {
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const bool planar = av_sample_fmt_is_planar(format);
    const uint8_t* data = frame->extended_data[planar ? channel : 0];
    const int at = planar ? index : index * frame->ch_layout.nb_channels + channel;
    switch (av_get_packed_sample_fmt(format)) {
        case AV_SAMPLE_FMT_S16:
            return reinterpret_cast<const int16_t*>(data)[at] / 32768.0f;
        case AV_SAMPLE_FMT_S32:
            return static_cast<float>(reinterpret_cast<const int32_t*>(data)[at] / 2147483648.0);
        case AV_SAMPLE_FMT_FLT:
            return reinterpret_cast<const float*>(data)[at];
        default:
            ADD_FAILURE() << "no reference for sample format " << format;
            return 0.0f;
    }
}

}  // namespace

QString fixtureExtension(FixtureFormat format) {
    return QString::fromLatin1(infoOf(format).extension);
}

const char* fixtureName(FixtureFormat format) {
    return infoOf(format).name;
}

bool isLossless(FixtureFormat format) {
    return infoOf(format).lossless;
}

float patternSample(qint64 frame, int channel) {
    return patternValue(frame, channel) / 32768.0f;
}

QString writeAudioFixture(const QString& path, const AudioFixture& fixture) {
    if (fixture.signal.kind == FixtureSignal::Kind::framePattern && !isLossless(fixture.format)) {
        return QStringLiteral("a frame pattern needs a lossless format");
    }
    if (fixture.signal.kind == FixtureSignal::Kind::frameIndex &&
        fixture.format != FixtureFormat::wavFloat) {
        return QStringLiteral("the frame index needs a float WAV");
    }
    if (fixture.channels <= 0 || fixture.sampleRate <= 0 || fixture.frames < 0) {
        return QStringLiteral("bad fixture shape");
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    const FormatInfo& info = infoOf(fixture.format);
    const AVCodec* codec = avcodec_find_encoder_by_name(info.codec);
    if (!codec) {
        return QStringLiteral("no encoder %1").arg(info.codec);
    }
    const QByteArray name = QFile::encodeName(path);
    AVFormatContext* rawOutput = nullptr;
    int result = avformat_alloc_output_context2(&rawOutput, nullptr, info.muxer, name.constData());
    if (result < 0) {
        return fail("output", result);
    }
    const ffmpeg::Output output(rawOutput);

    const ffmpeg::Codec encoder(avcodec_alloc_context3(codec));
    encoder->sample_rate = fixture.sampleRate;
    encoder->sample_fmt = pickSampleFormat(codec);
    encoder->time_base = {1, fixture.sampleRate};
    av_channel_layout_default(&encoder->ch_layout, fixture.channels);
    if (info.vbr) {
        encoder->flags |= AV_CODEC_FLAG_QSCALE;
        encoder->global_quality = 4 * FF_QP2LAMBDA;
    }
    if (info.bitRate > 0) {
        encoder->bit_rate = info.bitRate;
    }
    if (output->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    if ((result = avcodec_open2(encoder.get(), codec, nullptr)) < 0) {
        return fail(QStringLiteral("open %1").arg(info.codec), result);
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
        fill(fixture, frame.get(), first, count);
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

QString writePatternFile(const QString& name, int sampleRate, qint64 frames, int channels) {
    const QString path = QDir(testHome()).filePath(name);
    EXPECT_EQ(writeAudioFixture(path, {FixtureFormat::wavFloat, frames, sampleRate, channels,
                                       FixtureSignal::frameIndex()}),
              "");
    return path;
}

QString writeSineFile(const QString& name, int sampleRate, qint64 frames, double hertz,
                      double amplitude, int channels) {
    const QString path = QDir(testHome()).filePath(name);
    EXPECT_EQ(writeAudioFixture(path, {FixtureFormat::wavFloat, frames, sampleRate, channels,
                                       FixtureSignal::sine(hertz, amplitude)}),
              "");
    return path;
}

qint64 patternFrame(float sample) {
    return qint64(std::llround(std::fabs(double(sample)) * kFrameIndexScale)) - 1;
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
