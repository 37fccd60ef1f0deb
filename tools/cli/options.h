#pragma once
// The command line: which commands there are, and which options each has.

#include <CLI/CLI.hpp>

namespace quillon::tool {

/// Adds all commands to the application. The one that is chosen leaves its status.
void add_commands(CLI::App& app, int& status);

}  // namespace quillon::tool
