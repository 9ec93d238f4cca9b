#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <memory>

class VolumeServer;

// The output volume of the sound server's default sink: shown, set, and
// followed when something else changes it. Without a sound server it is
// unavailable and the screen leaves it out.
//
// The server's client library runs its own thread; every answer comes back
// to this object's thread before anything here changes. The library comes in
// a module loaded with the first of these; where that module cannot be
// loaded, the volume is unavailable and the log says why.
class SystemVolume : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the player screen owns it")
    Q_PROPERTY(bool available READ isAvailable NOTIFY availableChanged)
    Q_PROPERTY(qreal volume READ volume WRITE setVolume NOTIFY volumeChanged)

public:
    // `server` as the client library names servers ("unix:/path"); empty:
    // the user's own server, found the usual way.
    explicit SystemVolume(QObject* parent = nullptr) : SystemVolume(QString(), parent) {}
    explicit SystemVolume(const QString& server, QObject* parent = nullptr);
    ~SystemVolume() override;

    bool isAvailable() const { return m_available; }
    // 0 is silent, 1 the sink's full volume (its "100 %").
    qreal volume() const { return m_volume; }
    void setVolume(qreal volume);

    // Where the module is looked for (see LazyModule).
    static QString modulePath();

signals:
    void availableChanged();
    void volumeChanged();

private:
    // From the library's thread.
    static void report(void* self, bool available, double volume);

    std::unique_ptr<VolumeServer> m_server;
    bool m_available = false;
    qreal m_volume = 0;
};
