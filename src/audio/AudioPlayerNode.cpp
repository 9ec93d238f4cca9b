#include "AudioPlayerNode.h"

#include <QLoggingCategory>
#include <QString>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "AudioDecoder.h"
#include "AudioDecoderModule.h"

Q_LOGGING_CATEGORY(lcPlayerNode, "corvantis.audio.player", QtInfoMsg)

namespace {

// The ring between the decoder and the render thread is made of fixed blocks,
// each tagged with the schedule generation ("epoch") it was decoded for, so
// that the render thread can drop audio that stop() made stale without ever
// waiting for the decoder.
constexpr int kBlockFrames = 1024;
constexpr int kBlockCount = 32;  // about 0.7 s at 44.1 kHz
// An offline render decodes further ahead: each time the ring runs full or
// empty both threads sleep and wake, and on a busy machine every wake waits
// for a turn on a processor. About 6 s at 44.1 kHz, 2 MB.
constexpr int kOfflineBlockCount = 256;
constexpr int kChannels = 2;
// How long the decoder sleeps between looks at a full ring while rendering is
// real time (the render thread never wakes anybody).
constexpr auto kRingPollInterval = std::chrono::milliseconds(3);

struct Block {
    std::uint64_t epoch = 0;
    int frames = 0;
    std::array<float, kBlockFrames * kChannels> samples{};
};

struct Segment {
    std::shared_ptr<AudioFile> file;
    qint64 startingFrame = 0;
    qint64 frameCount = 0;
};

}  // namespace

struct AudioPlayerNode::Shared {
    // --- written by the main thread, read by the render thread ---
    std::atomic<bool> playing{false};
    std::atomic<std::uint64_t> epoch{1};
    std::atomic<bool> waitsForDecoder{false};

    // --- render thread -> others ---
    std::atomic<qint64> lastRenderFrame{-1};
    std::atomic<qint64> playedFrames{0};
    // playedFrames as it stood at lastRenderFrame.
    std::atomic<qint64> playedAtLastRender{0};
    std::atomic<std::uint64_t> readIndex{0};
    // Blocks a real-time output asked for before the decoder had them ready.
    std::atomic<std::uint64_t> underruns{0};
    int readOffset = 0;  // render thread only: frames taken from the block at readIndex

    // --- decoder -> render thread ---
    std::atomic<std::uint64_t> writeIndex{0};
    // The epoch whose schedule the decoder has finished (all its blocks published).
    std::atomic<std::uint64_t> idleEpoch{0};
    // Bumped whenever the decoder publishes something, for offline waits; it
    // only wakes anybody (a system call) when someone is waiting.
    std::atomic<std::uint32_t> progress{0};
    std::atomic<bool> renderWaiting{false};
    std::atomic<bool> decoderWaiting{false};
    // Sized before the first schedule and fixed from then on.
    std::vector<Block> ring = std::vector<Block>(kBlockCount);
    std::uint64_t blockCount() const { return ring.size(); }

    // --- main thread <-> decoder, under `mutex` ---
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Segment> schedule;
    bool quit = false;
    // Something was ever scheduled: from then on the ring keeps its size.
    bool scheduled = false;
    double outputRate = 44100.0;

    // --- main thread only ---
    bool stopped = true;

    std::thread decoder;

    // Both sides of each wait use sequentially consistent order: either the
    // waker sees the waiting flag, or the waiter sees the new value.
    // A waiting offline render is woken once the ring is half full (or the
    // schedule has run out), not for every block: a wake is a system call.
    void publishProgress(bool urgent) {
        progress.fetch_add(1, std::memory_order_seq_cst);
        if (!urgent) {
            const auto queued = writeIndex.load(std::memory_order_relaxed) -
                                readIndex.load(std::memory_order_relaxed);
            urgent = queued >= blockCount() / 2;
        }
        if (urgent && renderWaiting.load(std::memory_order_seq_cst)) {
            progress.notify_all();
        }
    }
};

namespace {

// Everything the decoder thread keeps between segments: the open reader and the
// converter to the output's rate and stereo.
class SegmentDecoder {
public:
    explicit SegmentDecoder(AudioPlayerNode::Shared& shared) : m_shared(shared) {}

