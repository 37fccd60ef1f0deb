#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "formats/formats.h"
#include "formats/notes.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/union.h"
#include "tools/cli/run.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct MergeOptions {
  std::vector<std::string> files;
  std::string out;
  InputOptions input;
  OutputOptions output;
  bool disjoint = false;
  bool distinct = false;
  std::string cell_map;
  std::string net_map;
};

constexpr const char* kMergeNotes = R"(
Examples:
  quillon merge a.hgr b.hgr -o both.hgr
  quillon merge a.hgr b.hgr -o both.hgr --distinct
  quillon merge left.qhg right.qhg -o side-by-side.qhg --disjoint --cell-map cells.txt

The output has the nets of all inputs, in the order of the inputs. The inputs have the same cells: of those with names,
such as hif files, cells of the same name are the same; others must have equally many cells, with equal weights. With
--disjoint, the cells of each input follow those of the inputs before it.

--cell-map and --net-map write a line for each cell or net of the output: the number of the first input that has it, and
its number there, both counted from 1.)";

struct Input {
  formats::Record record;
  formats::Loaded loaded;
};

using Inputs = std::vector<std::unique_ptr<Input>>;

struct Cells {
  std::vector<measures::Operand> operands;
  std::vector<measures::Origin> origins;  // by cell of the output; `net` is the cell
  std::vector<std::string> names;         // or empty: there are none
};

bool all_have_names(const Inputs& inputs) {
  for (const auto& input : inputs)
    if (input->loaded.names.cells.empty()) return false;
  return true;
}

// Gives each cell a new number.
void append_cells(Cells& cells, const Input& input, int k) {
  const Hypergraph& h = input.record.h;
  const std::size_t ncells = cells.origins.size() - 1 + static_cast<std::size_t>(h._c);
  if (ncells > std::numeric_limits<int>::max() - 2)
    errexit("%zu cells are too many for one hypergraph", ncells);
  cells.operands.push_back({&h, std::vector<int>(static_cast<std::size_t>(h._c) + 1, 0)});
  for (int i = 1; i <= h._c; ++i) {
    cells.operands.back().cells[static_cast<std::size_t>(i)] = static_cast<int>(cells.origins.size());
    cells.origins.push_back({k, i});
  }
}

// The names of all items, unless some input has none or two are the same.
std::vector<std::string> names_of(const Inputs& inputs, const std::vector<measures::Origin>& origins,
                                  std::vector<std::string> formats::Labels::*kind) {
  std::vector<std::string> names(1);
  std::unordered_set<std::string> seen;
  for (std::size_t k = 1; k < origins.size(); ++k) {
    const std::vector<std::string>& own =
        inputs[static_cast<std::size_t>(origins[k].operand)]->loaded.names.*kind;
    if (own.empty()) return {};
    names.push_back(own[static_cast<std::size_t>(origins[k].net)]);
    if (seen.insert(names.back()).second) continue;
    if (names.back() != std::to_string(origins[k].net))
      uwarning("names are replaced by numbers, since two inputs have %s", names.back().c_str());
    return {};
  }
  return names;
}

Cells disjoint_cells(const Inputs& inputs) {
  Cells cells{{}, {{0, 0}}, {}};
  for (std::size_t k = 0; k < inputs.size(); ++k) append_cells(cells, *inputs[k], static_cast<int>(k));
  cells.names = names_of(inputs, cells.origins, &formats::Labels::cells);
  return cells;
}

// Cells of the same number are the same.
Cells numbered_cells(const Inputs& inputs, const std::vector<std::string>& files) {
  Cells cells{{}, {{0, 0}}, {}};
  append_cells(cells, *inputs.front(), 0);
  for (std::size_t k = 1; k < inputs.size(); ++k) {
    const Hypergraph& h = inputs[k]->record.h;
    const Hypergraph& first = inputs.front()->record.h;
    if (h._c != first._c)
      errexit("%s has %s, but %s has %s; --disjoint keeps them apart", formats::shown_name(files[k]).c_str(),
              formats::counted(h._c, "cell").c_str(), formats::shown_name(files[0]).c_str(),
              formats::counted(first._c, "cell").c_str());
    cells.operands.push_back({&h, cells.operands.front().cells});
  }
  cells.names = inputs.front()->loaded.names.cells;
  return cells;
}

