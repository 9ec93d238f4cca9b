#pragma once

#include <QStringList>
#include <QTextStream>

// One subcommand of corvantis-cli. `run` gets the arguments after the
// command's name and returns the process's exit code. Errors are one clear
// line on standard error and a non-zero code, never a crash.
struct CliCommand {
    const char* name;
    const char* usage;
    int (*run)(const QStringList& arguments);
    // Pictures and fonts need the GUI application object; commands that only
    // move audio or bytes start faster without it.
    bool needsGui = true;
};

QTextStream& cliOut();
QTextStream& cliErr();
// Prints "corvantis-cli: <message>" on standard error and returns 2.
int cliFail(const QString& message);
