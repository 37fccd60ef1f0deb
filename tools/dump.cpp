#include <memory>

#include "hypergraph/hypergraph.h"
#include "tools/commands.h"
#include "tools/isolate.h"
#include "tools/load.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon dump circuit.qhg
  quillon dump circuit.qhg --net 7 --net 9 --cell 3

Cells and nets are numbered from 1. Nets are numbered as they stand in memory: in a file with nets of one pin or
none, use --keep-small-nets for the numbers of the file.)";

struct Options {
  std::string file;
  std::vector<int> nets;
  std::vector<int> cells;
  bool keep_small_nets = false;
};

bool all_exist(const std::vector<int>& numbers, int count, const char* what, const std::string& file) {
  for (const int number : numbers) {
    if (number <= count) continue;
    std::fprintf(stderr, "quillon: error: there is no %s %d in '%s', which has %d\n", what, number,
                 file.c_str(), count);
    return false;
  }
  return true;
}

int run(const Options& options) {
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

}  // namespace

void add_dump(CLI::App& app, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("dump", "Print a hypergraph, or some of its nets and cells");
  command->add_option("FILE", options->file, "Hypergraph file; - is standard input")->required();
  command->add_option("--net", options->nets, "Print the pins of net J")
      ->type_name("J")
      ->check(CLI::PositiveNumber);
  command->add_option("--cell", options->cells, "Print the nets of cell I")
      ->type_name("I")
      ->check(CLI::PositiveNumber);
  add_keep_small_nets(*command, options->keep_small_nets);
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}

}  // namespace quillon::tool
