#pragma once
// A command as the rest of the tool sees it.

#include <functional>
#include <string>
#include <string_view>

#include "tools/cli/options.h"
#include "tools/cli/run.h"

namespace quillon::tool {

struct Command {
  std::string_view name;
  std::string_view summary;
  std::string notes;  // examples and explanations, which follow the options in the help

  /// Declares the options. What it returns carries the command out once the options are known, and returns
  /// the exit status; it may throw.
  std::function<int()> (*declare)(Options& options);
};

}  // namespace quillon::tool
