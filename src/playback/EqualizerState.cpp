#include "EqualizerState.h"

#include <QMetaEnum>
#include <QVariantMap>
#include <array>
#include <charconv>
#include <cmath>

#include "Log.h"
#include "UserDefaults.h"

namespace {

using Preset = EqualizerState::EqualizerPreset;

constexpr std::array<float, 5> kFrequencies = {60.0f, 230.0f, 910.0f, 3000.0f, 14000.0f};

// Decibels per band, in the order of kFrequencies, indexed by raw value.
constexpr std::array<std::array<float, 5>, 9> kPresetGains = {{
    {0, 0, 0, 0, 0},    // none
    {-1, 2, 5, 1, -2},  // pop
    {5, 3, -1, 3, 5},   // rock
    {6, 0, 3, 0, -8},   // edm
    {5, 3, 0, 1, 3},    // hipHop
    {4, 1, 1, 6, 6},    // rb
    {6, 3, 0, 4, 4},    // acoustic
    {5, 3, -2, 4, 4},   // classical
    {0, 0, 0, 0, 0},    // Custom: the zero start the user's gains go onto
}};

AudioUnitEQFilterParameters* findBand(const AudioUnitEQ& unit, float frequency) {
    for (AudioUnitEQFilterParameters* band : unit.bands()) {
        if (band->frequency() == frequency) {
            return band;
        }
    }
    return nullptr;
}

}  // namespace

EqualizerState::EqualizerState(AudioUnitEQ& equalizer,
                               const std::vector<std::unique_ptr<AudioUnitEQ>>& bassEqualizers,
                               UserDefaults& defaults, QObject* parent)
    : QObject(parent),
      m_equalizer(equalizer),
      m_bassEqualizers(bassEqualizers),
      m_defaults(defaults) {}

std::optional<EqualizerState::EqualizerPreset> EqualizerState::presetForRawValue(qint64 raw) {
    if (raw < 0 || raw >= qint64(kPresetGains.size())) {
        return std::nullopt;
    }
    return EqualizerPreset(raw);
}

std::optional<EqualizerState::EqualizerPreset> EqualizerState::presetNamed(const QString& name) {
    const QMetaEnum meta = QMetaEnum::fromType<EqualizerPreset>();
    for (int i = 0; i < meta.keyCount(); ++i) {
        if (name.compare(QLatin1String(meta.key(i)), Qt::CaseInsensitive) == 0) {
            return EqualizerPreset(meta.value(i));
        }
    }
    return std::nullopt;
}

QString EqualizerState::frequencyKey(float frequency) {
    // The shortest text that reads back as the same float, with a decimal
    // point even for whole numbers.
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), frequency);
    QString text = QString::fromLatin1(buffer.data(), result.ptr - buffer.data());
    if (std::isfinite(frequency) && !text.contains(QLatin1Char('.')) &&
        !text.contains(QLatin1Char('e'))) {
        text += QLatin1String(".0");
    }
    return text;
}

void EqualizerState::setSelectedEQPreset(EqualizerPreset preset) {
    if (preset == m_selectedEQPreset) {
        return;
    }
    m_selectedEQPreset = preset;
    if (preset == EqualizerPreset::Custom) {
        loadCustomPreset();
    }
    // Custom may have dropped to none while its gains were applied.
    m_defaults.setInteger(qint64(m_selectedEQPreset), KEY_EQ_PRESET);
    emit selectedEQPresetChanged();
}

void EqualizerState::setEqualizerBand(float frequency, float gain) {
    setSelectedEQPreset(EqualizerPreset::none);
    AudioUnitEQFilterParameters* band = findBand(m_equalizer, frequency);
    if (band && band->gain() == gain) {
        return;
    }
    if (band) {
        band->setGain(gain);
    }
    saveEqualizerBands();
}

void EqualizerState::setCustomEqualizerBand(float frequency, float gain) {
    AudioUnitEQFilterParameters* band = findBand(m_equalizer, frequency);
    if (band && band->gain() != gain) {
        band->setGain(gain);
    }
}

QMap<float, float> EqualizerState::gains(EqualizerPreset preset) {
    const auto row = presetForRawValue(qint64(preset)).value_or(EqualizerPreset::none);
    QMap<float, float> result;
    for (size_t i = 0; i < kFrequencies.size(); ++i) {
        result.insert(kFrequencies[i], kPresetGains[size_t(row)][i]);
    }
    return result;
}

