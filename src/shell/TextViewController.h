#pragma once

#include <QUrl>

#include "ViewController.h"

// The web page screen: shows the page whose address the side menu stored
// last, in an in-app web view, under a bar with a Done control. With nothing
// stored, or something that is no address, the page stays empty.
class TextViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Text\" bundle")
    // What the web view is asked to load; empty while nothing is.
    Q_PROPERTY(QUrl requestedUrl READ requestedUrl NOTIFY loadRequested)
    // A load that hears nothing from the server for this long is given up.
    Q_PROPERTY(int timeoutMs READ timeoutMs CONSTANT)
    // The protocol's own caching rules (the platform's default policy, 0).
    Q_PROPERTY(int cachePolicy READ cachePolicy CONSTANT)

public:
    static constexpr int kTimeoutMs = 60000;
    static constexpr int kUseProtocolCachePolicy = 0;

    explicit TextViewController(QObject* parent = nullptr);

    QUrl requestedUrl() const { return m_requestedUrl; }
    int timeoutMs() const { return kTimeoutMs; }
    int cachePolicy() const { return kUseProtocolCachePolicy; }

    // Reads the stored address once, when the view is made.
    void viewDidLoad() override;
    Q_INVOKABLE void didClickDone();

signals:
    void loadRequested(const QUrl& url);

private:
    QUrl m_requestedUrl;
};
