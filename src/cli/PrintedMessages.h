#pragma once

#include "CliCommand.h"
#include "DocumentImporter.h"

// Messages a screen would show as alerts, one "TITLE: MESSAGE" line each on
// standard output; scripts read them.
class PrintedMessages : public MessagePresenter {
public:
    void presentMessage(const QString& title, const QString& message) override {
        cliOut() << title << ": " << message << Qt::endl;
        if (title == QLatin1String("Error") || title.endsWith(QLatin1String("Failed"))) {
            failed = true;
        }
    }

    bool failed = false;
};
