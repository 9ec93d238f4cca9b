#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>

#include "ViewController.h"

// The import screen, where music comes in by three roads: the cloud account
// (sign-in first when nobody is signed in), files picked from this computer,
// and the upload page served over the local network.
class DownloadViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Download\" bundle")
    Q_PROPERTY(QStringList audioNameFilters READ audioNameFilters CONSTANT)
    Q_PROPERTY(bool importing READ isImporting NOTIFY importingChanged)

public:
    static inline const QString wifiSegue = QStringLiteral("WiFiSegue");
    static inline const QString dropboxSegue = QStringLiteral("DropboxSegue");

    // How the sign-in page reaches the user; the system browser unless a
    // test stands in for it; an empty one puts the system browser back.
    using OpenUrl = std::function<void(const QUrl&)>;
    static void setOpenURL(OpenUrl openURL);

    explicit DownloadViewController(QObject* parent = nullptr);

    // The file dialog's filter: the audio types of the MIME table.
    static QStringList audioNameFilters();
    bool isImporting() const { return m_importing; }

    Q_INVOKABLE void didClickDropBox();
    Q_INVOKABLE void didClickFiles();
    Q_INVOKABLE void didClickWiFi();
    Q_INVOKABLE void didTapClose();
    Q_INVOKABLE void documentPickerDidPickDocumentsAtURLs(const QList<QUrl>& urls);
    Q_INVOKABLE void documentPickerWasCancelled();

    // Shows the screen the segue leads to, over this one.
    void performSegue(const QString& identifier);
    // Copies the picks into the music folder on a worker, with the progress
    // on show; the messages come in the order the copy tells them.
    void importDocuments(const QList<QUrl>& urls);
    // An "OK" alert over whatever is on top of the window.
    static void presentMessage(const QString& title, const QString& message);

signals:
    // The view opens the desktop's file dialog.
    void documentPickerRequested();
    void importingChanged();
    // Every message of an import has been presented.
    void importFinished();

private:
    void setImporting(bool importing);

    bool m_importing = false;
};
