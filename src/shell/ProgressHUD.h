#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <optional>

#include "CloudErrors.h"

class QQmlEngine;
class QJSEngine;
class ViewController;

enum class ProgressHUDType { loading = 0, error = 1, success = 2 };

// The one progress display over the window: a spinner, an error cross or a
// success check with a line of text. While it shows, it takes every touch.
// All screens share it, so a new show replaces what stood there.
class ProgressHUD : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
    Q_PROPERTY(int type READ typeValue NOTIFY changed)
    Q_PROPERTY(QString text READ textValue NOTIFY changed)
    Q_PROPERTY(bool hasText READ hasText NOTIFY changed)

public:
    using Completion = std::function<void()>;
    static constexpr int kAutoDismissMs = 2000;

    static ProgressHUD& shared();
    static ProgressHUD* create(QQmlEngine*, QJSEngine*);

    // `in` names the screen asking; the display covers the whole window.
    void show(ProgressHUDType type, ViewController* in, const std::optional<QString>& text = {},
              bool autoDismiss = true);
    // A failed cloud operation, in the words the error gives a screen.
    void showError(const CloudError& error, ViewController* in);
    // Goes away after `delay` seconds; the completion runs on the main queue
    // at that time, on its own clock, whether or not the display is still up.
    void dismiss(double delay, Completion completion = {});

    bool isVisible() const { return m_visible; }
    ProgressHUDType type() const { return m_type; }
    int typeValue() const { return static_cast<int>(m_type); }
    // nullopt: no text at all (a success with none given).
    std::optional<QString> text() const { return m_text; }
    QString textValue() const { return m_text.value_or(QString()); }
    bool hasText() const { return m_text.has_value(); }
    // The delay of the dismissal now pending, in milliseconds, if any.
    std::optional<int> pendingDismissMs() const;

signals:
    void changed();

private:
    explicit ProgressHUD(QObject* parent = nullptr);
    void hide();

    bool m_visible = false;
    ProgressHUDType m_type = ProgressHUDType::loading;
    std::optional<QString> m_text;
    QTimer m_dismissTimer;
};
