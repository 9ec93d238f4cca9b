#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <optional>

#include "CloudFile.h"

// One folder row of the cloud browser; a tap on it goes into the folder.
class FolderCell : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)

public:
    explicit FolderCell(QObject* parent = nullptr) : QObject(parent) {}

    QString name() const { return m_name; }
    const std::optional<Intake::Folder>& folder() const { return m_folder; }
    // The label follows a change of id or name; nothing leaves the row as it is.
    void setFolder(const std::optional<Intake::Folder>& folder);

signals:
    void nameChanged();

private:
    std::optional<Intake::Folder> m_folder;
    QString m_name;
};
