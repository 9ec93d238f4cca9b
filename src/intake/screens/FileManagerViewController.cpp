#include "FileManagerViewController.h"

#include <algorithm>

#include "DownloadManager.h"
#include "Localization.h"
#include "NotificationCenter.h"
#include "ProgressHUD.h"

using Intake::Folder;
using Intake::Status;

FileManagerViewController::FileManagerViewController(QObject* parent) : ViewController(parent) {
    NotificationCenter::defaultCenter().addObserver(
        DownloadManager::statusDidChangeNotification, this,
        [this](const Notification& notification) { downloadStatusDidChange(notification); });
}

FileManagerViewController::~FileManagerViewController() {
    NotificationCenter::defaultCenter().removeObserver(this);
}

void FileManagerViewController::downloadStatusDidChange(const Notification& notification) {
    // A change of a service's file back to its start is a failed transfer: a
    // cancel tells nobody, and a removal names no source. The row has
    // already gone back; the user also learns why.
    const QVariant value = notification.userInfo.value(DownloadManager::fileUserInfoKey);
    if (value.metaType() != QMetaType::fromType<CloudFile>()) {
        return;
    }
    const CloudFile file = value.value<CloudFile>();
    if (file.source &&
        DownloadManager::shared().downloadStatus(file).kind == Status::Kind::unstarted) {
        ProgressHUD::shared().show(ProgressHUDType::error, this,
                                   Localization::text("dropbox_download_failed").arg(file.name));
    }
}

void FileManagerViewController::setDownloadAllButtonHeight(double height) {
    if (m_downloadAllButtonHeight != height) {
        m_downloadAllButtonHeight = height;
        updateDownloadAllButton();
    }
}

void FileManagerViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    load(m_currentPath, false);
}

void FileManagerViewController::loadFiles(const QString&, ListCallback) {
    ProgressHUD::shared().show(ProgressHUDType::loading, this);
    setDownloadAllButtonHidden(true);
}

void FileManagerViewController::load(const QString& path, bool back) {
    QPointer<FileManagerViewController> weak(this);
    loadFiles(path, [weak, path, back](const Result<std::vector<FileProtocol>>& result) {
        if (!weak) {
            return;
        }
        // The path moves even when the listing failed: the rows then stay
        // those of the folder before, and the next step goes from here.
        weak->setCurrentPath(path);
        ProgressHUD::shared().dismiss(0);
        if (result.isSuccess()) {
            weak->showFiles(result.value(), back);
        } else {
            ProgressHUD::shared().showError(result.error(), weak);
        }
    });
}

void FileManagerViewController::setCurrentPath(const QString& path) {
    if (m_currentPath != path) {
        m_currentPath = path;
        emit currentPathChanged();
    }
}

void FileManagerViewController::showFiles(std::vector<FileProtocol> entries, bool back) {
    if (m_goingBack != back) {
        m_goingBack = back;
        emit goingBackChanged();
    }
    m_model.removeAll();
    // Folders first, in the reverse of the listing's order, then the files
    // in the listing's order.
    std::stable_partition(entries.begin(), entries.end(),
                          [](const FileProtocol& entry) { return entry.folder() != nullptr; });
    const auto firstFile = std::find_if(entries.begin(), entries.end(), [](const auto& entry) {
        return entry.folder() == nullptr;
    });
    std::reverse(entries.begin(), firstFile);
    m_model.insertAll(std::move(entries));
    updateDownloadAllButton();
}

bool FileManagerViewController::canStillBeFetched(const FileProtocol& entry) {
    const CloudFile* file = entry.cloudFile();
    if (!file) {
        return false;
    }
    const DownloadManager& books = DownloadManager::shared();
    return !books.downloadedTasks.contains(file->id) && !books.downloadTasks.contains(file->id);
}

void FileManagerViewController::updateDownloadAllButton() {
    const bool hidden = std::none_of(files().begin(), files().end(), canStillBeFetched);
    m_downloadAllButtonHidden = hidden;
    m_bottomInset = hidden ? 0 : m_downloadAllButtonHeight + 20;
    emit downloadAllButtonChanged();
}

void FileManagerViewController::setDownloadAllButtonHidden(bool hidden) {
    if (m_downloadAllButtonHidden != hidden) {
        m_downloadAllButtonHidden = hidden;
        emit downloadAllButtonChanged();
    }
}

void FileManagerViewController::didClickBack() {
    if (!m_currentPath.isEmpty()) {
        navigateUp();
    } else {
        dismissViewController(true);
    }
}

void FileManagerViewController::didClickDownloadAll() {
    for (FileCell* cell : visibleCells()) {
        if (cell->downloadState() == FileCell::DownloadState::toDownload) {
            cell->setDownloadState(FileCell::DownloadState::willDownload);
        }
    }
    std::vector<CloudFile> pending;
    for (const FileProtocol& entry : files()) {
        if (canStillBeFetched(entry)) {
            pending.push_back(*entry.cloudFile());
        }
    }
    // All at once: the books start every transfer at once, with no queue.
    for (const CloudFile& file : pending) {
        DownloadManager::shared().startDownload(file);
    }
    updateDownloadAllButton();
}

void FileManagerViewController::didSelectRow(int) {}

void FileManagerViewController::configureCell(FolderCell* folderCell, FileCell* fileCell, int row) {
    if (row < 0 || row >= int(files().size())) {
        return;
    }
    const FileProtocol& entry = files()[size_t(row)];
    if (const Folder* folder = entry.folder()) {
        if (folderCell) {
            folderCell->setFolder(*folder);
        }
        return;
    }
    if (fileCell) {
        fileCell->setFile(*entry.cloudFile());
        fileCell->setDelegate(this);
        m_cells.removeIf([](const QPointer<FileCell>& cell) { return cell.isNull(); });
        if (!m_cells.contains(fileCell)) {
            m_cells.append(fileCell);
        }
    }
}

QList<FileCell*> FileManagerViewController::visibleCells() const {
    QList<FileCell*> cells;
    for (const QPointer<FileCell>& cell : m_cells) {
        if (cell && cell->file()) {
            cells.append(cell);
        }
    }
    return cells;
}

void FileManagerViewController::fileCellDidClickDownload(FileCell& cell, const CloudFile& file) {
    DownloadManager& books = DownloadManager::shared();
    switch (cell.downloadState()) {
        case FileCell::DownloadState::willDownload:
            return;
        case FileCell::DownloadState::toDownload:
            if (books.startDownload(file)) {
                cell.setDownloadState(FileCell::DownloadState::willDownload);
            }
            break;
        case FileCell::DownloadState::readyToDownload:
        case FileCell::DownloadState::downloaded:
            if (books.cancelDownload(file)) {
                cell.setDownloadState(FileCell::DownloadState::toDownload);
            }
            break;
    }
    updateDownloadAllButton();
}
