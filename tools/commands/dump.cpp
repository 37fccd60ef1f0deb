#include <memory>

#include "formats/formats.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct DumpOptions {
  std::string file;
  InputOptions input;
  std::vector<int> nets;
  std::vector<int> cells;
};

constexpr const char* kDumpNotes = R"(
Examples:
  quillon dump circuit.qhg
  quillon dump circuit.qhg --net 7 --net 9 --cell 3

Cells and nets are numbered from 1. By default, net numbers do not count nets of one pin or none, which are removed;
with --keep-small-nets they are the net numbers in the file.)";

bool all_exist(const std::vector<int>& numbers, int count, const char* what, const std::string& file) {
  for (const int number : numbers) {
    if (number <= count) continue;
    print_usage_error("there is no " + std::string(what) + " " + std::to_string(number) + " in '" +
                      formats::shown_name(file) + "', which has " + std::to_string(count));
    return false;
  }
  return true;
}

int run(const DumpOptions& options) {
  formats::Record record;
  load_input(record, options.file, options.input);
  Hypergraph& h = record.h;
  if (!all_exist(options.nets, h._n, "net", options.file) ||
      !all_exist(options.cells, h._c, "cell", options.file))
    return kUsage;

  for (const int j : options.nets) PrintPins(&h, j);
  for (const int i : options.cells) PrintNets(&h, i);
  if (options.nets.empty() && options.cells.empty()) {
    PrintHypergraph(&h);
    uprintf("\n");
  }
  return kSuccess;
}

std::function<int()> declare_dump(Options& options) {
  auto chosen = std::make_shared<DumpOptions>();
  add_hypergraph(options, "FILE", chosen->file);
  options.numbers("--net", "J", chosen->nets, "Print the pins of net J");
  options.numbers("--cell", "I", chosen->cells, "Print the nets of cell I");
  add_keep_small_nets(options, chosen->input);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command dump_command() {
  return {"dump", "Print a hypergraph, or some of its nets and cells", kDumpNotes, declare_dump};
}

}  // namespace quillon::tool
