#include "Commands.h"

#include <array>

// Declarations of the commands' entry points; add a line per command.
int runDropboxCommand(const QStringList& arguments);
int runImportCommand(const QStringList& arguments);
int runInfoCommand(const QStringList& arguments);
int runLibraryCommand(const QStringList& arguments);
int runPlayCommand(const QStringList& arguments);
int runPlaylistsCommand(const QStringList& arguments);
int runRenderCommand(const QStringList& arguments);
int runScanCommand(const QStringList& arguments);
int runServeCommand(const QStringList& arguments);
int runVersionCommand(const QStringList& arguments);

std::span<const CliCommand> cliCommands() {
    static const std::array commands{
        CliCommand{"dropbox",
                   "dropbox login [--wait MINUTES] | ls [PATH] | get PATH | status | logout\n"
                   "      login waits MINUTES (10 unless told) for the browser to come back or\n"
                   "      for a pasted code; Ctrl-C, SIGTERM or Ctrl-D at a terminal cancel it.\n"
                   "      A standard input closed otherwise (a script, </dev/null) does not:\n"
                   "      the browser may still come back within the time.",
                   runDropboxCommand},
        CliCommand{"import", "import FILE...", runImportCommand},
        CliCommand{"info", "info FILE...", runInfoCommand},
        CliCommand{"library", "library [tracks | playlists | albums | artists] [--grant]",
                   runLibraryCommand, false},
        CliCommand{"play", "play --all | NAME...", runPlayCommand, false},
        CliCommand{"playlists",
                   "playlists [list | create NAME | add ID FILE | remove ID FILE | "
                   "rename ID NAME | delete ID | show ID]",
                   runPlaylistsCommand, false},
        CliCommand{"render",
                   "render [--preset NAME] [--bass dB] [--boost dB] "
                   "[--main-gains g60,g230,g910,g3000,g14000] [--bass-gains ...] "
                   "[--global-gain dB] [--start SECONDS] [--duration SECONDS] IN OUT.wav",
                   runRenderCommand, false},
        CliCommand{"scan", "scan", runScanCommand, false},
        CliCommand{"serve", "serve [--port N]", runServeCommand},
        CliCommand{"version", "version", runVersionCommand, false},
    };
    return commands;
}
