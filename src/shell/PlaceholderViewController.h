#pragma once

#include "ViewController.h"

// Stands in for a screen whose bundle is not built yet: a plain page with the
// bundle's name and a way back.
class PlaceholderViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by Storyboard")
    Q_PROPERTY(QString bundleName READ bundleName CONSTANT)

public:
    explicit PlaceholderViewController(const QString& bundleName, QObject* parent = nullptr);

    QString bundleName() const { return m_bundleName; }
    // Back from the page, when it was presented.
    Q_INVOKABLE void didClickClose();

private:
    QString m_bundleName;
};
