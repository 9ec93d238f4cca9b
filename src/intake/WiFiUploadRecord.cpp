#include "WiFiUploadRecord.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "Log.h"
#include "UploadRecord.h"
#include "UserDefaults.h"

const QString WiFiUploadRecord::key = QString::fromLatin1(kUploadedFilesWithSizeKey);

namespace {

QJsonArray toJsonArray(const QList<UploadedFile>& files) {
    QJsonArray array;
    for (const UploadedFile& file : files) {
        array.append(
            QJsonObject{{QStringLiteral("name"), file.name}, {QStringLiteral("size"), file.size}});
    }
    return array;
}

}  // namespace

WiFiUploadRecord::WiFiUploadRecord(const QString& settingsFile) {
    m_storeThread.setObjectName(QStringLiteral("upload record"));
    m_storeThread.start();
    m_storeContext = new QObject;
    m_storeContext->moveToThread(&m_storeThread);
    QMetaObject::invokeMethod(
        m_storeContext, [this, settingsFile] { m_store = new UserDefaults(settingsFile); },
        Qt::BlockingQueuedConnection);
}

WiFiUploadRecord::~WiFiUploadRecord() {
    QMetaObject::invokeMethod(
        m_storeContext,
        [this] {
            delete m_store;
            delete m_storeContext;
        },
        Qt::BlockingQueuedConnection);
    m_storeThread.quit();
    m_storeThread.wait();
}

void WiFiUploadRecord::onStoreThread(const std::function<void(UserDefaults&)>& work) {
    QMetaObject::invokeMethod(
        m_storeContext, [this, &work] { work(*m_store); }, Qt::BlockingQueuedConnection);
}

// The collection reads and trims the same record; one codec serves both.
QByteArray WiFiUploadRecord::encode(const QList<UploadedFile>& files) {
    QList<UploadEntry> entries;
    for (const UploadedFile& file : files) {
        entries.append(
            UploadEntry{{QStringLiteral("name"), file.name}, {QStringLiteral("size"), file.size}});
    }
    return UploadRecord::encode(entries);
}

bool WiFiUploadRecord::decode(const QByteArray& bytes, QList<UploadedFile>* files, QString* error) {
    auto decoded = UploadRecord::decode(bytes);
    if (const QString* failure = std::get_if<QString>(&decoded)) {
        *error = *failure;
        return false;
    }
    files->clear();
    for (const UploadEntry& entry : std::get<QList<UploadEntry>>(decoded)) {
        // An entry without a member keeps it empty, as a dictionary lookup would.
        files->append({entry.value(QStringLiteral("name")), entry.value(QStringLiteral("size"))});
    }
    return true;
}

QByteArray WiFiUploadRecord::reloadAsFilesJson() {
    std::lock_guard lock(m_mutex);
    std::optional<QByteArray> stored;
    onStoreThread([&stored](UserDefaults& store) { stored = store.dataForKey(key); });
    if (!stored) {
        systemLog(QStringLiteral("No uploaded files found in UserDefaults"));
        m_files.clear();
    } else {
        QList<UploadedFile> files;
        QString error;
        if (decode(*stored, &files, &error)) {
            m_files = files;
            systemLog(QStringLiteral("Loaded uploadedFilesWithSize from UserDefaults"));
        } else {
            // The bad bytes stay stored until the next upload writes the list.
            systemLog(QStringLiteral("Error decoding uploadedFilesWithSize data: ") + error);
            m_files.clear();
        }
    }
    const QJsonArray array = toJsonArray(m_files);
    systemLog(QStringLiteral("Files ") +
              QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact)));
    return QJsonDocument(QJsonObject{{QStringLiteral("files"), array}})
        .toJson(QJsonDocument::Compact);
}

void WiFiUploadRecord::append(const QString& name, qint64 size) {
    std::lock_guard lock(m_mutex);
    m_files.append({name, QString::number(size)});
    const QByteArray bytes = encode(m_files);
    onStoreThread([&bytes](UserDefaults& store) { store.setData(bytes, key); });
    systemLog(QStringLiteral("Saved uploadedFilesWithSize to UserDefaults"));
}

QList<UploadedFile> WiFiUploadRecord::files() const {
    std::lock_guard lock(m_mutex);
    return m_files;
}
