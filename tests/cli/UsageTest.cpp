#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include "TestSupport.h"

namespace {
ProcessRun cli(const QStringList& arguments,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    return runProcess(CORVANTIS_CLI, arguments, 20000, environment);
}
}  // namespace

TEST(CliUsage, EachCommandAnswersHelpWithItsOwnUsageAndMistakesStayErrors) {
    for (const QString name : {"render", "play", "scan", "info", "serve", "playlists", "library",
                               "dropbox", "import", "version"}) {
        for (const QString flag : {"--help", "-h"}) {
            const ProcessRun run = cli({name, flag});
            EXPECT_EQ(run.exitCode, 0) << name.toStdString() << " " << run.err.toStdString();
            EXPECT_TRUE(run.out.startsWith("usage: corvantis-cli " + name))
                << run.out.toStdString();
            EXPECT_FALSE(run.out.contains("COMMAND")) << "only that command's usage";
        }
    }
    const ProcessRun all = cli({"--help"});
    EXPECT_EQ(all.exitCode, 0);
    EXPECT_TRUE(all.out.contains("  render [--preset NAME]")) << all.out.toStdString();

    const ProcessRun none = cli({});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_TRUE(none.out.isEmpty());
    EXPECT_TRUE(none.err.startsWith("usage: corvantis-cli COMMAND"));

    const ProcessRun unknown = cli({"rendre"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.err.startsWith("corvantis-cli: unknown command \"rendre\""));
}

TEST(CliUsage, NoWarningReachesTheTerminalWithoutARuntimeDirectory) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_RUNTIME_DIR");
    environment.insert("TMPDIR", testHome());
    // One command without the GUI application object and one with it.
    for (const QStringList& arguments :
         {QStringList{"version"}, QStringList{"dropbox", "status"}}) {
        const ProcessRun run = cli(arguments, environment);
        EXPECT_EQ(run.exitCode, 0) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.err, QString()) << arguments.join(' ').toStdString();
    }
}
