#include <QFileInfo>
#include <QUrl>

#include "CliCommand.h"
#include "PrintedMessages.h"

int runImportCommand(const QStringList& arguments) {
    if (arguments.isEmpty()) {
        return cliFail("import needs at least one FILE");
    }
    QList<QUrl> urls;
    for (const QString& argument : arguments) {
        urls.append(QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath()));
    }
    PrintedMessages messages;
    importDocuments(urls, messages);
    return messages.failed ? 1 : 0;
}