    // Decodes one segment into the ring; returns early when the epoch moves on.
    void decode(const Segment& segment, std::uint64_t epoch) {
        if (!prepareReader(segment.file)) {
            return;
        }
        if (!m_reader->seek(segment.startingFrame)) {
            qCWarning(lcPlayerNode)
                << "cannot seek" << segment.file->path() << "to frame" << segment.startingFrame;
            return;
        }
        const int channels = segment.file->channelCount();
        m_input.resize(size_t(kBlockFrames) * size_t(channels));
        qint64 remaining = segment.frameCount;
        while (remaining > 0 && current(epoch)) {
            qint64 want = std::min<qint64>(remaining, kBlockFrames);
            float* target = m_input.data();
            if (!m_converter) {
                // Stereo at the output's rate is decoded straight into the
                // ring, not copied there from a buffer of its own.
                if (m_fill == 0 && !waitForRoom(epoch)) {
                    return;
                }
                target = fillingBlock().samples.data() + size_t(m_fill) * kChannels;
                want = std::min<qint64>(want, kBlockFrames - m_fill);
            }
            const qint64 got = m_reader->read(target, want);
            if (got <= 0) {
                if (got < 0) {
                    qCWarning(lcPlayerNode) << "decoding failed in" << segment.file->path();
                }
                break;
            }
            remaining -= got;
            if (!m_converter) {
                m_fill += int(got);
                if (m_fill == kBlockFrames) {
                    publish(epoch);
                }
            } else if (!convert(m_input.data(), int(got), epoch)) {
                return;
            }
        }
        // The converter holds the last few input frames back; let them out.
        if (m_converter && current(epoch)) {
            convert(nullptr, 0, epoch);
            closeConverter();
        }
    }

    // Publishes the block being filled, however short.
    void flush(std::uint64_t epoch) {
        if (m_fill > 0 && current(epoch)) {
            publish(epoch);
        }
        m_fill = 0;
    }

    void reset() {
        m_fill = 0;
        closeConverter();
    }

private:
    bool current(std::uint64_t epoch) const {
        return m_shared.epoch.load(std::memory_order_acquire) == epoch;
    }

    bool prepareReader(const std::shared_ptr<AudioFile>& file) {
        if (m_file != file || !m_reader) {
            QString error;
            m_reader = file->createReader(&error);
            m_file = m_reader ? file : nullptr;
            closeConverter();
            if (!m_reader) {
                qCWarning(lcPlayerNode) << "cannot read" << file->path() << ":" << error;
                return false;
            }
        }
        const bool identity =
            file->sampleRate() == m_shared.outputRate && file->channelCount() == 2;
        if (!identity && !m_converter && !openConverter(*file)) {
            return false;
        }
        return true;
    }

    bool openConverter(const AudioFile& file) {
        // A file that opened means the decoder was loaded.
        m_converter = AudioDecoderModule::shared()->createConverter(
            file.channelCount(), file.sampleRate(), m_shared.outputRate);
        if (!m_converter) {
            qCWarning(lcPlayerNode) << "cannot convert" << file.path();
            return false;
        }
        m_rateRatio = m_shared.outputRate / file.sampleRate();
        return true;
    }

    void closeConverter() { m_converter.reset(); }

    // Converts `frames` input frames (nullptr: drain) and appends them to the
    // ring; false when the epoch moved on while waiting for room.
    bool convert(const float* input, int frames, std::uint64_t epoch) {
        const float* source = input;
        int count = frames;
        if (m_converter) {
            const int capacity =
                int(std::ceil((frames + m_converter->delay() + 16) * m_rateRatio)) + 16;
            m_converted.resize(size_t(capacity) * kChannels);
            count = m_converter->convert(m_converted.data(), capacity, input, frames);
            if (count < 0) {
                return true;
            }
            source = m_converted.data();
        }
        while (count > 0) {
            const int take = std::min(count, kBlockFrames - m_fill);
            Block& block = fillingBlock();
            if (m_fill == 0 && !waitForRoom(epoch)) {
                return false;
            }
            std::memcpy(block.samples.data() + size_t(m_fill) * kChannels, source,
                        size_t(take) * kChannels * sizeof(float));
            m_fill += take;
            source += size_t(take) * kChannels;
            count -= take;
            if (m_fill == kBlockFrames) {
                publish(epoch);
            }
        }
        return true;
    }

