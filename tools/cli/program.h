#pragma once
// The program: parses the command line, runs the chosen command, and explains itself.

#include <span>

#include "tools/cli/command.h"

namespace quillon::tool {

/// @param commands  Gives the table of commands; called once errors are handled.
/// @return          The exit status.
int run_program(std::span<const Command> (*commands)(), int argc, char** argv);

}  // namespace quillon::tool
