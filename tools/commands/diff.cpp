#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "formats/formats.h"
#include "formats/net_places.h"
#include "formats/part_vector.h"
#include "formats/source.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/hypergraph.h"
#include "measures/difference.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/operations/order.h"
#include "tools/report/difference_report.h"
#include "tools/report/json_report.h"

namespace quillon::tool {
namespace {

struct DiffOptions {
  std::string first;
  std::string second;
  InputOptions input;
  measures::Tolerance tolerance;
  std::string perm;
  std::string net_perm;
  int most = 100;
  bool json = false;
};

constexpr const char* kDiffNotes = R"(
Examples:
  quillon diff before.hgr after.hgr
  quillon diff circuit.hgr circuit.json --any-pin-order --any-net-order
  quillon diff circuit.qhg mixed.qhg --perm order.txt
  quillon diff a.hgr b.hgr --json | jq .nets_changed.count

Exits with 0 if the hypergraphs are the same and with 1 if they differ. Files of different formats can be compared;
weights that are all 1 are the same as none, and names of cells and nets are not compared.

The output resembles that of diff -u: - begins what A has, + what B has. The line of a net in its file follows its
number; where a file lists pins, entries or incidences, it is that of the first. Of nets with more than 24 pins only
those are printed where A and B differ; [900 pins] stands for the others.

--perm and --net-perm read orders that reorder --write-perm and --write-net-perm write: line i is the number in A of
cell i or net i of B. Cells are then printed by their numbers in B.)";

// A file and its record, in the order to compare.
struct Side {
  formats::Record record;
  const formats::Format* format = nullptr;
  std::vector<int> nets;  // number in the file by number in the record, or empty: the same

  [[nodiscard]] int number_in_file(int net) const {
    return nets.empty() ? net : nets[static_cast<std::size_t>(net)];
  }
};

std::vector<int> read_order(const std::string& file, int count, const char* item) {
  if (!file.empty()) return formats::read_permutation(file, count, item);
  return identity(count);
}

void load_side(Side& side, const std::string& file, const DiffOptions& options) {
  side.format = load_input(side.record, file, options.input).format;
}

// Renumbers the cells and nets of A as those of B.
void renumber(Side& side, const DiffOptions& options) {
  if (options.perm.empty() && options.net_perm.empty()) return;
  Hypergraph& h = side.record.h;
  side.nets = read_order(options.net_perm, h._n, "net");
  std::vector<int> cells = read_order(options.perm, h._c, "cell");
  formats::Record renumbered;
  renumbered.h._c = h._c;
  renumbered.h._n = h._n;
  renumbered.h._p = h._p;
  renumbered.h._fmt = h._fmt;
  malloc_hypergraph(&renumbered.h);
  PermuteHypergraph(&h, &renumbered.h, side.nets.data(), cells.data());
  std::swap(h, renumbered.h);
}

// Sets the lines of the nets of one file, which is read again.
void find_lines(std::vector<NetOfFile*>& shown, const Side& side, const std::string& file,
                const InputOptions& input) {
  std::sort(shown.begin(), shown.end(),
            [](const NetOfFile* a, const NetOfFile* b) { return a->net < b->net; });
  std::vector<int> nets;
  nets.reserve(shown.size());
  for (const NetOfFile* const net : shown) nets.push_back(net->net);
  const std::vector<std::size_t> lines =
      formats::lines_of_nets(file, *side.format, read_options(input), nets);
  for (std::size_t k = 0; k < shown.size(); ++k) shown[k]->line = lines[k];
}

// The nets to show of those that differ in some way, with their numbers in the files.
class ShownNets {
 public:
  ShownNets(const Side& first, const Side& second, int most)
      : first_(first),
        second_(second),
        most_(most == 0 ? std::numeric_limits<std::size_t>::max() : static_cast<std::size_t>(most)) {}

  [[nodiscard]] std::size_t limited(std::size_t count) const { return std::min(count, most_); }

  // `Pairs` have `first` and `second`.
  template <typename Pairs>
  DifferentNets of_pairs(const Pairs& pairs) const {
    DifferentNets nets{pairs.size(), {}};
    for (std::size_t k = 0; k < limited(pairs.size()); ++k)
      nets.shown.push_back({net_of(first_, pairs[k].first), net_of(second_, pairs[k].second)});
    return nets;
  }

