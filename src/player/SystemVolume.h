#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

struct pa_threaded_mainloop;
struct pa_context;

// The output volume of the sound server's default sink: shown, set, and
// followed when something else changes it. Without a sound server it is
// unavailable and the screen leaves it out.
//
// The server's client library runs its own thread; every answer comes back
// to this object's thread before anything here changes.
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

signals:
    void availableChanged();
    void volumeChanged();

private:
    static void contextStateChanged(pa_context* context, void* self);
    void queryDefaultSink();
    // From the library's thread.
    void report(bool available, qreal volume);

    pa_threaded_mainloop* m_mainloop = nullptr;
    pa_context* m_context = nullptr;
    // Written on the library's thread, under its lock.
    QString m_sinkName;
    int m_channels = 2;

    bool m_available = false;
    qreal m_volume = 0;
};
