#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "AudioUnitEQ.h"

class UserDefaults;

// The sound-shaping state: the gains of the main equalizer with its presets
// and one user preset, the bass shape spread over the bass units, and the
// volume boost, together with how all of it is kept in the settings and comes
// back at launch. It only moves gains on the units; the units glide to them.
// Main thread only.
class EqualizerState : public QObject {
    Q_OBJECT

public:
    enum class EqualizerPreset {
        none = 0,
        pop = 1,
        rock = 2,
        edm = 3,
        hipHop = 4,
        rb = 5,
        acoustic = 6,
        classical = 7,
        Custom = 8,
    };
    Q_ENUM(EqualizerPreset)

    static constexpr QLatin1String KEY_EQ_BANDS{"equalizerBandKey"};
    static constexpr QLatin1String KEY_EQ_BANDS_CUSTOM{"equalizerBandKeyCustom"};
    static constexpr QLatin1String KEY_EQ_GLOBAL_GAIN{"equalizerGlobalGainKey"};
    static constexpr QLatin1String KEY_EQ_BASS{"equalizerBassBandKey"};
    static constexpr QLatin1String KEY_EQ_PRESET{"equalizerPresetKey"};

    // The units are owned by the caller and outlive this object; the list of
    // bass units may still be empty and is read at the moment of use.
    EqualizerState(AudioUnitEQ& equalizer,
                   const std::vector<std::unique_ptr<AudioUnitEQ>>& bassEqualizers,
                   UserDefaults& defaults, QObject* parent = nullptr);

    // The case with that raw value; nothing for a value outside the table.
    static std::optional<EqualizerPreset> presetForRawValue(qint64 raw);
    // The case's name as written in code ("rock", "hipHop", "Custom"), matched
    // without regard to case; nothing for an unknown name.
    static std::optional<EqualizerPreset> presetNamed(const QString& name);
    // The band frequency as the settings key it is stored under: "60.0".
    static QString frequencyKey(float frequency);

    EqualizerPreset selectedEQPreset() const { return m_selectedEQPreset; }
    // Choosing Custom applies the stored user preset (and may thereby end at
    // none); whatever the field then holds is stored.
    void setSelectedEQPreset(EqualizerPreset preset);

    // Leaves the preset world: the preset drops to none even when no gain
    // moves; a changed gain is stored at once.
    void setEqualizerBand(float frequency, float gain);
    // Moves a band in memory only, keeping the preset.
    void setCustomEqualizerBand(float frequency, float gain);
    static QMap<float, float> gains(EqualizerPreset preset);
    void selectPreset(EqualizerPreset preset);
    void loadCustomPreset();
    void saveEqualizerBands();
    void saveCustomEqualizerBands();

    float bassGain() const;
    void setBassGain(float gain);
    // Decibels on the whole main equalizer.
    void setVolumeBoost(int gain);

    // The halves of set-up that bring the stored state back, in launch order.
    void restoreEqualizer();
    void restoreBassEqualizers();

signals:
    void selectedEQPresetChanged();

private:
    // The stored band dictionary under `key` as (frequency, gain) pairs;
    // nothing when absent or damaged.
    std::optional<std::vector<std::pair<float, float>>> storedBands(QLatin1String key) const;
    void saveBands(QLatin1String key);

    AudioUnitEQ& m_equalizer;
    const std::vector<std::unique_ptr<AudioUnitEQ>>& m_bassEqualizers;
    UserDefaults& m_defaults;
    EqualizerPreset m_selectedEQPreset = EqualizerPreset::none;
};
