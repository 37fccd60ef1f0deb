#include <cstdio>
#include <memory>

#include "hypergraph/hypergraph.h"
#include "tools/commands.h"
#include "tools/figures.h"
#include "tools/isolate.h"
#include "tools/json_report.h"
#include "tools/load.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon stats circuit.qhg
  quillon stats --table --header a.qhg b.qhg > table.tsv
  quillon stats --json circuit.qhg | jq .net_size.maximum
  zcat circuit.qhg.gz | quillon stats --summary -

Columns of --table, of which "min" counts only values above 0:
  cells nets pins, then of the cell degree: avg std cov min zero max, the same of the net size,
  then of the cell weight: min max total, the same of the net weight.)";

constexpr const char* kColumns =
    "cells\tnets\tpins\tdeg_avg\tdeg_std\tdeg_cov\tdeg_min\tdeg_zero\tdeg_max\t"
    "size_avg\tsize_std\tsize_cov\tsize_min\tsize_zero\tsize_max\t"
    "cellw_min\tcellw_max\tcellw_total\tnetw_min\tnetw_max\tnetw_total\n";

struct Options {
  std::vector<std::string> files;
  bool table = false;
  bool header = false;
  bool summary = false;
  bool json = false;
  bool keep_small_nets = false;
};

int report(const std::string& file, const Options& options) {
  Loaded loaded;
  load(loaded, file, options.keep_small_nets ? SmallNets::kKeep : SmallNets::kFold, false);
  Hypergraph& h = loaded.h;
  set_hypergraph_infos(&h);

  if (options.json) {
    print_stats_json(file, loaded, figures_of(h));
    return kFine;
  }
  if (options.table) {
    prinfo_hypergraph(&h);
  } else {
    if (options.files.size() > 1) uprintf("%s:\n", file.c_str());
    if (options.summary)
      uprintf("%s", HygrInfo(&h));
    else
      pr_detailinfo_hypergraph(&h);
  }
  return kFine;
}

int run(const Options& options) {
  if (options.header) uprintf("%s", kColumns);
  return for_each_file(
      options.files, [&options](const std::string& file) { return report(file, options); },
      [&options](const std::string& file) {
        if (options.json) print_failure_json("stats", file);
        std::fprintf(stderr, "quillon: error: %s: not reported, because of the error above\n", file.c_str());
      });
}

}  // namespace

void add_stats(CLI::App& app, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("stats", "Report counts, degrees, net sizes and weights");
  add_files(*command, options->files);
  CLI::Option* const table =
      command->add_flag("--table", options->table, "Print one line of 21 tab-separated fields a file");
  command->add_flag("--header", options->header, "Name the columns of --table first")->needs(table);
  CLI::Option* const summary =
      command->add_flag("--summary", options->summary, "Print a summary of two lines a file")
          ->excludes(table);
  add_json(*command, options->json)->excludes(table)->excludes(summary);
  add_keep_small_nets(*command, options->keep_small_nets);
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}

}  // namespace quillon::tool
