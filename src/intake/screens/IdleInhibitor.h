#pragma once

#include <QObject>
#include <QString>
#include <optional>

// Keeps the desktop from going idle (screen saver, sleep) while held, through
// the session's screen-saver service. Where no such service runs, holding it
// does nothing at all.
class IdleInhibitor : public QObject {
    Q_OBJECT

public:
    static inline const QString serviceName = QStringLiteral("org.freedesktop.ScreenSaver");
    static inline const QString objectPath = QStringLiteral("/org/freedesktop/ScreenSaver");

    explicit IdleInhibitor(QObject* parent = nullptr);
    ~IdleInhibitor() override;

    // Asks the service; the answer comes later. A second call while held does nothing.
    void inhibit(const QString& reason);
    // Gives the hold back, also one whose answer is still on its way.
    void release();
    // Whether the service granted the hold and it has not been given back.
    bool isInhibiting() const { return m_cookie.has_value(); }

signals:
    void inhibitingChanged();

private:
    void unInhibit(uint cookie);

    bool m_wanted = false;
    bool m_asking = false;
    std::optional<uint> m_cookie;
};
