#include "DialogAction.h"

DialogAction::DialogAction(std::optional<QString> title, Handler handler)
    : title(std::move(title)), handler(std::move(handler)) {}
