#pragma once
// The program: parses the command line, runs the chosen command, and explains itself.

#include <span>
#include <string>
#include <vector>

#include "tools/cli/command.h"

namespace quillon::tool {

/// @param commands  Gives the table of commands; called once errors are handled.
/// @return          The exit status.
int run_program(std::span<const Command> (*commands)(), int argc, char** argv);

/// A command as the manual and completion show it.
struct CommandDescription {
  std::string name;
  std::string summary;
  std::string notes;
  std::vector<OptionDescription> options;
};

struct ProgramDescription {
  std::string version;
  std::vector<OptionDescription> options;    // before a command
  std::vector<CommandDescription> commands;  // in the order of the help, which is the last of them
};

ProgramDescription describe(std::span<const Command> commands);

}  // namespace quillon::tool
