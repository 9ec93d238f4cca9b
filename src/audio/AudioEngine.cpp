#include "AudioEngine.h"

#include <QtGlobal>
#include <algorithm>

#include "AudioPlayerNode.h"
#include "ScopedNoDenormals.h"

// The device end of the graph. It renders nothing itself: the engine runs the
// chain that leads to it and then the output stage.
class AudioEngine::OutputNode final : public AudioNode {
public:
    void prepare(double, int) override {}
    void render(float*, int) noexcept override {}
};

AudioEngine::AudioEngine(std::unique_ptr<AudioOutput> output)
    : m_output(std::move(output)), m_outputNode(std::make_unique<OutputNode>()) {
    Q_ASSERT(m_output);
}

AudioEngine::~AudioEngine() {
    // The output's thread must be gone before the nodes it pulls.
    if (m_output) {
        m_output->pause();
    }
    m_output.reset();
}

void AudioEngine::attach(AudioNode* node) {
    if (m_prepared) {
        qFatal("AudioEngine: nodes must be attached before the engine first starts");
    }
    if (!node || std::find(m_attached.begin(), m_attached.end(), node) != m_attached.end()) {
        qFatal("AudioEngine: a node is attached twice or is null");
    }
    m_attached.push_back(node);
}

void AudioEngine::connect(AudioNode* from, AudioNode* to, std::optional<AudioFormat> /*format*/) {
    if (m_prepared) {
        qFatal("AudioEngine: connections must be made before the engine first starts");
    }
    const auto attached = [this](AudioNode* node) {
        return node == m_outputNode.get() ||
               std::find(m_attached.begin(), m_attached.end(), node) != m_attached.end();
    };
    if (!attached(from) || !attached(to) || from == m_outputNode.get()) {
        qFatal("AudioEngine: connect() needs two attached nodes and cannot start at the output");
    }
    // A node has one input: a new connection into it replaces the old one.
    std::erase_if(m_connections, [to](const auto& connection) { return connection.second == to; });
    m_connections.emplace_back(from, to);
}

AudioNode* AudioEngine::outputNode() {
    return m_outputNode.get();
}

bool AudioEngine::isRunning() const {
    return m_output->isRunning();
}

double AudioEngine::sampleRate() const {
    return m_output->sampleRate();
}

int AudioEngine::latencyFrames() const {
    return m_prepared ? m_limiter.latencyFrames() : 0;
}

std::vector<AudioNode*> AudioEngine::signalPath() const {
    // Walk back from the output: each node has at most one input.
    std::vector<AudioNode*> reversed;
    const AudioNode* node = m_outputNode.get();
    for (;;) {
        const auto input = std::find_if(m_connections.begin(), m_connections.end(),
                                        [node](const auto& c) { return c.second == node; });
        if (input == m_connections.end()) {
            break;
        }
        node = input->first;
        if (std::find(reversed.begin(), reversed.end(), node) != reversed.end()) {
            qFatal("AudioEngine: the graph has a cycle");
        }
        reversed.push_back(input->first);
    }
    return {reversed.rbegin(), reversed.rend()};
}

void AudioEngine::prepareGraph() {
    m_chain = signalPath();
    const double rate = m_output->sampleRate();
    const int maximumFrames = m_output->maximumFrames();
    m_maximumFrames = maximumFrames;
    for (AudioNode* chained : m_chain) {
        if (auto* player = dynamic_cast<AudioPlayerNode*>(chained)) {
            player->setWaitsForDecoder(m_output->isOffline());
            m_players.push_back(player);
        }
        chained->prepare(rate, maximumFrames);
    }
    m_limiter.prepare(rate, maximumFrames);
    m_prepared = true;
}

bool AudioEngine::start(QString* error) {
    if (m_output->isRunning()) {
        return true;
    }
    if (!m_prepared) {
        prepareGraph();
    }
    return m_output->start(*this, error);
}

void AudioEngine::pause() {
    m_output->pause();
}

bool AudioEngine::renderOffline(float* destination, int frames) {
    if (!m_output->isOffline() || !m_output->isRunning()) {
        return false;
    }
    renderBlock(destination, frames);
    return true;
}

void AudioEngine::renderBlock(float* interleavedStereo, int frames) noexcept {
    const ScopedNoDenormals noDenormals;
    // Nodes were prepared for blocks of at most m_maximumFrames.
    for (int done = 0; done < frames; done += m_maximumFrames) {
        renderChunk(interleavedStereo + size_t(done) * 2, std::min(m_maximumFrames, frames - done));
    }
}

void AudioEngine::renderChunk(float* interleavedStereo, int frames) noexcept {
    const qint64 clock = m_renderedFrames.load(std::memory_order_relaxed);
    for (AudioPlayerNode* player : m_players) {
        player->noteRenderClock(clock);
    }
    if (m_chain.empty()) {
        std::fill_n(interleavedStereo, size_t(frames) * 2, 0.0f);
    }
    for (AudioNode* node : m_chain) {
        node->render(interleavedStereo, frames);
    }
    // The limiter stands after the whole chain, not in it. Boosts add up on
    // the way (three bass units in series, a preset, the volume boost on the
    // main unit), so only the sum tells whether a sample would pass full
    // scale; the units keep exactly the gains they were given, and the device
    // is never driven into clipping however they are set.
    m_limiter.process(interleavedStereo, frames);
    m_renderedFrames.store(clock + frames, std::memory_order_release);
}
