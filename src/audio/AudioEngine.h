#pragma once

#include <QString>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "AudioNode.h"
#include "AudioOutput.h"
#include "Limiter.h"

class AudioPlayerNode;

// The format of a connection. The graph always runs in stereo float at the
// output's rate, so a connection's format is informative only.
struct AudioFormat {
    double sampleRate = 0.0;
    int channelCount = 2;
};

// A render graph: a chain of nodes from one source to the output node, pulled
// by an AudioOutput. The graph is built on the main thread before the first
// start(); attach() and connect() after that are programming errors.
class AudioEngine {
public:
    explicit AudioEngine(std::unique_ptr<AudioOutput> output);
    ~AudioEngine();
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;

    // The engine does not own attached nodes; they must outlive it.
    void attach(AudioNode* node);
    void connect(AudioNode* from, AudioNode* to, std::optional<AudioFormat> format = {});
    // The sink that stands for the device; connect the last node to it.
    AudioNode* outputNode();
    // The nodes the output is fed by, as connected so far: the source first,
    // then the effects in signal order; the output node is not in it. Nodes
    // that lead nowhere near the output are not rendered and not listed.
    std::vector<AudioNode*> signalPath() const;

    bool isRunning() const;
    // Prepares the graph on the first call and starts the output. Returns
    // false with a description when the output cannot start.
    bool start(QString* error = nullptr);
    // Stops rendering; the graph and everything scheduled stay.
    void pause();

    AudioOutput& output() { return *m_output; }
    double sampleRate() const;
    // Frames the output stage delays the signal by (the limiter's look-ahead).
    int latencyFrames() const;

    // Offline outputs: renders `frames` frames of the graph into `destination`
    // (interleaved stereo) on the calling thread, waiting for decoded audio
    // instead of rendering silence. Returns false if the engine is not running.
    bool renderOffline(float* destination, int frames);

    // Render thread: renders `frames` frames of the graph.
    void renderBlock(float* interleavedStereo, int frames) noexcept;

    // Frames rendered since the engine was first started.
    qint64 renderedFrames() const { return m_renderedFrames.load(std::memory_order_acquire); }

private:
    class OutputNode;
    void prepareGraph();
    void renderChunk(float* interleavedStereo, int frames) noexcept;

    std::unique_ptr<AudioOutput> m_output;
    std::unique_ptr<OutputNode> m_outputNode;
    std::vector<AudioNode*> m_attached;
    std::vector<std::pair<AudioNode*, AudioNode*>> m_connections;
    // Source first, effects in signal order; the output node is not in it.
    std::vector<AudioNode*> m_chain;
    std::vector<AudioPlayerNode*> m_players;
    Limiter m_limiter;
    bool m_prepared = false;
    int m_maximumFrames = 512;
    std::atomic<qint64> m_renderedFrames{0};
};
