#pragma once

#include <QColor>
#include <QPointer>

#include "ContainerViewController.h"

struct Notification;

// The main content under the drawer: a bar with the menu control, the area's
// title and the tune button, the visible area, and two controls at the
// bottom that flip between the user's files and the music library.
class RootViewController : public ContainerViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Main\" bundle")
    Q_PROPERTY(QString barTitle READ barTitle NOTIFY barTitleChanged)
    Q_PROPERTY(bool isMusicPlaying READ isMusicPlaying NOTIFY musicTunesImageChanged)
    Q_PROPERTY(QString musicTunesImage READ musicTunesImage NOTIFY musicTunesImageChanged)
    Q_PROPERTY(bool mediaLibraryShown READ isMediaLibraryShown NOTIFY areaColorsChanged)
    Q_PROPERTY(QColor cloudsLabelColor READ cloudsLabelColor NOTIFY areaColorsChanged)
    Q_PROPERTY(QColor mediaLibraryLabelColor READ mediaLibraryLabelColor NOTIFY areaColorsChanged)
    Q_PROPERTY(QColor cloudsTintColor READ cloudsTintColor NOTIFY areaColorsChanged)
    Q_PROPERTY(QColor mediaLibraryTintColor READ mediaLibraryTintColor NOTIFY areaColorsChanged)

public:
    static constexpr auto kDidShowPrivacyDialogKey = "DidShowPrivacyDialogKey";

    explicit RootViewController(QObject* parent = nullptr);

    // The parent's title, copied to the bar.
    void setTitle(const QString& title) override;
    QString barTitle() const { return m_barTitle; }

    bool isMusicPlaying() const { return m_isMusicPlaying; }
    // "wave" while still, "wave_1x" (moving bars) while music plays.
    QString musicTunesImage() const { return m_musicTunesImage; }

    ViewController* cloudViewController();
    ViewController* mediaLibraryViewController();
    bool isMediaLibraryShown() const;
    QColor cloudsLabelColor() const { return m_cloudsLabelColor; }
    QColor mediaLibraryLabelColor() const { return m_mediaLibraryLabelColor; }
    QColor cloudsTintColor() const { return m_cloudsTintColor; }
    QColor mediaLibraryTintColor() const { return m_mediaLibraryTintColor; }

    void showArea(bool mediaLibrary);
    Q_INVOKABLE void didTapCloud() { showArea(false); }
    Q_INVOKABLE void didTapMediaLibrary() { showArea(true); }
    Q_INVOKABLE void didClickPlayer();
    Q_INVOKABLE void didClickMenu();
    void changePlayingTune(const Notification& notification);

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;

signals:
    void barTitleChanged();
    void musicTunesImageChanged();
    void areaColorsChanged();

private:
    QString m_barTitle;
    bool m_isMusicPlaying = false;
    QString m_musicTunesImage = QStringLiteral("wave");
    QPointer<ViewController> m_cloudViewController;
    QPointer<ViewController> m_mediaLibraryViewController;
    QColor m_cloudsLabelColor = Qt::white;
    QColor m_mediaLibraryLabelColor = Qt::white;
    QColor m_cloudsTintColor = Qt::white;
    QColor m_mediaLibraryTintColor = Qt::white;
};
