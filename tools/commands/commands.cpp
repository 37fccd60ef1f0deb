#include "tools/commands/commands.h"

#include <vector>

namespace quillon::tool {

std::span<const Command> all_commands() {
  static const std::vector<Command> commands{
      stats_command(),     check_command(),    lint_command(),     dump_command(),  prune_command(),
      reorder_command(),   convert_command(),  simplify_command(), merge_command(), explain_command(),
      partition_command(), eval_command(),     compare_command(),  diff_command(),  partition_info_command(),
      report_command(),    generate_command(), extract_command(),  expand_command()};
  return commands;
}

}  // namespace quillon::tool