    bool waitForRoom(std::uint64_t epoch) {
        std::unique_lock lock(m_shared.mutex);
        for (;;) {
            if (m_shared.quit || !current(epoch)) {
                return false;
            }
            const auto written = m_shared.writeIndex.load(std::memory_order_relaxed);
            m_shared.decoderWaiting.store(true, std::memory_order_seq_cst);
            const auto read = m_shared.readIndex.load(std::memory_order_seq_cst);
            if (written - read < m_shared.blockCount()) {
                m_shared.decoderWaiting.store(false, std::memory_order_relaxed);
                return true;
            }
            m_shared.wake.wait_for(lock, kRingPollInterval);
            m_shared.decoderWaiting.store(false, std::memory_order_relaxed);
        }
    }

    // The block at writeIndex, which only the decoder writes until published.
    Block& fillingBlock() {
        return m_shared
            .ring[m_shared.writeIndex.load(std::memory_order_relaxed) % m_shared.blockCount()];
    }

    void publish(std::uint64_t epoch) {
        const auto written = m_shared.writeIndex.load(std::memory_order_relaxed);
        Block& block = m_shared.ring[written % m_shared.blockCount()];
        block.epoch = epoch;
        block.frames = m_fill;
        m_fill = 0;
        m_shared.writeIndex.store(written + 1, std::memory_order_release);
        m_shared.publishProgress(false);
    }

    AudioPlayerNode::Shared& m_shared;
    std::shared_ptr<AudioFile> m_file;
    std::unique_ptr<AudioFileReader> m_reader;
    std::unique_ptr<SampleRateConverter> m_converter;
    double m_rateRatio = 1.0;
    std::vector<float> m_input;
    std::vector<float> m_converted;
    int m_fill = 0;  // frames written into the block at writeIndex, not yet published
};

void decoderLoop(AudioPlayerNode::Shared& shared) {
    SegmentDecoder decoder(shared);
    std::uint64_t lastEpoch = 0;
    for (;;) {
        Segment segment;
        std::uint64_t epoch = 0;
        {
            std::unique_lock lock(shared.mutex);
            if (shared.schedule.empty()) {
                lock.unlock();
                decoder.flush(lastEpoch);
                lock.lock();
                // Only now is everything of this epoch in the ring.
                if (shared.schedule.empty() &&
                    shared.epoch.load(std::memory_order_acquire) == lastEpoch) {
                    shared.idleEpoch.store(lastEpoch, std::memory_order_release);
                    shared.publishProgress(true);
                }
                shared.wake.wait(lock, [&] { return shared.quit || !shared.schedule.empty(); });
            }
            if (shared.quit) {
                return;
            }
            segment = std::move(shared.schedule.front());
            shared.schedule.pop_front();
            // Read under the lock, so that a segment taken here can never be one
            // that a concurrent stop() has already withdrawn.
            epoch = shared.epoch.load(std::memory_order_acquire);
        }
        if (epoch != lastEpoch) {
            decoder.reset();
            lastEpoch = epoch;
        }
        decoder.decode(segment, epoch);
    }
}

void enqueue(AudioPlayerNode::Shared& shared, const std::shared_ptr<AudioFile>& file,
             qint64 startingFrame, qint64 frameCount) {
    const qint64 start = std::clamp<qint64>(startingFrame, 0, file->length());
    const qint64 count = std::min<qint64>(frameCount, file->length() - start);
    if (count <= 0) {
        return;
    }
    {
        std::lock_guard lock(shared.mutex);
        shared.schedule.push_back(Segment{file, start, count});
        shared.scheduled = true;
        shared.idleEpoch.store(0, std::memory_order_release);
    }
    shared.wake.notify_all();
}

}  // namespace

AudioPlayerNode::AudioPlayerNode() : m_shared(std::make_shared<Shared>()) {
    m_shared->idleEpoch.store(m_shared->epoch.load());
    m_shared->decoder = std::thread(decoderLoop, std::ref(*m_shared));
}

