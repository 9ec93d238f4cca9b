#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>

#include "CloudFile.h"

struct Notification;
class FileCell;

// Whoever acts on a row's download button: the browser screen.
class FileCellDelegate {
public:
    virtual ~FileCellDelegate() = default;
    virtual void fileCellDidClickDownload(FileCell& cell, const CloudFile& file) = 0;
};

// One file row of the cloud browser: its name and the state of its download
// button. The row keeps its button in step with the download books on its
// own, picking out of every status change the ones about its file.
class FileCell : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    Q_PROPERTY(DownloadState downloadState READ downloadState NOTIFY buttonChanged)
    Q_PROPERTY(double downloadPercent READ downloadPercent NOTIFY buttonChanged)

public:
    // The button's four faces; rawText() gives the names the states go by.
    enum class DownloadState { toDownload, willDownload, readyToDownload, downloaded };
    Q_ENUM(DownloadState)

    explicit FileCell(QObject* parent = nullptr);
    ~FileCell() override;

    QString name() const { return m_name; }
    const std::optional<CloudFile>& file() const { return m_file; }
    // Nothing leaves the row as it is; the same id and name do nothing either.
    void setFile(const std::optional<CloudFile>& file);

    FileCellDelegate* delegate() const { return m_delegate; }
    void setDelegate(FileCellDelegate* delegate) { m_delegate = delegate; }

    DownloadState downloadState() const { return m_downloadState; }
    void setDownloadState(DownloadState state);
    double downloadPercent() const { return m_downloadPercent; }
    void setDownloadPercent(double percent);
    static QString rawText(DownloadState state);

    // The button was tapped.
    Q_INVOKABLE void didClickDownload();
    // Brings the button in line with the books; a notification about another
    // file is left alone, one naming no file concerns every row.
    void updateDownloadButton(const Notification* notification);

signals:
    void nameChanged();
    void buttonChanged();

private:
    std::optional<CloudFile> m_file;
    FileCellDelegate* m_delegate = nullptr;
    QString m_name;
    DownloadState m_downloadState = DownloadState::toDownload;
    double m_downloadPercent = 0.0;
};
