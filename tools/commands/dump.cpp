#include <cstdio>

#include "formats/load.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

bool all_exist(const std::vector<int>& numbers, int count, const char* what, const std::string& file) {
  for (const int number : numbers) {
    if (number <= count) continue;
    std::fprintf(stderr, "%sthere is no %s %d in '%s', which has %d\n", error_prefix().c_str(), what, number,
                 file.c_str(), count);
    return false;
  }
  return true;
}

}  // namespace

int run(const DumpOptions& options) {
  Loaded loaded;
  load(loaded, options.file, options.keep_small_nets ? SmallNets::kKeep : SmallNets::kFold, false);
  Hypergraph& h = loaded.h;
  if (!all_exist(options.nets, h._n, "net", options.file) ||
      !all_exist(options.cells, h._c, "cell", options.file))
    return kUsage;

  for (const int j : options.nets) PrintPins(&h, j);
  for (const int i : options.cells) PrintNets(&h, i);
  if (options.nets.empty() && options.cells.empty()) {
    PrintHypergraph(&h);
    uprintf("\n");
  }
  return kFine;
}

}  // namespace quillon::tool
