#pragma once

#include <optional>
#include <vector>

#include "AudioDecoder.h"
#include "AudioFile.h"
#include "FfmpegInput.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

// A probed file's demuxer, kept for the first reader; empty when probing it
// read it to its end.
struct FfmpegProbedFile final : ProbedFile {
    std::optional<ffmpeg::AudioInput> input;
};

// Sample-exact decoding of one file: frames are placed by the stream's own
// timestamps after a jump, and counted from there on.
class FfmpegFileReader final : public AudioFileReader {
public:
    explicit FfmpegFileReader(const AudioFile::Properties& properties);
    ~FfmpegFileReader() override;
    FfmpegFileReader(const FfmpegFileReader&) = delete;
    FfmpegFileReader& operator=(const FfmpegFileReader&) = delete;

    // Decodes from `probed` when it stands at its start, else from the file
    // opened again, provided it is still the file probed.
    bool open(std::optional<ffmpeg::AudioInput> probed, QString* error);

    bool seek(qint64 frame) override;
    qint64 read(float* destination, qint64 frames) override;
    qint64 position() const override { return m_position; }

private:
    enum class Step { frame, end, failed };

    Step decodeNextFrame();
    bool isBeforeSkipTarget();
    bool placeFrame();
    bool prepareConverter();
    // Converts `frames` frames of the held frame, from its frame `offset` on.
    bool convertHeld(float* destination, qint64 offset, qint64 frames);
    void resetDecoding();
    bool restart();
    qint64 pendingEnd() const { return m_pendingStart + m_pendingFrames; }

    const AudioFile::Properties m_properties;
    std::optional<ffmpeg::AudioInput> m_input;
    ffmpeg::Codec m_decoder;
    ffmpeg::Packet m_packet;
    ffmpeg::Frame m_frame;
    // The decoded frame whose samples are pending.
    ffmpeg::Frame m_held;
    ffmpeg::Resampler m_converter;
    AVChannelLayout m_converterLayout{};
    int m_converterFormat = -1;
    int m_converterRate = 0;
    qint64 m_preroll = 0;

    // Output frame index that the stream's timestamps call zero: the first
    // decoded frame's timestamp from a fresh start, once known.
    std::optional<qint64> m_origin;
    // Frames of m_held not yet handed out, at these positions.
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
