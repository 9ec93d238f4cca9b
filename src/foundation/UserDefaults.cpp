#include "UserDefaults.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "AppDirectories.h"
#include "Log.h"

namespace {

// Each stored value is a one-member object naming its type, so that types
// survive the round trip through JSON, which knows only "number".
QJsonValue encode(const QVariant& value, bool* ok) {
    switch (value.metaType().id()) {
        case QMetaType::Bool:
            return QJsonObject{{"bool", value.toBool()}};
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Long:
        case QMetaType::Short:
            // Integers travel as text: a double cannot carry every 64-bit value.
            return QJsonObject{{"int", QString::number(value.toLongLong())}};
        case QMetaType::Float:
        case QMetaType::Double: {
            const double number = value.toDouble();
            if (!std::isfinite(number)) {
                return QJsonObject{{"float", QString::number(number)}};
            }
            return QJsonObject{{"float", static_cast<double>(value.toFloat())}};
        }
        case QMetaType::QString:
            return QJsonObject{{"string", value.toString()}};
        case QMetaType::QByteArray:
            return QJsonObject{{"data", QString::fromLatin1(value.toByteArray().toBase64())}};
        case QMetaType::QVariantMap: {
            QJsonObject members;
            const QVariantMap map = value.toMap();
            for (auto it = map.cbegin(); it != map.cend(); ++it) {
                members.insert(it.key(), encode(it.value(), ok));
            }
            return QJsonObject{{"dict", members}};
        }
        case QMetaType::QVariantList:
        case QMetaType::QStringList: {
            QJsonArray items;
            for (const QVariant& item : value.toList()) {
                items.append(encode(item, ok));
            }
            return QJsonObject{{"array", items}};
        }
        default:
            *ok = false;
            return QJsonValue();
    }
}

std::optional<QVariant> decode(const QJsonValue& stored) {
    const QJsonObject object = stored.toObject();
    if (object.size() != 1) {
        return std::nullopt;
    }
    const QString type = object.begin().key();
    const QJsonValue value = object.begin().value();
    if (type == "bool" && value.isBool()) {
        return QVariant(value.toBool());
    }
    if (type == "int" && value.isString()) {
        bool ok = false;
        const qint64 number = value.toString().toLongLong(&ok);
        return ok ? std::optional<QVariant>(QVariant(number)) : std::nullopt;
    }
    if (type == "float") {
        if (value.isDouble()) {
            return QVariant(static_cast<float>(value.toDouble()));
        }
        bool ok = false;
        const double number = value.toString().toDouble(&ok);
        return ok ? std::optional<QVariant>(QVariant(static_cast<float>(number))) : std::nullopt;
    }
    if (type == "string" && value.isString()) {
        return QVariant(value.toString());
    }
    if (type == "data" && value.isString()) {
        auto result = QByteArray::fromBase64Encoding(value.toString().toLatin1(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
        return result ? std::optional<QVariant>(QVariant(*result)) : std::nullopt;
    }
    if (type == "dict" && value.isObject()) {
        QVariantMap map;
        const QJsonObject members = value.toObject();
        for (auto it = members.begin(); it != members.end(); ++it) {
            auto member = decode(it.value());
            if (!member) {
                return std::nullopt;
            }
            map.insert(it.key(), *member);
        }
        return QVariant(map);
    }
    if (type == "array" && value.isArray()) {
        QVariantList list;
        for (const QJsonValue& item : value.toArray()) {
            auto decoded = decode(item);
            if (!decoded) {
                return std::nullopt;
            }
            list.append(*decoded);
        }
        return QVariant(list);
    }
    return std::nullopt;
}

bool readTypedJson(QIODevice& device, QSettings::SettingsMap& map) {
    const QByteArray bytes = device.readAll();
    if (bytes.trimmed().isEmpty()) {
        return true;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return false;
    }
    const QJsonObject root = document.object();
    for (auto it = root.begin(); it != root.end(); ++it) {
        auto value = decode(it.value());
        if (!value) {
            systemLog(QStringLiteral("Ignoring damaged setting \"%1\"").arg(it.key()));
            continue;
        }
        map.insert(it.key(), *value);
    }
    return true;
}

bool writeTypedJson(QIODevice& device, const QSettings::SettingsMap& map) {
    QJsonObject root;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        bool ok = true;
        const QJsonValue value = encode(it.value(), &ok);
        if (ok) {
            root.insert(it.key(), value);
        }
    }
    return device.write(QJsonDocument(root).toJson(QJsonDocument::Indented)) >= 0;
}

QSettings::Format typedJsonFormat() {
    static const QSettings::Format format =
        QSettings::registerFormat("json", readTypedJson, writeTypedJson, Qt::CaseSensitive);
    return format;
}

bool isSupported(const QVariant& value) {
    bool ok = true;
    encode(value, &ok);
    return ok;
}

template <typename T>
std::optional<T> typed(const QSettings& settings, const QString& key, QMetaType::Type type) {
    const QVariant value = settings.value(key);
    if (!value.isValid() || value.metaType().id() != type) {
        return std::nullopt;
    }
    return value.value<T>();
}

// Long enough for a slider drag to coalesce into a few file writes, short
// enough that a crash a moment later loses next to nothing.
constexpr std::chrono::milliseconds kDefaultWriteDelay{500};

// Damaged files set aside at most, the newest ones; one more is bound to be
// the same damage again.
constexpr int kKeptDamagedCopies = 5;

// The number of a set-aside copy: 1 for "<name>.damaged", n for
// "<name>.damaged-n"; 0 for any other name.
int damagedCopyNumber(const QString& entry, const QString& stem) {
    if (entry == stem) {
        return 1;
    }
    if (!entry.startsWith(stem + QLatin1Char('-'))) {
        return 0;
    }
    bool ok = false;
    const int number = entry.mid(stem.size() + 1).toInt(&ok);
    return ok && number >= 2 ? number : 0;
}

// Moves the damaged file aside under a name of its own, so that an earlier
// copy is never overwritten, and drops the oldest copies beyond the bound.
// Returns where it went.
QString setAside(const QString& filePath) {
    const QFileInfo info(filePath);
    const QString stem = info.fileName() + QStringLiteral(".damaged");
    QDir directory = info.dir();
    QList<int> numbers;
    for (const QString& entry :
         directory.entryList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        if (const int number = damagedCopyNumber(entry, stem)) {
            numbers.append(number);
        }
    }
    const int next =
        numbers.isEmpty() ? 1 : *std::max_element(numbers.cbegin(), numbers.cend()) + 1;
    const auto nameOf = [&](int number) {
        return directory.filePath(number == 1 ? stem : stem + QStringLiteral("-%1").arg(number));
    };
    const QString aside = nameOf(next);
    if (!QFile::rename(filePath, aside)) {
        QFile::copy(filePath, aside);
    }
    for (const int number : std::as_const(numbers)) {
        if (number <= next - kKeptDamagedCopies) {
            QFile::remove(nameOf(number));
        }
    }
    return aside;
}

}  // namespace

UserDefaults& UserDefaults::standard() {
    // Never destroyed (it outlives every user), so its last writes go out when
    // the application object goes (while its home is surely still there), or
    // at exit for a process that never made one.
    static UserDefaults* instance = [] {
        auto* defaults = new UserDefaults(AppDirectories::settingsFile());
        qAddPostRoutine([] { standard().flush(); });
        std::atexit([] { standard().flush(); });
        return defaults;
    }();
    return *instance;
}

UserDefaults::UserDefaults(const QString& filePath, QObject* parent) : QObject(parent) {
    QDir().mkpath(QFileInfo(filePath).absolutePath());
    m_settings = std::make_unique<QSettings>(filePath, typedJsonFormat());
    if (m_settings->status() == QSettings::FormatError) {
        // Keep the damaged file for the user instead of overwriting it with
        // the next write; the application goes on with defaults.
        m_settings.reset();
        const QString aside = setAside(filePath);
        systemLog(QStringLiteral("Settings file %1 is damaged; kept as %2, starting with defaults")
                      .arg(filePath, aside));
        QFile::remove(filePath);
        m_settings = std::make_unique<QSettings>(filePath, typedJsonFormat());
    }
    // QSettings would write at the next turn of the event loop, which during a
    // drag is after every move; the timer below decides when instead.
    m_settings->installEventFilter(this);
    m_flushTimer = new QTimer(this);
    m_flushTimer->setSingleShot(true);
    m_flushTimer->setInterval(kDefaultWriteDelay);
    connect(m_flushTimer, &QTimer::timeout, this, &UserDefaults::flush);
    if (auto* application = QCoreApplication::instance()) {
        connect(application, &QCoreApplication::aboutToQuit, this, &UserDefaults::flush);
    }
}

UserDefaults::~UserDefaults() {
    flush();
}

void UserDefaults::flush() {
    if (!m_dirty.exchange(false)) {
        return;
    }
    m_settings->sync();
    if (m_settings->status() != QSettings::NoError) {
        systemLog(QStringLiteral("Could not write settings file %1").arg(m_settings->fileName()));
        return;
    }
    emit saved();
}

void UserDefaults::setWriteDelay(std::chrono::milliseconds delay) {
    m_flushTimer->setInterval(delay);
}

bool UserDefaults::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_settings.get() && event->type() == QEvent::UpdateRequest) {
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void UserDefaults::scheduleFlush() {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, &UserDefaults::scheduleFlush, Qt::QueuedConnection);
        return;
    }
    if (!QAbstractEventDispatcher::instance(thread())) {
        // No event loop will ever run the timer: write now, as nothing may be lost.
        flush();
        return;
    }
    if (!m_flushTimer->isActive()) {
        m_flushTimer->start();
    }
}

