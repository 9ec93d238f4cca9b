#include "DropboxViewController.h"

#include "DropboxManager.h"

using Intake::Folder;

DropboxViewController::DropboxViewController(QObject* parent) : FileManagerViewController(parent) {}

void DropboxViewController::loadFiles(const QString& path, ListCallback callback) {
    FileManagerViewController::loadFiles(path, callback);
    DropboxManager::shared().listFolder(path, std::nullopt, std::nullopt, std::move(callback));
}

std::optional<QString> DropboxViewController::parentPath(const QString& path) {
    QStringList pieces = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (pieces.isEmpty()) {
        return std::nullopt;
    }
    pieces.removeLast();
    return QLatin1Char('/') + pieces.join(QLatin1Char('/')) + QLatin1Char('/');
}

void DropboxViewController::navigateUp() {
    const std::optional<QString> parent = parentPath(currentPath());
    if (!parent) {
        setCurrentPath(QString());
        dismissViewController(true);
        return;
    }
    load(*parent, true);
}

void DropboxViewController::didSelectRow(int row) {
    if (row < 0 || row >= int(files().size())) {
        return;
    }
    const Folder* folder = files()[size_t(row)].folder();
    if (!folder) {
        return;
    }
    load(currentPath() + QLatin1Char('/') + folder->name + QLatin1Char('/'), false);
}
