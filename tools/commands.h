#pragma once
// The subcommands of `quillon`. Each adds itself to the application and, when chosen, leaves its status: 0
// fine, 1 a finding or bad input, 2 usage.

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tools/suggest.h"

namespace quillon::tool {

inline constexpr int kFine = 0;
inline constexpr int kFinding = 1;
inline constexpr int kUsage = 2;

void add_stats(CLI::App& app, int& status);
void add_check(CLI::App& app, int& status);
void add_dump(CLI::App& app, int& status);
void add_prune(CLI::App& app, int& status);
void add_reorder(CLI::App& app, int& status);
void add_convert(CLI::App& app, int& status);
void add_partition_info(CLI::App& app, int& status);
void add_report(CLI::App& app, int& status);
void add_help(CLI::App& app, int& status);

/// What every command that reads hypergraphs offers.
inline void add_keep_small_nets(CLI::App& command, bool& keep_small_nets) {
  command.add_flag("--keep-small-nets", keep_small_nets,
                   "Keep nets with one pin or none, which otherwise are folded into the cells' and the "
                   "hypergraph's totals");
}

inline void add_files(CLI::App& command, std::vector<std::string>& files) {
  command.add_option("FILE", files, "Hypergraph files; - is standard input")->required();
}

inline CLI::Option* add_json(CLI::App& command, bool& json) {
  return command.add_flag("--json", json, "Print JSON, an object on a line for each file");
}

/// An option that takes one of a few names.
template <typename Value, typename Target>
void add_choice(CLI::App& command, const char* name,
                const std::vector<std::pair<std::string, Value>>& choices, Target& target, const char* help) {
  std::string names;
  for (const auto& [choice, value] : choices) names += (names.empty() ? "" : "|") + choice;
  const auto take = [=, &target](const std::string& text) {
    for (const auto& [choice, value] : choices) {
      if (choice != text) continue;
      target = value;
      return;
    }
    std::vector<std::string> known;
    known.reserve(choices.size());
    for (const auto& [choice, value] : choices) known.push_back(choice);
    throw CLI::ValidationError(name, "'" + text + "' is none of " + names + did_you_mean(text, known));
  };
  command.add_option_function<std::string>(name, take, help)->type_name(names);
}

}  // namespace quillon::tool