void UserDefaults::changed(const QString& key) {
    m_dirty = true;
    scheduleFlush();
    emit valueChanged(key);
}

QString UserDefaults::filePath() const {
    return m_settings->fileName();
}

bool UserDefaults::boolForKey(const QString& key) const {
    return typed<bool>(*m_settings, key, QMetaType::Bool).value_or(false);
}

qint64 UserDefaults::integerForKey(const QString& key) const {
    return typed<qint64>(*m_settings, key, QMetaType::LongLong).value_or(0);
}

float UserDefaults::floatForKey(const QString& key) const {
    return typed<float>(*m_settings, key, QMetaType::Float).value_or(0.0f);
}

std::optional<QString> UserDefaults::stringForKey(const QString& key) const {
    return typed<QString>(*m_settings, key, QMetaType::QString);
}

std::optional<QByteArray> UserDefaults::dataForKey(const QString& key) const {
    return typed<QByteArray>(*m_settings, key, QMetaType::QByteArray);
}

std::optional<QVariantMap> UserDefaults::dictionaryForKey(const QString& key) const {
    return typed<QVariantMap>(*m_settings, key, QMetaType::QVariantMap);
}

std::optional<QVariantList> UserDefaults::arrayForKey(const QString& key) const {
    return typed<QVariantList>(*m_settings, key, QMetaType::QVariantList);
}

