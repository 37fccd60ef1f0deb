#include <algorithm>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>

#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct ReorderOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  std::optional<std::string> by_part;  // exactly one of the three
  std::optional<std::string> perm;
  bool random = false;
  std::uint64_t seed = 0;
  std::string write_perm;
  std::string write_inverse;
};

constexpr const char* kNotes = R"(
Examples:
  quillon reorder circuit.qhg -o mixed.qhg --random --seed 7 --write-perm order.txt
  quillon reorder circuit.qhg -o other.qhg --perm order.txt
  quillon reorder matrix.qhg -o blocks.qhg --by-part matrix.part

--by-part renumbers cells and nets in the same way and requires as many nets as cells. --random and --perm renumber
only the cells.

An order file has one number per line, counted from 1. If old cell 3 comes first, then old cell 1, then old cell 2:
  --write-perm writes     3 1 2   line i: the old number of new cell i; --perm reads this
  --write-inverse writes  2 3 1   line i: the new number of old cell i)";

// Orders are arrays of the module: entry 0 is not used.
using Order = std::vector<int>;

Order identity(int count) {
  Order order(static_cast<std::size_t>(count) + 1);
  std::iota(order.begin(), order.end(), 0);
  return order;
}

// Part numbers are replaced by their ranks, so that allocations depend on the number of parts.
int assign_parts(const std::string& file, Hypergraph& h) {
  const Order part_of = formats::read_parts(file, h._c, std::numeric_limits<int>::max());
  std::vector<int> parts(part_of.begin() + 1, part_of.end());
  std::sort(parts.begin(), parts.end());
  parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  for (int i = 1; i <= h._c; ++i) {
    const auto rank = std::lower_bound(parts.begin(), parts.end(), part_of[static_cast<std::size_t>(i)]);
    h._clst[i].pno = static_cast<int>(rank - parts.begin());
  }
  return static_cast<int>(parts.size());
}

Order order_by_part(const Hypergraph& h) {
  Order order = identity(h._c);
  std::stable_sort(order.begin() + 1, order.end(),
                   [&h](int a, int b) { return h._clst[a].pno < h._clst[b].pno; });
  return order;
}

Order inverse_of(const Order& order) {
  Order inverse(order.size());
  for (std::size_t i = 1; i < order.size(); ++i)
    inverse[static_cast<std::size_t>(order[i])] = static_cast<int>(i);
  return inverse;
}

Order chosen_order(const Hypergraph& h, const ReorderOptions& options) {
  if (options.by_part) return order_by_part(h);
  if (options.perm) return formats::read_permutation(*options.perm, h._c);
  Order order = identity(h._c);
  uSeed(options.seed);
  PermuteInPlace(order.data() + 1, h._c);
  return order;
}

// By new number.
std::vector<std::string> reordered_names(const std::vector<std::string>& names, const Order& order) {
  std::vector<std::string> result(names.size());
  for (std::size_t k = 1; k < names.size(); ++k) result[k] = names[static_cast<std::size_t>(order[k])];
  return result;
}

void write_outputs(const ReorderOptions& options, const Hypergraph& reordered, const Order& order) {
  formats::Outputs outputs(force());
  write_output(outputs, options.out, reordered, options.output);
  if (!options.write_perm.empty())
    outputs.write(options.write_perm,
                  [&](const char* filename) { formats::write_permutation(order, filename); });
  if (!options.write_inverse.empty())
    outputs.write(options.write_inverse,
                  [&](const char* filename) { formats::write_permutation(inverse_of(order), filename); });
  outputs.publish();
}

int run(ReorderOptions options) {
  prepare_output(options.output, options.input, {options.out});
  const std::string order_file = options.by_part.value_or(options.perm.value_or(""));
  formats::refuse_to_replace({order_file}, options.out);
  formats::refuse_to_replace({options.in}, options.write_perm);
  formats::refuse_to_replace({options.in}, options.write_inverse);
  formats::refuse_named_twice({options.out, options.write_perm, options.write_inverse});
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  options.output.write.weights = written_weights(source.h, loaded);
  Hypergraph& h = source.h;
  const int nparts = options.by_part ? assign_parts(*options.by_part, h) : 0;
  const Order order = chosen_order(h, options);

  formats::Record reordered;
  Hypergraph& nh = reordered.h;
  nh._c = h._c;
  nh._n = h._n;
  nh._p = h._p;
  malloc_hypergraph(&nh);
  if (options.by_part) {
    SymmetricPermute(&h, nparts, &nh);
  } else {
    Order work = order;
    PermuteHypergraph(&h, &nh, identity(h._n).data(), work.data());
  }
  const formats::Labels names{
      reordered_names(loaded.names.cells, order),
      options.by_part ? reordered_names(loaded.names.nets, order) : loaded.names.nets};
  options.output.write.labels = &names;
  write_outputs(options, nh, order);
  return kSuccess;
}

std::function<int()> declare(Options& options) {
  auto chosen = std::make_shared<ReorderOptions>();
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  Options how = options.one_of("Order", "One of these");
  how.file("--by-part", "PARTFILE", chosen->by_part, ValueKind::kFile,
           "Sort by the part numbers in PARTFILE, separated by any white space");
  how.file("--perm", "FILE", chosen->perm, ValueKind::kFile,
           "Read the order from FILE, in the form that --write-perm writes");
  const Option random = how.flag("--random", chosen->random, "Use a random order");
  add_seed(options, chosen->seed, random);
  options.file("--write-perm", "FILE", chosen->write_perm, ValueKind::kFile,
               "Write the old number of each new cell to FILE");
  options.file("--write-inverse", "FILE", chosen->write_inverse, ValueKind::kFile,
               "Write the new number of each old cell to FILE");
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command reorder_command() {
  return {"reorder", "Renumber cells by part, at random or in a given order", kNotes, declare};
}

}  // namespace quillon::tool