AudioPlayerNode::~AudioPlayerNode() {
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->quit = true;
    }
    m_shared->wake.notify_all();
    m_shared->decoder.join();
}

void AudioPlayerNode::scheduleFile(const std::shared_ptr<AudioFile>& file) {
    if (file) {
        enqueue(*m_shared, file, 0, file->length());
    }
}

void AudioPlayerNode::scheduleSegment(const std::shared_ptr<AudioFile>& file, qint64 startingFrame,
                                      quint32 frameCount) {
    if (!file) {
        return;
    }
    // Both ends are mapped, not the start and the count, so that segments
    // that meet on the timeline meet in the file too.
    const double ratio = file->sampleRate() / m_shared->outputRate;
    const double length = double(file->length());
    const auto fileFrame = [ratio, length](double timelineFrame) {
        return qint64(std::llround(std::clamp(timelineFrame * ratio, 0.0, length)));
    };
    const qint64 first = fileFrame(double(startingFrame));
    const qint64 end = fileFrame(double(startingFrame) + double(frameCount));
    enqueue(*m_shared, file, first, end - first);
}

qint64 AudioPlayerNode::timelineLength(const AudioFile& file) const {
    return qint64(std::llround(double(file.length()) * m_shared->outputRate / file.sampleRate()));
}

void AudioPlayerNode::play() {
    m_shared->stopped = false;
    m_shared->playing.store(true, std::memory_order_release);
}

void AudioPlayerNode::pause() {
    m_shared->playing.store(false, std::memory_order_release);
}

void AudioPlayerNode::stop() {
    m_shared->playing.store(false, std::memory_order_release);
    m_shared->stopped = true;
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->schedule.clear();
        // Under the lock: see decoderLoop().
        const auto epoch = m_shared->epoch.fetch_add(1, std::memory_order_acq_rel) + 1;
        m_shared->idleEpoch.store(epoch, std::memory_order_release);
    }
    m_shared->playedFrames.store(0, std::memory_order_release);
    m_shared->playedAtLastRender.store(0, std::memory_order_release);
    m_shared->wake.notify_all();
    // An offline render waiting on another thread must see the new epoch.
    m_shared->publishProgress(true);
}

bool AudioPlayerNode::isPlaying() const {
    return m_shared->playing.load(std::memory_order_acquire);
}

std::uint64_t AudioPlayerNode::underrunCount() const {
    return m_shared->underruns.load(std::memory_order_relaxed);
}

bool AudioPlayerNode::isStopped() const {
    return m_shared->stopped;
}

std::optional<AudioTime> AudioPlayerNode::lastRenderTime() const {
    const qint64 frame = m_shared->lastRenderFrame.load(std::memory_order_acquire);
    if (frame < 0) {
        return std::nullopt;
    }
    return AudioTime{frame, m_shared->outputRate};
}

std::optional<AudioTime> AudioPlayerNode::playerTimeForNodeTime(const AudioTime& nodeTime) const {
    if (m_shared->stopped || nodeTime.sampleRate <= 0.0) {
        return std::nullopt;
    }
    // The two clocks are written together by the render thread; read them as
    // a pair that belongs together.
    qint64 clock = 0;
    qint64 played = 0;
    do {
        clock = m_shared->lastRenderFrame.load(std::memory_order_acquire);
        played = m_shared->playedAtLastRender.load(std::memory_order_acquire);
    } while (clock != m_shared->lastRenderFrame.load(std::memory_order_acquire));
    const double outputFrames =
        double(played) + double(nodeTime.sampleTime) * m_shared->outputRate / nodeTime.sampleRate -
        double(clock);
    return AudioTime{qint64(std::max(0.0, outputFrames)), m_shared->outputRate};
}

bool AudioPlayerNode::isDrained() const {
    const auto epoch = m_shared->epoch.load(std::memory_order_acquire);
    if (m_shared->idleEpoch.load(std::memory_order_acquire) != epoch) {
        return false;
    }
    // Blocks of older epochs are as good as gone.
    const auto read = m_shared->readIndex.load(std::memory_order_acquire);
    const auto written = m_shared->writeIndex.load(std::memory_order_acquire);
    for (auto index = read; index < written; ++index) {
        if (m_shared->ring[index % m_shared->blockCount()].epoch == epoch) {
            return false;
        }
    }
    return true;
}

