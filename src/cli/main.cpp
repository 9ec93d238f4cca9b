#include <QCoreApplication>
#include <QGuiApplication>
#include <array>
#include <cstring>
#include <memory>

#include "CliCommand.h"
#include "Commands.h"
#include "Localization.h"
#include "NativeFileName.h"

QTextStream& cliOut() {
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& cliErr() {
    static QTextStream stream(stderr);
    return stream;
}

int cliFail(const QString& message) {
    cliErr() << "corvantis-cli: " << message << Qt::endl;
    return 2;
}

namespace {

int usage(const std::span<const CliCommand> commands) {
    cliErr() << "usage: corvantis-cli COMMAND [ARGUMENTS]\n\ncommands:\n";
    for (const CliCommand& command : commands) {
        cliErr() << "  " << command.usage << "\n";
    }
    cliErr().flush();
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<const CliCommand> commands = cliCommands();
    const CliCommand* chosen = nullptr;
    if (argc > 1) {
        for (const CliCommand& command : commands) {
            if (std::strcmp(argv[1], command.name) == 0) {
                chosen = &command;
            }
        }
    }
    std::unique_ptr<QCoreApplication> app;
    if (!chosen || chosen->needsGui) {
        // Images (thumbnails, cover art) need a GUI application object; no window is shown.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName("corvantis");
    Localization::install();

    // From the bytes themselves: a file name that is not UTF-8 must still name
    // its file (QCoreApplication::arguments() would lose those bytes). The
    // application object has taken out the options it knows by now.
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(NativeFileName::decode(QByteArray(argv[i])));
    }
    if (arguments.isEmpty() || arguments.first() == "--help" || arguments.first() == "-h") {
        return usage(commands);
    }
    const QString name = arguments.takeFirst();
    for (const CliCommand& command : commands) {
        if (name == QLatin1String(command.name)) {
            return command.run(arguments);
        }
    }
    cliFail(QStringLiteral("unknown command \"%1\"").arg(name));
    return usage(commands);
}
