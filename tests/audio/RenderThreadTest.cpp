// Proves that rendering the full graph takes no allocation and no lock: every
// operator new and every pthread lock call made on the rendering thread is
// counted while the main thread moves gains and reschedules audio, as a user
// would during playback.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

#include "AudioEngine.h"
#include "AudioFile.h"
#include "AudioFixtures.h"
#include "AudioPlayerNode.h"
#include "AudioUnitEQ.h"

namespace {

thread_local bool t_watched = false;
std::atomic<int> g_allocations{0};
std::atomic<int> g_locks{0};

void noteAllocation() {
    if (t_watched) {
        g_allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Renders like a device: a thread of its own, blocks of a fixed size, and never
// waiting for the decoder (a real-time output plays silence instead).
class RealTimeOutput final : public AudioOutput {
public:
    bool start(AudioEngine&, QString*) override {
        m_running = true;
        return true;
    }
    void pause() override { m_running = false; }
    bool isRunning() const override { return m_running; }
    double sampleRate() const override { return 44100.0; }
    int maximumFrames() const override { return 512; }

private:
    bool m_running = false;
};

}  // namespace

void* operator new(std::size_t size) {
    noteAllocation();
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    noteAllocation();
    return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

// Each lock call on a watched thread is counted, then passed on to the real one.
#define COUNTED_LOCK(name, type)                              \
    int name(type* lock) {                                    \
        static const auto real = next<int (*)(type*)>(#name); \
        if (t_watched) {                                      \
            g_locks.fetch_add(1, std::memory_order_relaxed);  \
        }                                                     \
        return real(lock);                                    \
    }
extern "C" {
COUNTED_LOCK(pthread_mutex_lock, pthread_mutex_t)
COUNTED_LOCK(pthread_mutex_trylock, pthread_mutex_t)
COUNTED_LOCK(pthread_rwlock_rdlock, pthread_rwlock_t)
COUNTED_LOCK(pthread_rwlock_wrlock, pthread_rwlock_t)
}

TEST(RenderThread, ASecondOfTheFullGraphNeitherAllocatesNorLocks) {
    // The counters themselves must work, or a zero below proves nothing.
    std::thread([] {
        t_watched = true;
        std::vector<int> grown(100);
        pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
        t_watched = false;
    }).join();
    ASSERT_GE(g_allocations.load(), 1);
    ASSERT_GE(g_locks.load(), 1);
    g_allocations = 0;
    g_locks = 0;

    AudioPlayerNode player;
    AudioUnitEQ equalizer(5);
    std::vector<std::unique_ptr<AudioUnitEQ>> bass;
    AudioEngine engine(std::make_unique<RealTimeOutput>());
    engine.attach(&player);
    engine.attach(&equalizer);
    AudioNode* previous = &equalizer;
    engine.connect(&player, &equalizer);
    const float frequencies[] = {60, 230, 910, 3000, 14000};
    for (int unit = 0; unit < 3; ++unit) {
        bass.push_back(std::make_unique<AudioUnitEQ>(5));
        engine.attach(bass.back().get());
        engine.connect(previous, bass.back().get());
        previous = bass.back().get();
    }
    engine.connect(previous, engine.outputNode());
    for (AudioUnitEQ* unit : {&equalizer, bass[0].get(), bass[1].get(), bass[2].get()}) {
        for (int band = 0; band < 5; ++band) {
            unit->bands()[size_t(band)]->setFrequency(frequencies[band]);
            unit->bands()[size_t(band)]->setGain(float(band) * 2.0f - 3.0f);
        }
    }
    ASSERT_TRUE(engine.start());
    const auto file =
        AudioFile::openForReading(writeSineFile("loud.wav", 48000, 96000, 300.0, 1.5));
    ASSERT_TRUE(file);
    player.scheduleFile(file);
    player.play();

    std::atomic<bool> done{false};
    std::thread render([&] {
        std::vector<float> block(512 * 2);
        t_watched = true;
        for (int k = 0; k < 86; ++k) {  // one second at 44.1 kHz
            engine.renderBlock(block.data(), 512);
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        t_watched = false;
        done = true;
    });
    // Meanwhile the user drags sliders and seeks.
    for (int step = 0; !done; ++step) {
        equalizer.bands()[size_t(step % 5)]->setGain(float(step % 13) - 6.0f);
        bass[0]->setGlobalGain(float(step % 7));
        if (step % 20 == 0) {
            player.stop();
            player.scheduleSegment(file, step * 100, 20000);
            player.play();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    render.join();
    EXPECT_EQ(g_allocations.load(), 0);
    EXPECT_EQ(g_locks.load(), 0);
}
