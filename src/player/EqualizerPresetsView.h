#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QStringList>
#include <optional>

#include "EqualizerState.h"

class EqualizerPresetsView;

class EqualizerPresetsViewDelegate {
public:
    virtual ~EqualizerPresetsViewDelegate() = default;
    virtual void equalizerPresetsViewDidSelectPreset(EqualizerPresetsView& view,
                                                     EqualizerState::EqualizerPreset preset) = 0;
};

// One button per preset, tagged with the preset's number; the selected one
// is filled.
class EqualizerPresetsView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the player screen")
    Q_PROPERTY(QStringList titles READ titles CONSTANT)
    Q_PROPERTY(int selectedTag READ selectedTag NOTIFY buttonsChanged)

public:
    using EqualizerPreset = EqualizerState::EqualizerPreset;
    static constexpr int kButtonCount = 9;

    explicit EqualizerPresetsView(QObject* parent = nullptr);

    // By button tag; not translated, as the presets' names are names.
    QStringList titles() const { return m_titles; }
    static QString titleForTag(int tag);

    std::optional<EqualizerPreset> selectedPreset;
    EqualizerPresetsViewDelegate* delegate = nullptr;
    int tag = 0;

    // The tag of the filled button; -1 before updateButtons() found one.
    int selectedTag() const { return m_selectedTag; }
    void updateButtons();

    Q_INVOKABLE void didClickPreset(int tag);

signals:
    void buttonsChanged();

private:
    QStringList m_titles;
    int m_selectedTag = -1;
};
