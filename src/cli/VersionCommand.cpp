#include "CliCommand.h"

int runVersionCommand(const QStringList& arguments) {
    if (!arguments.isEmpty()) {
        return cliFail("version takes no arguments");
    }
    cliOut() << "corvantis-cli " << CORVANTIS_VERSION << Qt::endl;
    return 0;
}