void AudioPlayerNode::prepare(double sampleRate, int /*maximumFrames*/) {
    // The rate is fixed before the first schedule is decoded; the engine
    // prepares once, before it first starts.
    std::lock_guard lock(m_shared->mutex);
    m_shared->outputRate = sampleRate;
}

void AudioPlayerNode::setWaitsForDecoder(bool waits) {
    std::lock_guard lock(m_shared->mutex);
    // Until something is scheduled the decoder has never touched the ring,
    // and whatever takes a schedule does so under this lock.
    if (!m_shared->scheduled) {
        m_shared->ring.resize(size_t(waits ? kOfflineBlockCount : kBlockCount));
    }
    m_shared->waitsForDecoder.store(waits, std::memory_order_release);
}

void AudioPlayerNode::noteRenderClock(qint64 engineFrame) noexcept {
    m_shared->playedAtLastRender.store(m_shared->playedFrames.load(std::memory_order_relaxed),
                                       std::memory_order_release);
    m_shared->lastRenderFrame.store(engineFrame, std::memory_order_release);
}

void AudioPlayerNode::reset() noexcept {}

void AudioPlayerNode::render(float* interleavedStereo, int frames) noexcept {
    Shared& shared = *m_shared;
    if (!shared.playing.load(std::memory_order_acquire)) {
        std::fill_n(interleavedStereo, size_t(frames) * kChannels, 0.0f);
        return;
    }
    const bool waits = shared.waitsForDecoder.load(std::memory_order_relaxed);
    const auto epoch = shared.epoch.load(std::memory_order_acquire);
    int done = 0;
    while (done < frames) {
        const auto progress = shared.progress.load(std::memory_order_acquire);
        auto read = shared.readIndex.load(std::memory_order_relaxed);
        const auto written = shared.writeIndex.load(std::memory_order_acquire);
        if (read == written) {
            // Late audio: a real-time output plays silence; an offline one waits
            // unless the schedule has run out.
            const bool drained = shared.idleEpoch.load(std::memory_order_acquire) == epoch ||
                                 shared.epoch.load(std::memory_order_acquire) != epoch;
            if (!waits || drained) {
                if (!drained) {
                    shared.underruns.fetch_add(1, std::memory_order_relaxed);
                }
                break;
            }
            shared.renderWaiting.store(true, std::memory_order_seq_cst);
            if (shared.progress.load(std::memory_order_seq_cst) == progress) {
                shared.progress.wait(progress, std::memory_order_acquire);
            }
            shared.renderWaiting.store(false, std::memory_order_relaxed);
            continue;
        }
        const Block& block = shared.ring[read % shared.blockCount()];
        if (block.epoch > epoch) {
            break;  // stop() came during this block; the next one plays it
        }
        if (block.epoch < epoch) {
            shared.readOffset = 0;
            shared.readIndex.store(read + 1, std::memory_order_release);
            continue;
        }
        const int take = std::min(frames - done, block.frames - shared.readOffset);
        std::memcpy(interleavedStereo + size_t(done) * kChannels,
                    block.samples.data() + size_t(shared.readOffset) * kChannels,
                    size_t(take) * kChannels * sizeof(float));
        done += take;
        shared.readOffset += take;
        if (shared.readOffset == block.frames) {
            shared.readOffset = 0;
            shared.readIndex.store(read + 1, std::memory_order_seq_cst);
            // A decoder waiting on a full ring is woken once half of it is
            // free, not for every block: each wake costs both threads a trip
            // through the scheduler, and it would refill one block and wait
            // again.
            if (waits && written - (read + 1) <= shared.blockCount() / 2 &&
                shared.decoderWaiting.load(std::memory_order_seq_cst)) {
                shared.wake.notify_one();
            }
        }
    }
    std::fill_n(interleavedStereo + size_t(done) * kChannels, size_t(frames - done) * kChannels,
                0.0f);
    shared.playedFrames.fetch_add(frames, std::memory_order_relaxed);
}
