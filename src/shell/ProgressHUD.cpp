#include "ProgressHUD.h"

#include <QQmlEngine>

#include "Localization.h"

ProgressHUD& ProgressHUD::shared() {
    static ProgressHUD* instance = new ProgressHUD;
    return *instance;
}

ProgressHUD* ProgressHUD::create(QQmlEngine*, QJSEngine*) {
    ProgressHUD* hud = &shared();
    QQmlEngine::setObjectOwnership(hud, QQmlEngine::CppOwnership);
    return hud;
}

ProgressHUD::ProgressHUD(QObject* parent) : QObject(parent) {
    m_dismissTimer.setSingleShot(true);
    connect(&m_dismissTimer, &QTimer::timeout, this, &ProgressHUD::hide);
}

void ProgressHUD::show(ProgressHUDType type, ViewController*, const std::optional<QString>& text,
                       bool autoDismiss) {
    m_type = type;
    if (!text || text->isEmpty()) {
        switch (type) {
            case ProgressHUDType::loading:
                m_text = Localization::text("message_please_wait");
                break;
            case ProgressHUDType::error:
                m_text = Localization::text("error_unknown");
                break;
            case ProgressHUDType::success:
                // No default: nothing stays nothing, empty stays empty.
                m_text = text;
                break;
        }
    } else {
        m_text = text;
    }
    // What stood there goes, and with it any dismissal it had pending.
    m_dismissTimer.stop();
    m_visible = true;
    if (type != ProgressHUDType::loading && autoDismiss) {
        m_dismissTimer.start(kAutoDismissMs);
    }
    emit changed();
}

void ProgressHUD::showError(const CloudError& error, ViewController* in) {
    show(ProgressHUDType::error, in, localizedDescription(error), true);
}

void ProgressHUD::dismiss(double delay, Completion completion) {
    const int ms = delay > 0 ? static_cast<int>(delay * 1000.0 + 0.5) : 0;
    m_dismissTimer.start(ms);
    if (completion) {
        QTimer::singleShot(ms, this, std::move(completion));
    }
}

std::optional<int> ProgressHUD::pendingDismissMs() const {
    if (!m_dismissTimer.isActive()) {
        return std::nullopt;
    }
    return m_dismissTimer.interval();
}

void ProgressHUD::hide() {
    if (!m_visible) {
        return;
    }
    m_visible = false;
    emit changed();
}
