#include <unistd.h>

#include <cstdio>
#include <memory>
#include <optional>

#include "formats/formats.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/components.h"
#include "measures/figures.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/stats_text.h"
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
  bool quantiles = false;
  bool components = false;
  bool result = false;
  bool json = false;
  bool no_file = false;
};

constexpr const char* kStatsNotes = R"(
Examples:
  quillon stats circuit.qhg
  quillon stats --table --header a.qhg b.qhg > table.tsv
  quillon stats --json circuit.qhg | jq .net_size.maximum
  zcat circuit.qhg.gz | quillon stats --summary -
  quillon stats --quantiles --components circuit.qhg
  quillon stats --quantiles --json circuit.qhg | jq .net_size.quantiles.median

Columns of --table, separated by tabs:
  file: only with several files, and without --no-file
  cells, nets, pins
  cell degree: average, standard deviation, coefficient of variation,
    smallest value above 0, number of zeros, largest value
  net size: the same six
  cell weight: smallest, largest, total
  net weight: the same three

A quantile, such as 90%, is the smallest value with at least this share of all items not above it. Two cells are in the
same component if a chain of nets joins them. --result prints the words KEY=VALUE: cells, nets, pins, then for size,
degree, cell_weight and net_weight _min, _q1, _med, _q3, _90p, _99p, _max, _avg and _sd, then components,
largest_component and file.

A file that cannot be read has no line in the table; its name and the error go to standard error.)";

constexpr const char* kColumns =
    "cells\tnets\tpins\tdeg_avg\tdeg_std\tdeg_cov\tdeg_min\tdeg_zero\tdeg_max\t"
    "size_avg\tsize_std\tsize_cov\tsize_min\tsize_zero\tsize_max\t"
    "cellw_min\tcellw_max\tcellw_total\tnetw_min\tnetw_max\tnetw_total\n";

// The weights of one-pin nets are those in the cells, which `set_hypergraph_infos` clears.
FoldedNets folded_nets(const Record& record) {
  const Hypergraph& h = record.h;
  FoldedNets folded{record.nfolded, 0, h._virtualnets};
  for (int i = 1; i <= h._c; ++i) folded.one_pin_weight += h._clst[i].inw;
  return folded;
}

bool names_files(const StatsOptions& options) {
  return options.table && options.files.size() > 1 && !options.no_file;
}

// A name as a field of the table.
std::string field_of(const std::string& file) {
  std::string field;
  for (const char c : formats::shown_name(file)) {
    if (c == '\t' || c == '\n' || c == '\\')
      field.append("\\").append(1, c == '\t' ? 't' : c == '\n' ? 'n' : c);
    else
      field.append(1, c);
  }
  return printable(STDOUT_FILENO, field);
}

void print_json(const std::string& file, const Hypergraph& h, const FoldedNets& folded,
                const measures::Figures& figures, const StatsOptions& options) {
  StatsExtras extras;
  if (options.quantiles) extras.quantiles = all_quantiles(h, figures);
  std::optional<measures::Components> components;
  if (options.components) extras.components = &components.emplace(measures::components_of(h));
  print_stats_json(formats::shown_name(file), folded, figures, extras);
}

int report(const std::string& file, const StatsOptions& options) {
  Record record;
  load_input(record, file, options.input);
  Hypergraph& h = record.h;
  const FoldedNets folded = folded_nets(record);
  set_hypergraph_infos(&h);
  const measures::Figures figures = measures::figures_of(h);

  if (options.json) {
    print_json(file, h, folded, figures, options);
    return kSuccess;
  }
  if (options.table) {
    if (names_files(options)) uprintf("%s\t", field_of(file).c_str());
    print_table_row(h, figures);
    return kSuccess;
  }
  if (options.result) {
    print_result(h, figures, measures::components_of(h));
    uprintf(" file=%s\n", field_of(file).c_str());
    return kSuccess;
  }
  if (options.files.size() > 1) uprintf("%s:\n", printable(STDOUT_FILENO, formats::shown_name(file)).c_str());
  if (options.quantiles) print_quantiles(all_quantiles(h, figures));
  if (options.components) print_components(measures::components_of(h));
  if (options.summary)
    print_summary(h, figures, folded);
  else if (!options.quantiles && !options.components)
    print_details(h, figures);
  return kSuccess;
}

void print_failure(const std::string& file, const StatsOptions& options) {
  if (options.json) print_failure_json("stats", formats::shown_name(file));
  print_error(formats::shown_name(file) + ": skipped (see the error above)");
}

int run(const StatsOptions& options) {
  if (options.header) uprintf("%s%s", names_files(options) ? "file\t" : "", kColumns);
  return for_each_file(
      options.files, [&options](const std::string& file) { return report(file, options); },
      [&options](const std::string& file) { print_failure(file, options); });
}

std::function<int()> declare_stats(Options& options) {
  auto chosen = std::make_shared<StatsOptions>();
  add_hypergraphs(options, chosen->files);
  const Option table =
      options.flag("--table", chosen->table,
                   "Print one line of 21 tab-separated fields per file, after its name if there are several");
  options.flag("--header", chosen->header, "Print the column names of --table first").needs(table);
  options.flag("--no-file", chosen->no_file, "Leave the names of files out of --table").needs(table);
  const Option summary =
      options.flag("--summary", chosen->summary, "Print a summary of two lines per file").excludes(table);
  const Option quantiles =
      options
          .flag("--quantiles", chosen->quantiles,
                "Print quantiles, mean and standard deviation of sizes, degrees and weights")
          .excludes(table)
          .excludes(summary);
  const Option components = options
                                .flag("--components", chosen->components,
                                      "Print the number of connected components and the size of the largest")
                                .excludes(table)
                                .excludes(summary);
  const Option result =
      options.flag("--result", chosen->result, "Print all of this as one line RESULT KEY=VALUE ...")
          .excludes(table)
          .excludes(summary)
          .excludes(quantiles)
          .excludes(components);
  add_json(options, chosen->json).excludes(table).excludes(summary).excludes(result);
  add_keep_small_nets(options, chosen->input);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command stats_command() {
  return {"stats", "Report counts, degrees, net sizes and weights", kStatsNotes, declare_stats};
}

}  // namespace quillon::tool