std::optional<QVariant> UserDefaults::objectForKey(const QString& key) const {
    const QVariant value = m_settings->value(key);
    if (!value.isValid()) {
        return std::nullopt;
    }
    return value;
}

void UserDefaults::setBool(bool value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setInteger(qint64 value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setFloat(float value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setString(const QString& value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setData(const QByteArray& value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setDictionary(const QVariantMap& value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setArray(const QVariantList& value, const QString& key) {
    write(key, QVariant(value));
}

void UserDefaults::setObject(const QVariant& value, const QString& key) {
    if (!isSupported(value)) {
        qFatal("UserDefaults cannot store a value of type %s for key %s", value.typeName(),
               qPrintable(key));
    }
    // Normalise integer widths so that a stored int reads back through integerForKey.
    switch (value.metaType().id()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::Short:
        case QMetaType::ULongLong:
            write(key, QVariant(value.toLongLong()));
            return;
        case QMetaType::Double:
            write(key, QVariant(value.toFloat()));
            return;
        default:
            write(key, value);
    }
}

void UserDefaults::removeObjectForKey(const QString& key) {
    m_settings->remove(key);
    changed(key);
}

void UserDefaults::write(const QString& key, const QVariant& value) {
    // Hold in memory exactly what a restart would read back, nested values included.
    bool ok = true;
    const std::optional<QVariant> normalised = decode(encode(value, &ok));
    if (!ok || !normalised) {
        qFatal("UserDefaults cannot store a value of type %s for key %s", value.typeName(),
               qPrintable(key));
    }
    m_settings->setValue(key, *normalised);
    changed(key);
}
