#include <cstdio>

#include "formats/load.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/figures.h"
#include "tools/cli/isolate.h"
#include "tools/commands/commands.h"
#include "tools/report/json_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kColumns =
    "cells\tnets\tpins\tdeg_avg\tdeg_std\tdeg_cov\tdeg_min\tdeg_zero\tdeg_max\t"
    "size_avg\tsize_std\tsize_cov\tsize_min\tsize_zero\tsize_max\t"
    "cellw_min\tcellw_max\tcellw_total\tnetw_min\tnetw_max\tnetw_total\n";

int report(const std::string& file, const StatsOptions& options) {
  Loaded loaded;
  load(loaded, file, options.keep_small_nets ? SmallNets::kKeep : SmallNets::kFold, false);
  Hypergraph& h = loaded.h;
  set_hypergraph_infos(&h);

  if (options.json) {
    print_stats_json(file, loaded, measures::figures_of(h));
    return kFine;
  }
  if (options.table) {
    prinfo_hypergraph(&h);
  } else {
    if (options.files.size() > 1) uprintf("%s:\n", shown_name(file).c_str());
    if (options.summary)
      uprintf("%s", HygrInfo(&h));
    else
      pr_detailinfo_hypergraph(&h);
  }
  return kFine;
}

}  // namespace

int run(const StatsOptions& options) {
  if (options.header) uprintf("%s", kColumns);
  return for_each_file(
      options.files, [&options](const std::string& file) { return report(file, options); },
      [&options](const std::string& file) {
        if (options.json) print_failure_json("stats", file);
        std::fprintf(stderr, "quillon: error: %s: not reported, because of the error above\n",
                     shown_name(file).c_str());
      });
}

}  // namespace quillon::tool
