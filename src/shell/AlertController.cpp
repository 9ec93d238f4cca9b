#include "AlertController.h"

#include <QVariantMap>

void AlertTextField::setText(const QString& text) {
    if (m_text == text) {
        return;
    }
    m_text = text;
    emit textChanged();
}

void AlertTextField::setPlaceholder(const QString& placeholder) {
    if (m_placeholder == placeholder) {
        return;
    }
    m_placeholder = placeholder;
    emit placeholderChanged();
}

AlertController::AlertController(const QString& title, const QString& message, Style style,
                                 QObject* parent)
    : ViewController(parent), m_message(message), m_style(style) {
    setTitle(title);
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/AlertView.qml")));
    setModalPresentationStyle(ModalPresentationStyle::overFullScreen);
}

void AlertController::addAction(Action action) {
    m_actions.append(std::move(action));
    emit actionsChanged();
}

void AlertController::addTextField(const std::function<void(AlertTextField&)>& configure) {
    auto* field = new AlertTextField(this);
    if (configure) {
        configure(*field);
    }
    m_textFields.append(field);
    emit textFieldsChanged();
}

QList<AlertTextField*> AlertController::textFields() const {
    return m_textFields;
}

AlertTextField* AlertController::firstTextField() const {
    return m_textFields.isEmpty() ? nullptr : m_textFields.first();
}

int AlertController::defaultActionIndex() const {
    for (int i = 0; i < m_actions.size(); ++i) {
        if (m_actions[i].style == ActionStyle::defaultStyle && m_actions[i].enabled) {
            return i;
        }
    }
    return -1;
}

int AlertController::cancelActionIndex() const {
    for (int i = 0; i < m_actions.size(); ++i) {
        if (m_actions[i].style == ActionStyle::cancel) {
            return i;
        }
    }
    return -1;
}

QVariantList AlertController::actionsForView() const {
    QVariantList list;
    for (const Action& action : m_actions) {
        list.append(QVariantMap{{QStringLiteral("title"), action.title},
                                {QStringLiteral("style"), static_cast<int>(action.style)},
                                {QStringLiteral("enabled"), action.enabled}});
    }
    return list;
}

void AlertController::didSelectAction(int index) {
    if (m_chosen || index < 0 || index >= m_actions.size() || !m_actions[index].enabled) {
        return;
    }
    // One choice per alert: a second tap while it fades out does nothing.
    m_chosen = true;
    auto handler = m_actions[index].handler;
    QPointer<AlertController> self(this);
    dismissViewController(true, [self, handler] {
        if (self && handler) {
            handler(*self);
        }
    });
}

void AlertController::didPressEnter() {
    didSelectAction(defaultActionIndex());
}

void AlertController::didPressEscape() {
    const int cancel = cancelActionIndex();
    if (cancel >= 0) {
        didSelectAction(cancel);
    } else if (m_actions.size() == 1) {
        // A lone button is what Escape means too.
        didSelectAction(0);
    }
}

AlertController* AlertController::okAlert(const QString& title, const QString& message) {
    auto* alert = new AlertController(title, message, Style::alert);
    alert->addAction({QStringLiteral("OK"), ActionStyle::defaultStyle, {}, true});
    return alert;
}
