#include "EqualizerPresetsView.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcPresetsView, "corvantis.player.presets")

EqualizerPresetsView::EqualizerPresetsView(QObject* parent) : QObject(parent) {
    for (int tag = 0; tag < kButtonCount; ++tag) {
        m_titles.append(titleForTag(tag));
    }
    selectedPreset = EqualizerPreset::none;
    updateButtons();
}

QString EqualizerPresetsView::titleForTag(int tag) {
    static const char* const titles[kButtonCount] = {
        "-", "Pop", "Rock", "EDM", "Hip Hop", "R&B", "Acoustic", "Classical", "Custom",
    };
    if (!EqualizerState::presetForRawValue(tag)) {
        return {};
    }
    return QString::fromLatin1(titles[tag]);
}

void EqualizerPresetsView::updateButtons() {
    if (!selectedPreset) {
        qCWarning(lcPresetsView) << "no preset to show as selected";
        return;
    }
    m_selectedTag = int(*selectedPreset);
    emit buttonsChanged();
}

void EqualizerPresetsView::didClickPreset(int tag) {
    const std::optional<EqualizerPreset> preset = EqualizerState::presetForRawValue(tag);
    if (!preset) {
        return;
    }
    selectedPreset = preset;
    updateButtons();
    if (delegate) {
        delegate->equalizerPresetsViewDidSelectPreset(*this, *preset);
    }
}
