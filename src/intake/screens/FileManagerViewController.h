#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <functional>
#include <vector>

#include "CloudErrors.h"
#include "CloudFile.h"
#include "FileCell.h"
#include "FileListModel.h"
#include "FolderCell.h"
#include "ViewController.h"

struct Notification;

// The cloud browser, whatever the service: a list of folders and files, a
// back control that climbs a level (and closes at the top), and a button
// that fetches every file of the folder still to be fetched.
class FileManagerViewController : public ViewController, public FileCellDelegate {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a screen of the \"Download\" bundle")
    Q_PROPERTY(FileListModel* model READ model CONSTANT)
    Q_PROPERTY(QString currentPath READ currentPath NOTIFY currentPathChanged)
    Q_PROPERTY(
        bool downloadAllButtonHidden READ downloadAllButtonHidden NOTIFY downloadAllButtonChanged)
    Q_PROPERTY(double downloadAllButtonHeight READ downloadAllButtonHeight WRITE
                   setDownloadAllButtonHeight NOTIFY downloadAllButtonChanged)
    Q_PROPERTY(double bottomInset READ bottomInset NOTIFY downloadAllButtonChanged)
    Q_PROPERTY(bool goingBack READ goingBack NOTIFY goingBackChanged)

public:
    using ListCallback = std::function<void(const Result<std::vector<FileProtocol>>&)>;

    explicit FileManagerViewController(QObject* parent = nullptr);
    ~FileManagerViewController() override;

    FileListModel* model() { return &m_model; }
    const std::vector<FileProtocol>& files() const { return m_model.entries(); }
    QString currentPath() const { return m_currentPath; }

    bool downloadAllButtonHidden() const { return m_downloadAllButtonHidden; }
    double downloadAllButtonHeight() const { return m_downloadAllButtonHeight; }
    void setDownloadAllButtonHeight(double height);
    // What the list keeps clear at its bottom for the download-all button.
    double bottomInset() const { return m_bottomInset; }
    // The direction of the last change of rows: true when it climbed a level.
    bool goingBack() const { return m_goingBack; }

    void viewDidLoad() override;

    // Shows the loading display and hides the download-all button; a
    // service's screen also asks for the listing and hands it to `callback`.
    virtual void loadFiles(const QString& path, ListCallback callback);
    virtual void navigateUp() {}
    void showFiles(std::vector<FileProtocol> entries, bool back);
    void updateDownloadAllButton();

    Q_INVOKABLE void didClickBack();
    Q_INVOKABLE void didClickDownloadAll();
    // A tap on a row; only a service's screen knows what to do with it.
    Q_INVOKABLE virtual void didSelectRow(int row);
    // Fills a row's cells for the entry at `row` (a folder or a file).
    Q_INVOKABLE void configureCell(FolderCell* folderCell, FileCell* fileCell, int row);
    // The file rows now on show, in no order.
    QList<FileCell*> visibleCells() const;

    void fileCellDidClickDownload(FileCell& cell, const CloudFile& file) override;

    // Wants every file of the folder still to be fetched: folders are
    // skipped, as are files fetched or on their way.
    static bool canStillBeFetched(const FileProtocol& entry);

signals:
    void currentPathChanged();
    void downloadAllButtonChanged();
    void goingBackChanged();

protected:
    // Loads `path` and, when the listing answers, moves there and shows it
    // (or the error over the rows it keeps). Holds the screen weakly.
    void load(const QString& path, bool back);
    void setCurrentPath(const QString& path);

private:
    void setDownloadAllButtonHidden(bool hidden);
    void downloadStatusDidChange(const Notification& notification);

    FileListModel m_model;
    QString m_currentPath;
    bool m_downloadAllButtonHidden = true;
    double m_downloadAllButtonHeight = 56;
    double m_bottomInset = 0;
    bool m_goingBack = false;
    QList<QPointer<FileCell>> m_cells;
};
