#pragma once

#include <span>

#include "CliCommand.h"

// Every subcommand, each implemented in its own <Name>Command.cpp.
std::span<const CliCommand> cliCommands();
