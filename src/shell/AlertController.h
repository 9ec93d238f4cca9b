#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <functional>

#include "ViewController.h"

class AlertController;

// One text field of an alert, as the view edits it.
class AlertTextField : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by AlertController")
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(QString placeholder READ placeholder WRITE setPlaceholder NOTIFY placeholderChanged)
    Q_PROPERTY(int autocapitalizationType READ autocapitalizationType CONSTANT)

public:
    // The platform's numbers: none 0, words 1, sentences 2, all characters 3.
    enum class Autocapitalization { none = 0, words = 1, sentences = 2, allCharacters = 3 };

    explicit AlertTextField(QObject* parent = nullptr) : QObject(parent) {}

    QString text() const { return m_text; }
    void setText(const QString& text);
    QString placeholder() const { return m_placeholder; }
    void setPlaceholder(const QString& placeholder);
    int autocapitalizationType() const { return static_cast<int>(m_autocapitalization); }
    void setAutocapitalization(Autocapitalization type) { m_autocapitalization = type; }

signals:
    void textChanged();
    void placeholderChanged();

private:
    QString m_text;
    QString m_placeholder;
    Autocapitalization m_autocapitalization = Autocapitalization::sentences;
};

// A titled message with buttons, and optionally text fields: an alert in the
// middle of the window, or an action sheet rising from the bottom with its
// cancel button apart. Choosing a button takes the alert away and then calls
// the button's handler, which may still read the text fields.
class AlertController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++")
    Q_PROPERTY(QString message READ message CONSTANT)
    Q_PROPERTY(int preferredStyle READ preferredStyleValue CONSTANT)
    Q_PROPERTY(QVariantList actions READ actionsForView NOTIFY actionsChanged)
    Q_PROPERTY(QList<AlertTextField*> textFields READ textFields NOTIFY textFieldsChanged)
    Q_PROPERTY(int defaultActionIndex READ defaultActionIndex NOTIFY actionsChanged)
    Q_PROPERTY(int cancelActionIndex READ cancelActionIndex NOTIFY actionsChanged)

public:
    enum class Style { actionSheet = 0, alert = 1 };
    enum class ActionStyle { defaultStyle = 0, cancel = 1, destructive = 2 };

    struct Action {
        QString title;
        ActionStyle style = ActionStyle::defaultStyle;
        std::function<void(AlertController&)> handler;
        bool enabled = true;
    };

    AlertController(const QString& title, const QString& message, Style style,
                    QObject* parent = nullptr);

    QString message() const { return m_message; }
    Style preferredStyle() const { return m_style; }
    int preferredStyleValue() const { return static_cast<int>(m_style); }

    void addAction(Action action);
    QList<Action> actions() const { return m_actions; }
    // Adds a field with sentence capitalisation; `configure` may set its text.
    void addTextField(const std::function<void(AlertTextField&)>& configure = {});
    QList<AlertTextField*> textFields() const;
    // The "first text field" the handlers read, or null.
    AlertTextField* firstTextField() const;

    // Enter: the preferred action, else the first default-style one.
    int defaultActionIndex() const;
    // Escape: the cancel action; -1 when there is none.
    int cancelActionIndex() const;

    // The view's buttons, and Enter and Escape.
    Q_INVOKABLE void didSelectAction(int index);
    Q_INVOKABLE void didPressEnter();
    Q_INVOKABLE void didPressEscape();

    // The message shown with one "OK" button of the default style and no
    // handler, as most of the application's alerts are.
    static AlertController* okAlert(const QString& title, const QString& message);

signals:
    void actionsChanged();
    void textFieldsChanged();

private:
    QVariantList actionsForView() const;

    QString m_message;
    Style m_style;
    QList<Action> m_actions;
    QList<AlertTextField*> m_textFields;
    bool m_chosen = false;
};
