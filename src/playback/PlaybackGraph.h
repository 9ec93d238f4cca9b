#pragma once

#include <array>
#include <memory>
#include <vector>

#include "AudioEngine.h"
#include "AudioOutput.h"
#include "AudioPlayerNode.h"
#include "AudioUnitEQ.h"

// The audio graph playback runs through: the player node, the main equalizer
// and the bass units in series, into the output.
class PlaybackGraph {
public:
    // The bands of every equalizer unit, in order.
    static constexpr std::array<int, 5> kEqualizerFrequencies = {60, 230, 910, 3000, 14000};

    PlaybackGraph(std::unique_ptr<AudioOutput> output, int bassUnits);
    ~PlaybackGraph();
    PlaybackGraph(const PlaybackGraph&) = delete;
    PlaybackGraph& operator=(const PlaybackGraph&) = delete;

    AudioPlayerNode& player() { return *m_player; }
    const AudioPlayerNode& player() const { return *m_player; }
    AudioEngine& engine() { return *m_engine; }
    AudioUnitEQ& equalizer() const { return *m_equalizer; }
    const std::vector<std::unique_ptr<AudioUnitEQ>>& bassEqualizers() const {
        return m_bassEqualizers;
    }
    // The bands of equalizer(), in the order of kEqualizerFrequencies.
    const std::vector<AudioUnitEQFilterParameters*>& bands() const { return m_bands; }

private:
    static std::unique_ptr<AudioUnitEQ> makeEqualizerUnit();
    void connectNodes();

    // The engine does not own its nodes: they are declared first so that they
    // outlive it, and the destructor stops the engine before anything else.
    std::unique_ptr<AudioPlayerNode> m_player;
    std::unique_ptr<AudioUnitEQ> m_equalizer;
    std::vector<std::unique_ptr<AudioUnitEQ>> m_bassEqualizers;
    std::vector<AudioUnitEQFilterParameters*> m_bands;
    std::unique_ptr<AudioEngine> m_engine;
};
