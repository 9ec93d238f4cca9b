#include "Commands.h"

#include <array>

// Declarations of the commands' entry points; add a line per command.
int runInfoCommand(const QStringList& arguments);
int runVersionCommand(const QStringList& arguments);

std::span<const CliCommand> cliCommands() {
    static const std::array commands{
        CliCommand{"info", "info FILE...", runInfoCommand},
        CliCommand{"version", "version", runVersionCommand},
    };
    return commands;
}
