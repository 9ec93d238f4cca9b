#pragma once

#include <QString>
#include <QUrl>
#include <functional>
#include <optional>

class DialogViewController;

// One button of a dialog. The enabled flag is kept for callers that read it
// back; a tap runs the handler whatever it says.
class DialogAction {
public:
    using Handler = std::function<void(DialogViewController&)>;

    DialogAction() = delete;
    DialogAction(std::optional<QString> title, Handler handler);

    std::optional<QString> title;
    bool isEnabled = true;
    Handler handler;
};

// Told about a link tapped in the message; the dialog itself never opens it.
class DialogDelegate {
public:
    virtual ~DialogDelegate() = default;
    virtual void dialogShouldInteract(DialogViewController& dialog, const QUrl& url) = 0;
};
