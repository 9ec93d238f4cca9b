#include "FileCell.h"

#include <QMetaEnum>

#include "DownloadManager.h"
#include "NotificationCenter.h"

using Intake::Status;

FileCell::FileCell(QObject* parent) : QObject(parent) {
    NotificationCenter::defaultCenter().addObserver(
        DownloadManager::statusDidChangeNotification, this,
        [this](const Notification& notification) { updateDownloadButton(&notification); });
}

FileCell::~FileCell() {
    NotificationCenter::defaultCenter().removeObserver(this);
}

void FileCell::setFile(const std::optional<CloudFile>& file) {
    if (!file) {
        return;
    }
    const bool same = m_file && m_file->id == file->id && m_file->name == file->name;
    m_file = file;
    if (same) {
        return;
    }
    m_name = file->name;
    emit nameChanged();
    updateDownloadButton(nullptr);
}

void FileCell::setDownloadState(DownloadState state) {
    if (m_downloadState != state) {
        m_downloadState = state;
        emit buttonChanged();
    }
}

void FileCell::setDownloadPercent(double percent) {
    if (m_downloadPercent != percent) {
        m_downloadPercent = percent;
        emit buttonChanged();
    }
}

QString FileCell::rawText(DownloadState state) {
    return QString::fromLatin1(
        QMetaEnum::fromType<DownloadState>().valueToKey(static_cast<int>(state)));
}

void FileCell::didClickDownload() {
    if (m_file && m_delegate) {
        m_delegate->fileCellDidClickDownload(*this, *m_file);
    }
}

void FileCell::updateDownloadButton(const Notification* notification) {
    if (!m_file) {
        return;
    }
    if (notification) {
        const QVariant value = notification->userInfo.value(DownloadManager::fileUserInfoKey);
        if (value.metaType() == QMetaType::fromType<CloudFile>()) {
            const CloudFile other = value.value<CloudFile>();
            if (other.id != m_file->id || other.name != m_file->name) {
                return;
            }
        }
    }
    const Status status = DownloadManager::shared().downloadStatus(*m_file);
    switch (status.kind) {
        case Status::Kind::completed:
            setDownloadState(DownloadState::downloaded);
            break;
        case Status::Kind::downloading:
            setDownloadState(DownloadState::readyToDownload);
            setDownloadPercent(status.progress);
            break;
        case Status::Kind::unstarted:
            setDownloadState(DownloadState::toDownload);
            break;
    }
}
