#include "formats/extract.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/components.h"
#include "tools/cli/run.h"
#include "tools/commands/carried.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct ExtractOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  std::string cells;  // exactly one of the six is given
  std::string nets;
  int part = -1;
  int component = 0;
  int ball = 0;
  int sample = -1;
  std::string parts;
  int radius = 1;
  std::uint64_t seed = 0;
  bool whole_nets = false;
  MapFiles maps;
  std::vector<std::string> carry;  // FILE:OUT
};

constexpr const char* kExtractNotes = R"(
Examples:
  quillon extract circuit.qhg -o small.qhg --cells cells.txt --cell-map old.txt
  quillon extract circuit.qhg -o part3.qhg --part 3 --parts circuit.part.8 --carry circuit.names:part3.names
  quillon extract circuit.qhg -o near.qhg --ball 4711 --radius 2 --whole-nets
  quillon extract circuit.qhg -o main.qhg --component 1

Cells and nets keep their order and are numbered anew. A net keeps its pins on the cells extracted, and is left out if
it has none; --whole-nets leaves out all nets that would lose a pin. With --nets, the cells are those of the nets.

Components are numbered from 1 by decreasing number of cells, equal ones by their first cell. A ball has the cells that
a chain of at most R nets joins to CELL.

The maps have one number on each line: line i is the old number of new cell or net i. --cells and --nets read such
files, in any order, and other numbers separated by white space.)";

// The old numbers of the cells and nets to extract, in increasing order.
struct Chosen {
  std::vector<int> cells;
  std::vector<int> nets;
};

// The numbers in a file, in increasing order, each once.
std::vector<int> numbers_in(const std::string& file, int most, const std::string& item) {
  const std::string meaning = "the number of a " + item + ", from 1 to " + std::to_string(most);
  std::vector<int> numbers = formats::read_numbers(file, 1, most, meaning);
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

// The cells whose entry has a value, in increasing order.
std::vector<int> cells_with(const std::vector<int>& values, int value) {
  std::vector<int> cells;
  for (std::size_t i = 1; i < values.size(); ++i)
    if (values[i] == value) cells.push_back(static_cast<int>(i));
  return cells;
}

std::vector<int> cells_in_component(const Hypergraph& h, int component) {
  const measures::Components components = measures::components_of(h);
  if (component > components.count())
    errexit("there is no component %d, the last one is %d", component, components.count());
  return cells_with(components.component_of, component);
}

std::vector<int> random_cells(int ncells, int count, std::uint64_t seed) {
  if (count > ncells) errexit("cannot sample %d cells, there are %d", count, ncells);
  std::vector<int> cells(static_cast<std::size_t>(ncells));
  std::iota(cells.begin(), cells.end(), 1);
  uSeed(seed);
  PermuteInPlace(cells.data(), ncells);
  cells.resize(static_cast<std::size_t>(count));
  std::sort(cells.begin(), cells.end());
  return cells;
}

std::vector<int> chosen_cells(const Hypergraph& h, const ExtractOptions& options) {
  if (!options.cells.empty()) return numbers_in(options.cells, h._c, "cell");
  if (options.part >= 0)
    return cells_with(formats::read_parts(options.parts, h._c, std::numeric_limits<int>::max()),
                      options.part);
  if (options.component > 0) return cells_in_component(h, options.component);
  if (options.sample >= 0) return random_cells(h._c, options.sample, options.seed);
  if (options.ball > h._c) errexit("there is no cell %d, the last one is %d", options.ball, h._c);
  return measures::cells_around(h, options.ball, options.radius);
}

Chosen choose(const Hypergraph& h, const ExtractOptions& options) {
  Chosen chosen;
  if (!options.nets.empty()) {
    chosen.nets = numbers_in(options.nets, h._n, "net");
    chosen.cells = formats::cells_on(h, chosen.nets);
    return chosen;
  }
  chosen.cells = chosen_cells(h, options);
  chosen.nets = formats::nets_on(h, chosen.cells, options.whole_nets);
  return chosen;
}

// As arrays whose entry 0 is not used.
OldNumbers old_numbers(Chosen&& chosen) {
  chosen.cells.insert(chosen.cells.begin(), 0);
  chosen.nets.insert(chosen.nets.begin(), 0);
  return {std::move(chosen.cells), std::move(chosen.nets)};
}

void report(const Hypergraph& h, const Hypergraph& part) {
  uprintf("cells\t%d of %d\nnets\t%d of %d\npins\t%d of %d\n", part._c, h._c, part._n, h._n, part._p, h._p);
}

int run(ExtractOptions options) {
  const std::vector<Carried> carried = carried_files(options.carry);
  prepare_output(options.output, options.input, {options.out});
  refuse_outputs_beside(options.in, options.out, {options.cells, options.nets, options.parts},
                        {options.maps.cells, options.maps.nets}, carried);
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  Chosen chosen = choose(source.h, options);
  formats::Record part;
  formats::to_record(formats::extract(source.h, chosen.cells, chosen.nets), part);
  const OldNumbers numbers = old_numbers(std::move(chosen));

  const formats::Labels names = renumbered(loaded.names, numbers);
  options.output.write.weights = written_weights(source.h, loaded);
  options.output.write.labels = &names;
  formats::Outputs outputs(force());
  write_output(outputs, options.out, part.h, options.output);
  write_maps(outputs, options.maps, numbers);
  carry(outputs, carried, numbers, source.h._c, source.h._n);
  outputs.publish([&] { print_beside(options.out, [&] { report(source.h, part.h); }); });
  return kSuccess;
}

void declare_choice(Options& options, ExtractOptions& chosen) {
  Options what = options.one_of("Cells", "One of these");
  what.file("--cells", "FILE", chosen.cells, ValueKind::kFile, "The cells whose numbers are in FILE");
  const Option nets = what.file("--nets", "FILE", chosen.nets, ValueKind::kFile,
                                "The nets whose numbers are in FILE, with their cells");
  Option part = what.number("--part", "P", 0, chosen.part, "The cells of part P of --parts");
  what.number("--component", "K", 1, chosen.component,
              "The cells of connected component K, from 1, the largest");
  const Option ball = what.number("--ball", "CELL", 1, chosen.ball, "The cells around CELL");
  const Option sample = what.number("--sample", "N", 0, chosen.sample, "N random cells");
  const Option parts =
      options.file("--parts", "FILE", chosen.parts, ValueKind::kFile, "With --part, the part of each cell")
          .needs(part);
  part.needs(parts);
  options
      .number("--radius", "R", 0, chosen.radius, "With --ball, most nets between it and a cell (default 1)")
      .needs(ball);
  add_seed(options, chosen.seed, sample);
  options.flag("--whole-nets", chosen.whole_nets, "Leave out nets that would lose a pin").excludes(nets);
}

std::function<int()> declare_extract(Options& options) {
  auto chosen = std::make_shared<ExtractOptions>();
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  declare_choice(options, *chosen);
  add_maps(options, chosen->maps);
  add_carry(options, chosen->carry);
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command extract_command() {
  return {"extract", "Extract some cells or nets as a hypergraph of their own", kExtractNotes,
          declare_extract};
}

}  // namespace quillon::tool
