#pragma once

#include "FileManagerViewController.h"

// The cloud browser of the one service there is: lists a path, climbs to
// the parent and goes into a folder. Paths keep the forms they are built
// in ("/Music/", "/Music//Live/", "//"), which the service is sent as they are.
class DropboxViewController : public FileManagerViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a screen of the \"Download\" bundle")

public:
    explicit DropboxViewController(QObject* parent = nullptr);

    void loadFiles(const QString& path, ListCallback callback) override;
    void navigateUp() override;
    void didSelectRow(int row) override;

    // The path one level up from `path`; nullopt when `path` holds nothing
    // but slashes, which is the top.
    static std::optional<QString> parentPath(const QString& path);
};