// Cells of the same name are the same.
Cells named_cells(const Inputs& inputs) {
  Cells cells{{}, {{0, 0}}, {""}};
  std::unordered_map<std::string, int> numbers;
  for (std::size_t k = 0; k < inputs.size(); ++k) {
    const std::vector<std::string>& names = inputs[k]->loaded.names.cells;
    cells.operands.push_back({&inputs[k]->record.h, std::vector<int>(names.size(), 0)});
    for (std::size_t i = 1; i < names.size(); ++i) {
      const auto [entry, is_new] = numbers.insert({names[i], static_cast<int>(cells.names.size())});
      cells.operands.back().cells[i] = entry->second;
      if (!is_new) continue;
      cells.names.push_back(names[i]);
      cells.origins.push_back({static_cast<int>(k), static_cast<int>(i)});
    }
  }
  return cells;
}

void write_origins(formats::Outputs& outputs, const std::string& file,
                   const std::vector<measures::Origin>& origins) {
  if (file.empty()) return;
  outputs.write(file, [&](const char* filename) {
    std::FILE* const out = ufopen(filename, "w", "quillon merge: map");
    for (std::size_t k = 1; k < origins.size(); ++k)
      std::fprintf(out, "%d %d\n", origins[k].operand + 1, origins[k].net);
    ufclose(out);
  });
}

void refuse_outputs(const MergeOptions& options) {
  for (const std::string& file : {options.cell_map, options.net_map})
    formats::refuse_to_replace(options.files, file);
  formats::refuse_named_twice({options.out, options.cell_map, options.net_map});
}

Inputs load_all(const MergeOptions& options) {
  Inputs inputs;
  for (const std::string& file : options.files) {
    inputs.push_back(std::make_unique<Input>());
    inputs.back()->loaded = load_input(inputs.back()->record, file, options.input);
  }
  return inputs;
}

Cells cells_of(const Inputs& inputs, const MergeOptions& options) {
  if (options.disjoint) return disjoint_cells(inputs);
  return all_have_names(inputs) ? named_cells(inputs) : numbered_cells(inputs, options.files);
}

// The weights of the output: those that some input has.
int merged_weights(const Inputs& inputs, const Hypergraph& h) {
  int weights = h._fmt;
  for (const auto& input : inputs) weights |= written_weights(input->record.h, input->loaded);
  return weights;
}

int run(MergeOptions options) {
  prepare_output(options.output, options.input, {options.out});
  refuse_outputs(options);
  const Inputs inputs = load_all(options);
  Cells cells = cells_of(inputs, options);
  const int ncells = static_cast<int>(cells.origins.size()) - 1;
  formats::Record joined;
  const measures::Union made = measures::unite(cells.operands, ncells, options.distinct, &joined.h);
  if (made.conflict != 0) errexit("the weights of cell %d differ between the inputs", made.conflict);

  const formats::Labels names{std::move(cells.names), names_of(inputs, made.nets, &formats::Labels::nets)};
  options.output.write.weights = merged_weights(inputs, joined.h);
  options.output.write.labels = &names;
  formats::Outputs outputs(force());
  write_output(outputs, options.out, joined.h, options.output);
  write_origins(outputs, options.cell_map, cells.origins);
  write_origins(outputs, options.net_map, made.nets);
  outputs.publish();
  return kSuccess;
}

std::function<int()> declare_merge(Options& options) {
  auto chosen = std::make_shared<MergeOptions>();
  add_hypergraphs(options, chosen->files);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  options.flag("--disjoint", chosen->disjoint, "Keep the cells of the inputs apart");
  options.flag("--distinct", chosen->distinct, "Keep one of several nets with the same weight and pins");
  options.file("--cell-map", "FILE", chosen->cell_map, ValueKind::kFile,
               "Write the origin of each cell to FILE: an input and a number");
  options.file("--net-map", "FILE", chosen->net_map, ValueKind::kFile,
               "Write the origin of each net to FILE: an input and a number");
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command merge_command() {
  return {"merge", "Join the nets of several hypergraphs", kMergeNotes, declare_merge};
}

}  // namespace quillon::tool
