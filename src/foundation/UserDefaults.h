#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <memory>
#include <optional>

class QSettings;

// Keyed, typed user settings kept in one file below CORVANTIS_HOME. Each value
// keeps its type across a restart (a float stays a float, an integer an
// integer), and a typed getter reads a value of any other type as absent.
// Every write reaches the disk atomically before the setter returns, so a crash
// never loses the file. A damaged file is set aside under a name of its own
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

signals:
    void valueChanged(const QString& key);

private:
    void write(const QString& key, const QVariant& value);

    std::unique_ptr<QSettings> m_settings;
};
