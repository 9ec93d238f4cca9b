#include <QCoreApplication>
#include <QGuiApplication>
#include <array>
#include <cstring>
#include <memory>

#include "AppDirectories.h"
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

// Asked for, the usage goes to standard output and is no error; after a
// mistake it goes to standard error with the mistake's exit code.
int usage(const std::span<const CliCommand> commands, bool asked) {
    QTextStream& out = asked ? cliOut() : cliErr();
    out << "usage: corvantis-cli COMMAND [ARGUMENTS]\n\ncommands:\n";
    for (const CliCommand& command : commands) {
        out << "  " << command.usage << "\n";
    }
    out << "\n`corvantis-cli COMMAND --help` shows one command's usage.\n";
    out.flush();
    return asked ? 0 : 2;
}

bool isHelp(const QString& argument) {
    return argument == QLatin1String("--help") || argument == QLatin1String("-h");
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
    AppDirectories::provideRuntimeDirectory();
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
    if (arguments.isEmpty()) {
        return usage(commands, false);
    }
    if (isHelp(arguments.first())) {
        return usage(commands, true);
    }
    const QString name = arguments.takeFirst();
    for (const CliCommand& command : commands) {
        if (name == QLatin1String(command.name)) {
            if (!arguments.isEmpty() && isHelp(arguments.first())) {
                cliOut() << "usage: corvantis-cli " << command.usage << Qt::endl;
                return 0;
            }
            return command.run(arguments);
        }
    }
    cliFail(QStringLiteral("unknown command \"%1\"").arg(name));
    return usage(commands, false);
}