void EqualizerState::selectPreset(EqualizerPreset preset) {
    const QMap<float, float> row = gains(preset);
    for (auto it = row.cbegin(); it != row.cend(); ++it) {
        setEqualizerBand(it.key(), it.value());
    }
    setSelectedEQPreset(preset);
}

void EqualizerState::loadCustomPreset() {
    if (const auto custom = storedBands(KEY_EQ_BANDS_CUSTOM)) {
        for (const auto& [frequency, gain] : *custom) {
            setCustomEqualizerBand(frequency, gain);
        }
        return;
    }
    if (const auto bands = storedBands(KEY_EQ_BANDS)) {
        for (const auto& [frequency, gain] : *bands) {
            setEqualizerBand(frequency, gain);
        }
    }
}

void EqualizerState::saveBands(QLatin1String key) {
    QVariantMap dictionary;
    for (const AudioUnitEQFilterParameters* band : m_equalizer.bands()) {
        dictionary.insert(frequencyKey(band->frequency()), QVariant(band->gain()));
    }
    m_defaults.setDictionary(dictionary, key);
}

void EqualizerState::saveEqualizerBands() {
    saveBands(KEY_EQ_BANDS);
}

void EqualizerState::saveCustomEqualizerBands() {
    saveBands(KEY_EQ_BANDS_CUSTOM);
}

std::optional<std::vector<std::pair<float, float>>> EqualizerState::storedBands(
    QLatin1String key) const {
    const std::optional<QVariantMap> dictionary = m_defaults.dictionaryForKey(key);
    if (!dictionary) {
        return std::nullopt;
    }
    std::vector<std::pair<float, float>> entries;
    for (auto it = dictionary->cbegin(); it != dictionary->cend(); ++it) {
        if (it.value().typeId() != QMetaType::Float) {
            return std::nullopt;
        }
        bool ok = false;
        const float frequency = it.key().toFloat(&ok);
        if (!ok) {
            // A hand-edited or damaged file must not keep the player from
            // starting; the bands simply start flat.
            systemLog(QStringLiteral("Ignoring the stored equalizer bands \"%1\": \"%2\" is not a "
                                     "frequency")
                          .arg(key, it.key()));
            return std::nullopt;
        }
        entries.emplace_back(frequency, it.value().toFloat());
    }
    return entries;
}

float EqualizerState::bassGain() const {
    if (m_bassEqualizers.empty()) {
        return 0.0f;
    }
    const AudioUnitEQFilterParameters* band = findBand(*m_bassEqualizers.front(), 60.0f);
    return band ? band->gain() : 0.0f;
}

void EqualizerState::setBassGain(float gain) {
    // Any boost switches the whole shape on at once: the mids are scooped to
    // keep the low end from muddying them, and the top is lifted.
    const bool boosted = gain > 0.0f;
    const std::array<std::pair<float, float>, 4> shape = {{
        {60.0f, gain},
        {230.0f, boosted ? -4.0f : 0.0f},
        {3000.0f, boosted ? 2.0f : 0.0f},
        {14000.0f, boosted ? 4.0f : 0.0f},
    }};
    for (const auto& unit : m_bassEqualizers) {
        for (const auto& [frequency, bandGain] : shape) {
            if (AudioUnitEQFilterParameters* band = findBand(*unit, frequency)) {
                band->setGain(bandGain);
            }
        }
    }
    m_defaults.setFloat(gain, KEY_EQ_BASS);
}

void EqualizerState::setVolumeBoost(int gain) {
    m_equalizer.setGlobalGain(float(gain));
    m_defaults.setFloat(m_equalizer.globalGain(), KEY_EQ_GLOBAL_GAIN);
}

void EqualizerState::restoreEqualizer() {
    // The preset is still none here, so the bands come back without touching it.
    if (const auto bands = storedBands(KEY_EQ_BANDS)) {
        for (const auto& [frequency, gain] : *bands) {
            setEqualizerBand(frequency, gain);
        }
    }
    m_equalizer.setGlobalGain(m_defaults.floatForKey(KEY_EQ_GLOBAL_GAIN));
    setSelectedEQPreset(
        presetForRawValue(m_defaults.integerForKey(KEY_EQ_PRESET)).value_or(EqualizerPreset::none));
}

void EqualizerState::restoreBassEqualizers() {
    setBassGain(m_defaults.floatForKey(KEY_EQ_BASS));
}
