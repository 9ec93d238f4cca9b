#include "PlaybackGraph.h"

PlaybackGraph::PlaybackGraph(std::unique_ptr<AudioOutput> output, int bassUnits)
    : m_player(std::make_unique<AudioPlayerNode>()),
      m_equalizer(makeEqualizerUnit()),
      m_bands(m_equalizer->bands()),
      m_engine(std::make_unique<AudioEngine>(std::move(output))) {
    for (int i = 0; i < bassUnits; ++i) {
        m_bassEqualizers.push_back(makeEqualizerUnit());
    }
    connectNodes();
}

PlaybackGraph::~PlaybackGraph() {
    // A device output renders on its own thread through the nodes; it has to
    // be gone before they are.
    m_engine.reset();
}

std::unique_ptr<AudioUnitEQ> PlaybackGraph::makeEqualizerUnit() {
    auto unit = std::make_unique<AudioUnitEQ>(int(kEqualizerFrequencies.size()));
    const auto& unitBands = unit->bands();
    for (size_t i = 0; i < unitBands.size() && i < kEqualizerFrequencies.size(); ++i) {
        unitBands[i]->setFrequency(float(kEqualizerFrequencies[i]));
        unitBands[i]->setBypass(false);
        unitBands[i]->setFilterType(AudioUnitEQFilterType::parametric);
    }
    return unit;
}

void PlaybackGraph::connectNodes() {
    AudioEngine& engine = *m_engine;
    engine.attach(m_player.get());
    engine.attach(m_equalizer.get());
    for (const auto& unit : m_bassEqualizers) {
        engine.attach(unit.get());
    }
    engine.connect(m_player.get(), m_equalizer.get());
    for (size_t i = 0; i + 1 < m_bassEqualizers.size(); ++i) {
        engine.connect(m_bassEqualizers[i].get(), m_bassEqualizers[i + 1].get());
    }
    if (m_bassEqualizers.empty()) {
        engine.connect(m_equalizer.get(), engine.outputNode());
        return;
    }
    engine.connect(m_equalizer.get(), m_bassEqualizers.front().get());
    engine.connect(m_bassEqualizers.back().get(), engine.outputNode());
}
