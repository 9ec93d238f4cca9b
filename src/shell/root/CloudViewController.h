#pragma once

#include <optional>

#include "AreaViewController.h"

// The user's own files: the four lists over the music folder, and the add
// button that opens the import screen (hidden on the playlists tab, where
// adding files means nothing).
class CloudViewController : public AreaViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Cloud\" bundle")
    Q_PROPERTY(bool hasAddButton READ hasAddButton NOTIFY addButtonChanged)
    Q_PROPERTY(bool addButtonHidden READ isAddButtonHidden NOTIFY addButtonChanged)
    Q_PROPERTY(QString addButtonImage READ addButtonImage CONSTANT)
    Q_PROPERTY(qreal addButtonBottom READ addButtonBottom CONSTANT)
    Q_PROPERTY(qreal addButtonLeading READ addButtonLeading CONSTANT)

public:
    // Above the safe area's bottom and from its leading edge.
    static constexpr qreal kAddButtonBottom = 20;
    static constexpr qreal kAddButtonLeading = 85;

    explicit CloudViewController(QObject* parent = nullptr);

    bool hasAddButton() const { return m_addButtonHidden.has_value(); }
    bool isAddButtonHidden() const { return m_addButtonHidden.value_or(true); }
    QString addButtonImage() const { return QStringLiteral("AddBtn"); }
    qreal addButtonBottom() const { return kAddButtonBottom; }
    qreal addButtonLeading() const { return kAddButtonLeading; }

    Q_INVOKABLE void addButtonTapped();

    void viewDidLoad() override;

signals:
    void addButtonChanged();

protected:
    std::array<const char*, 4> tabKeys() const override;
    ViewController* makeChild(Tab tab) override;
    void didSelectChild(ViewController* child) override;

private:
    // Absent until the button is made.
    std::optional<bool> m_addButtonHidden;
};
