#include "Commands.h"

#include <array>

// Declarations of the commands' entry points; add a line per command.
int runDropboxCommand(const QStringList& arguments);
int runImportCommand(const QStringList& arguments);
int runInfoCommand(const QStringList& arguments);
int runPlayCommand(const QStringList& arguments);
int runRenderCommand(const QStringList& arguments);
int runVersionCommand(const QStringList& arguments);

std::span<const CliCommand> cliCommands() {
    static const std::array commands{
        CliCommand{"dropbox", "dropbox login | ls [PATH] | get PATH | status | logout",
                   runDropboxCommand},
        CliCommand{"import", "import FILE...", runImportCommand},
        CliCommand{"info", "info FILE...", runInfoCommand},
        CliCommand{"play", "play --all | NAME...", runPlayCommand},
        CliCommand{"render",
                   "render [--main-gains g60,g230,g910,g3000,g14000] [--bass-gains ...] "
                   "[--global-gain dB] [--start SECONDS] [--duration SECONDS] IN OUT.wav",
                   runRenderCommand},
        CliCommand{"version", "version", runVersionCommand},
    };
    return commands;
}
