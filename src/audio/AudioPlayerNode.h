#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "AudioFile.h"
#include "AudioNode.h"
#include "AudioTime.h"

// Plays scheduled files and segments of files, one after the other. A decoder
// thread reads ahead into a lock-free ring, converting to the output's rate
// and to stereo; the render thread only copies out of the ring.
//
// Every method but render() belongs to the main thread.
class AudioPlayerNode final : public AudioNode {
public:
    AudioPlayerNode();
    ~AudioPlayerNode() override;

    // Queues the whole file after whatever is scheduled.
    void scheduleFile(const std::shared_ptr<AudioFile>& file);
    // Queues the part of the file that frames [startingFrame, startingFrame +
    // frameCount) of the player's timeline cover, clipped to its length. The
    // timeline counts at the output's rate, whatever the file's own rate, so a
    // frame names the same moment of the file at every output rate; the engine
    // must have been prepared (started once) for that rate to be known.
    void scheduleSegment(const std::shared_ptr<AudioFile>& file, qint64 startingFrame,
                         quint32 frameCount);
    // The file's length counted on the player's timeline.
    qint64 timelineLength(const AudioFile& file) const;

    // Starts (or resumes) taking audio from the schedule; with nothing
    // scheduled it plays silence until something is.
    void play();
    // Holds the position; play() goes on from there.
    void pause();
    // Drops everything scheduled and resets the player's timeline.
    void stop();
    bool isPlaying() const;
    // Nothing scheduled and no timeline: never played, or stopped since.
    // A paused node is neither playing nor stopped.
    bool isStopped() const;

    // The engine's render clock at the last block rendered; absent before the
    // engine first rendered.
    std::optional<AudioTime> lastRenderTime() const;
    // `nodeTime` on the player's own timeline: frames at the output's rate
    // since play() after a stop; absent while stopped.
    std::optional<AudioTime> playerTimeForNodeTime(const AudioTime& nodeTime) const;

    // Blocks a real-time output rendered short because the decoder was late.
    std::uint64_t underrunCount() const;

    // Whether every scheduled frame has been decoded and rendered.
    bool isDrained() const;

    void prepare(double sampleRate, int maximumFrames) override;
    void render(float* interleavedStereo, int frames) noexcept override;
    void reset() noexcept override;

    struct Shared;

private:
    friend class AudioEngine;
    // The engine's render clock before each block, for lastRenderTime().
    void noteRenderClock(qint64 engineFrame) noexcept;
    // Offline outputs are not real time: render() then waits for the decoder
    // instead of playing silence where audio is late.
    void setWaitsForDecoder(bool waits);

    std::shared_ptr<Shared> m_shared;
};
