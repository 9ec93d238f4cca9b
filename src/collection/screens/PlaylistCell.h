#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

// A playlist's row. It takes a new name only with another playlist: given the
// same playlist again (the same id) it keeps the name it shows.
class PlaylistCell : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString playlistId READ playlistId NOTIFY nameChanged)
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)

public:
    explicit PlaylistCell(QObject* parent = nullptr) : QObject(parent) {}

    QString playlistId() const { return m_id; }
    QString name() const { return m_name; }

    // An empty id is no playlist.
    Q_INVOKABLE void setPlaylist(const QString& id, const QString& name);

signals:
    void nameChanged();

private:
    QString m_id;
    QString m_name;
};
