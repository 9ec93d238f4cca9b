// The decoding module's entry: AudioDecoder over the FFmpeg libraries.

#include "AudioDecoder.h"
#include "FfmpegFileReader.h"
#include "FfmpegInput.h"

#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {

class FfmpegSampleRateConverter final : public SampleRateConverter {
public:
    explicit FfmpegSampleRateConverter(ffmpeg::Resampler context) : m_context(std::move(context)) {}

    qint64 delay() const override { return swr_get_delay(m_context.get(), 1); }

    int convert(float* output, int capacity, const float* input, int frames) override {
        auto* out = reinterpret_cast<uint8_t*>(output);
        const auto* in = reinterpret_cast<const uint8_t*>(input);
        const int count =
            swr_convert(m_context.get(), &out, capacity, input ? &in : nullptr, frames);
        return count < 0 ? -1 : count;
    }

private:
    ffmpeg::Resampler m_context;
};

class FfmpegDecoder final : public AudioDecoder {
public:
    std::unique_ptr<ProbedFile> probe(const QString& path, AudioFile::Properties& properties,
                                      QString* error,
                                      AudioFile::OpenFailure* failure) const override {
        auto probed = std::make_unique<FfmpegProbedFile>();
        probed->input = ffmpeg::openInput(path, error, failure);
        if (!probed->input) {
            return nullptr;
        }
        ffmpeg::AudioInput& input = *probed->input;
        properties.path = path;
        properties.sampleRate = input.sampleRate();
        properties.channels = input.stream()->codecpar->ch_layout.nb_channels;
        properties.device = input.device;
        properties.inode = input.inode;
        properties.length = ffmpeg::measureLength(input, path);
        if (!input.atStart) {
            // Read to its end: a reader would open it again anyway.
            probed->input.reset();
        }
        return probed;
    }

    std::unique_ptr<AudioFileReader> createReader(const AudioFile::Properties& properties,
                                                  std::unique_ptr<ProbedFile> probed,
                                                  QString* error) const override {
        std::optional<ffmpeg::AudioInput> input;
        if (auto* ours = dynamic_cast<FfmpegProbedFile*>(probed.get())) {
            input = std::move(ours->input);
        }
        auto reader = std::make_unique<FfmpegFileReader>(properties);
        if (!reader->open(std::move(input), error)) {
            return nullptr;
        }
        return reader;
    }

    quint64 filesOpened() const override { return ffmpeg::filesOpened(); }

    std::unique_ptr<SampleRateConverter> createConverter(int channels, double inputRate,
                                                         double outputRate) const override {
        AVChannelLayout in{};
        av_channel_layout_default(&in, channels);
        AVChannelLayout out = AV_CHANNEL_LAYOUT_STEREO;
        SwrContext* raw = nullptr;
        const int rc =
            swr_alloc_set_opts2(&raw, &out, AV_SAMPLE_FMT_FLT, int(std::lround(outputRate)), &in,
                                AV_SAMPLE_FMT_FLT, int(std::lround(inputRate)), 0, nullptr);
        av_channel_layout_uninit(&in);
        ffmpeg::Resampler context(raw);
        if (rc < 0 || !context) {
            return nullptr;
        }
        av_opt_set_double(raw, "rematrix_maxval", 1.0, 0);
        av_opt_set_int(raw, "filter_size", 32, 0);
        av_opt_set_int(raw, "phase_shift", 10, 0);
        av_opt_set_double(raw, "cutoff", 0.97, 0);
        if (channels == 1) {
            const double matrix[2] = {1.0, 1.0};
            swr_set_matrix(raw, matrix, 1);
        }
        if (swr_init(raw) < 0) {
            return nullptr;
        }
        return std::make_unique<FfmpegSampleRateConverter>(std::move(context));
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) const AudioDecoder* corvantisAudioDecoder2() {
    static const FfmpegDecoder decoder;
    return &decoder;
}
