#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

class QSettings;
class QTimer;

// Keyed, typed user settings kept in one file below CORVANTIS_HOME. Each value
// keeps its type across a restart (a float stays a float, an integer an
// integer), and a typed getter reads a value of any other type as absent.
// A write is visible at once to every reader in the process (instances on the
// same file share one in-memory copy) and reaches the disk shortly after,
// atomically (a temporary file renamed over the old one), so that a burst of
// writes such as a slider drag costs one file write, not one each. Pending
// writes are flushed when the application quits, when the instance goes away
// and on flush(); a crash loses at most the last moment's changes, never the
// file. A damaged file is set aside under a name of its own
// ("<file>.damaged", then "<file>.damaged-2", ...; the newest five are kept),
// not overwritten.
class UserDefaults : public QObject {
    Q_OBJECT

public:
    // The store of the running application, on AppDirectories::settingsFile().
    static UserDefaults& standard();

    explicit UserDefaults(const QString& filePath, QObject* parent = nullptr);
    ~UserDefaults() override;

    // Absent or of another type: false, 0, 0.0.
    bool boolForKey(const QString& key) const;
    qint64 integerForKey(const QString& key) const;
    float floatForKey(const QString& key) const;

    // Absent or of another type: nothing.
    std::optional<QString> stringForKey(const QString& key) const;
    std::optional<QByteArray> dataForKey(const QString& key) const;
    // Values keep their own types (QMetaType::Float, QString, ...).
    std::optional<QVariantMap> dictionaryForKey(const QString& key) const;
    std::optional<QVariantList> arrayForKey(const QString& key) const;
    std::optional<QVariant> objectForKey(const QString& key) const;

    void setBool(bool value, const QString& key);
    void setInteger(qint64 value, const QString& key);
    void setFloat(float value, const QString& key);
    void setString(const QString& value, const QString& key);
    void setData(const QByteArray& value, const QString& key);
    void setDictionary(const QVariantMap& value, const QString& key);
    void setArray(const QVariantList& value, const QString& key);
    // Any value of the supported types: bool, integer, float, string, data,
    // dictionary, array (nested as deep as wanted).
    void setObject(const QVariant& value, const QString& key);
    void removeObjectForKey(const QString& key);

    QString filePath() const;

    // Writes what is pending to the file now; nothing pending, nothing written.
    // The application calls this when it is sent to the background.
    void flush();

    // How long after a first unsaved change the file is written.
    void setWriteDelay(std::chrono::milliseconds delay);

signals:
    void valueChanged(const QString& key);
    // The file was written.
    void saved();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void write(const QString& key, const QVariant& value);
    void changed(const QString& key);
    void scheduleFlush();

    std::unique_ptr<QSettings> m_settings;
    QTimer* m_flushTimer;
    std::atomic<bool> m_dirty{false};
};
