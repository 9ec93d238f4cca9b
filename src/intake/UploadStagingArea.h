#pragma once

#include <QString>

// The folder where a running upload server keeps files still arriving: one
// folder of its own below a shared root beside the music folder, so on the
// same file system, locked while the server runs. Starting one sweeps away
// what a crashed server left behind: the folders whose lock nobody holds.
class UploadStagingArea {
public:
    UploadStagingArea() = default;
    ~UploadStagingArea();
    UploadStagingArea(const UploadStagingArea&) = delete;
    UploadStagingArea& operator=(const UploadStagingArea&) = delete;

    // Makes and locks a fresh folder below `root`; false with errno on failure.
    bool open(const QString& root, int* error);
    // Removes the folder and everything left in it.
    void close();

    const QString& path() const { return m_path; }

private:
    QString m_root;
    QString m_path;
    int m_lockFd = -1;
};
