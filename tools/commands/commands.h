#pragma once
// All commands of the tool, each in a source of its own.

#include <functional>
#include <span>

#include "tools/cli/command.h"

namespace quillon::tool {

Command stats_command();
Command check_command();
Command dump_command();
Command lint_command();
Command prune_command();
Command reorder_command();
Command convert_command();
Command simplify_command();
Command merge_command();
Command explain_command();
Command partition_command();
Command eval_command();
Command compare_command();
Command diff_command();
Command partition_info_command();
Command report_command();
Command generate_command();
Command extract_command();
Command expand_command();

/// In the order of the help.
std::span<const Command> all_commands();

}  // namespace quillon::tool
