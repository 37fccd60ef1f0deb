#include <unistd.h>

#include <cstdio>
#include <memory>

#include "formats/formats.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/figures.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/report/json_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Record;

struct StatsOptions {
  std::vector<std::string> files;
  InputOptions input;
  bool table = false;
  bool header = false;
  bool summary = false;
  bool json = false;
};

constexpr const char* kNotes = R"(
Examples:
  quillon stats circuit.qhg
  quillon stats --table --header a.qhg b.qhg > table.tsv
  quillon stats --json circuit.qhg | jq .net_size.maximum
  zcat circuit.qhg.gz | quillon stats --summary -

Columns of --table:
  cells, nets, pins
  cell degree: average, standard deviation, coefficient of variation,
    smallest value above 0, number of zeros, largest value
  net size: the same six
  cell weight: smallest, largest, total
  net weight: the same three)";

constexpr const char* kColumns =
    "cells\tnets\tpins\tdeg_avg\tdeg_std\tdeg_cov\tdeg_min\tdeg_zero\tdeg_max\t"
    "size_avg\tsize_std\tsize_cov\tsize_min\tsize_zero\tsize_max\t"
    "cellw_min\tcellw_max\tcellw_total\tnetw_min\tnetw_max\tnetw_total\n";

int report(const std::string& file, const StatsOptions& options) {
  Record record;
  load_input(record, file, options.input);
  Hypergraph& h = record.h;
  set_hypergraph_infos(&h);

  if (options.json) {
    print_stats_json(formats::shown_name(file), h, record.nfolded, measures::figures_of(h));
    return kSuccess;
  }
  if (options.table) {
    prinfo_hypergraph(&h);
    return kSuccess;
  }
  if (options.files.size() > 1) uprintf("%s:\n", printable(STDOUT_FILENO, formats::shown_name(file)).c_str());
  if (options.summary)
    uprintf("%s", HygrInfo(&h));
  else
    pr_detailinfo_hypergraph(&h);
  return kSuccess;
}

void print_failure(const std::string& file, const StatsOptions& options) {
  if (options.json) print_failure_json("stats", formats::shown_name(file));
  print_error(formats::shown_name(file) + ": skipped (see the error above)");
}

int run(const StatsOptions& options) {
  if (options.header) uprintf("%s", kColumns);
  return for_each_file(
      options.files, [&options](const std::string& file) { return report(file, options); },
      [&options](const std::string& file) { print_failure(file, options); });
}

std::function<int()> declare(Options& options) {
  auto chosen = std::make_shared<StatsOptions>();
  add_hypergraphs(options, chosen->files);
  const Option table =
      options.flag("--table", chosen->table, "Print one line of 21 tab-separated fields per file");
  options.flag("--header", chosen->header, "Print the column names of --table first").needs(table);
  const Option summary =
      options.flag("--summary", chosen->summary, "Print a summary of two lines per file").excludes(table);
  add_json(options, chosen->json).excludes(table).excludes(summary);
  add_keep_small_nets(options, chosen->input);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command stats_command() {
  return {"stats", "Report counts, degrees, net sizes and weights", kNotes, declare};
}

}  // namespace quillon::tool