  [[nodiscard]] DifferentNets of_first(const std::vector<int>& list) const {
    DifferentNets nets{list.size(), {}};
    for (std::size_t k = 0; k < limited(list.size()); ++k)
      nets.shown.push_back({net_of(first_, list[k]), {}});
    return nets;
  }

  [[nodiscard]] DifferentNets of_second(const std::vector<int>& list) const {
    DifferentNets nets{list.size(), {}};
    for (std::size_t k = 0; k < limited(list.size()); ++k)
      nets.shown.push_back({{}, net_of(second_, list[k])});
    return nets;
  }

 private:
  static NetOfFile net_of(const Side& side, int net) {
    const Net& found = side.record.h._nlst[net];
    return {side.number_in_file(net), 0, found.w, pins_of(found)};
  }

  const Side& first_;
  const Side& second_;
  std::size_t most_;
};

DifferenceModel model_of(const Side& first, const Side& second, const DiffOptions& options) {
  DifferenceModel model;
  model.first = &first.record.h;
  model.second = &second.record.h;
  model.tolerance = options.tolerance;
  model.difference = measures::difference(*model.first, *model.second, options.tolerance);
  const ShownNets shown(first, second, options.most);
  model.nweights_shown = shown.limited(model.difference.weights.size());
  model.changed = shown.of_pairs(model.difference.changed);
  model.moved = shown.of_pairs(model.difference.moved);
  model.only_first = shown.of_first(model.difference.only_first);
  model.only_second = shown.of_second(model.difference.only_second);

  std::vector<NetOfFile*> of_first;
  std::vector<NetOfFile*> of_second;
  for (DifferentNets* const nets : {&model.changed, &model.moved, &model.only_first, &model.only_second})
    for (NetsOfFiles& pair : nets->shown) {
      if (pair.first) of_first.push_back(&*pair.first);
      if (pair.second) of_second.push_back(&*pair.second);
    }
  find_lines(of_first, first, options.first, options.input);
  find_lines(of_second, second, options.second, options.input);
  return model;
}

int compare(const DiffOptions& options) {
  Side first;
  Side second;
  load_side(first, options.first, options);
  renumber(first, options);
  load_side(second, options.second, options);
  DifferenceModel model = model_of(first, second, options);
  const auto shown = [&](const std::string& file) {
    const std::string name = formats::shown_name(file);
    return options.json ? name : printable(STDOUT_FILENO, name);
  };
  model.first_file = shown(options.first);
  model.second_file = shown(options.second);
  options.json ? print_difference_json(model) : print_difference_text(model);
  return model.difference.is_empty() ? kSuccess : kFinding;
}

int run(const DiffOptions& options) {
  bool has_failed = true;
  const auto work = [&](const std::string&) {
    const int status = compare(options);
    has_failed = false;
    return status;
  };
  return for_each_file({options.first}, work, [&](const std::string& file) {
    if (options.json && has_failed) print_failure_json("diff", formats::shown_name(file));
  });
}

std::function<int()> declare_diff(Options& options) {
  auto chosen = std::make_shared<DiffOptions>();
  add_hypergraph(options, "A", chosen->first);
  options.file("B", "B", chosen->second, ValueKind::kHypergraphIn, "Hypergraph file to compare it with")
      .required();
  options.flag("--any-pin-order", chosen->tolerance.pin_order, "Ignore the order of the pins of a net");
  options.flag("--any-net-order", chosen->tolerance.net_order, "Ignore the order of the nets");
  options.file("--perm", "FILE", chosen->perm, ValueKind::kFile,
               "Renumber the cells of A first, in the order in FILE, which reorder --write-perm wrote");
  options.file("--net-perm", "FILE", chosen->net_perm, ValueKind::kFile,
               "Renumber the nets of A first, in the order in FILE, which reorder --write-net-perm wrote");
  options.number("--most", "N", 0, chosen->most,
                 "Show the first N differences of each kind (default 100; 0: all of them)");
  options.flag("--json", chosen->json, "Print one JSON object on one line");
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command diff_command() { return {"diff", "Compare two hypergraphs", kDiffNotes, declare_diff}; }

}  // namespace quillon::tool
