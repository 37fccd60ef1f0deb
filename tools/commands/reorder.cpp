#include <limits>
#include <memory>
#include <optional>

#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/carried.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/operations/order.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct ReorderOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  std::optional<std::string> by_part;  // exactly one of the four
  std::optional<std::string> perm;
  std::optional<std::string> undo;
  bool random = false;
  std::string undo_nets;
  std::uint64_t seed = 0;
  std::string write_perm;
  std::string write_inverse;
  std::string write_net_perm;
  std::vector<std::string> carry;  // FILE:OUT
};

constexpr const char* kReorderNotes = R"(
Examples:
  quillon reorder circuit.qhg -o mixed.qhg --random --seed 7 --write-perm order.txt
  quillon reorder circuit.qhg -o other.qhg --perm order.txt
  quillon reorder mixed.qhg -o again.qhg --undo order.txt
  quillon reorder matrix.qhg -o blocks.qhg --by-part matrix.part --write-net-perm nets.txt --carry matrix.part:blocks.part

--random and --perm renumber only the cells. --by-part sorts the cells by part, and the nets by the lowest part that
they touch: within it those of this part alone come first. Nets without pins come last. In a symmetric hypergraph, the
nets are renumbered like the cells instead. Equal ones keep their order.

An order file has one number per line, counted from 1. If old cell 3 comes first, then old cell 1, then old cell 2:
  --write-perm writes     3 1 2   line i: the old number of new cell i; --perm and --undo read this
  --write-inverse writes  2 3 1   line i: the new number of old cell i
--write-net-perm writes the same as --write-perm for nets; --undo-nets reads it.

--carry FILE:OUT renumbers a partition file, or a file of convert --labels, in the same way.)";

OldNumbers undone(const Hypergraph& h, const ReorderOptions& options) {
  return {inverse_of(formats::read_permutation(*options.undo, h._c)),
          options.undo_nets.empty() ? identity(h._n)
                                    : inverse_of(formats::read_permutation(options.undo_nets, h._n, "net"))};
}

std::vector<int> random_order(int count, std::uint64_t seed) {
  std::vector<int> order = identity(count);
  uSeed(seed);
  PermuteInPlace(order.data() + 1, count);
  return order;
}

OldNumbers reorder(Hypergraph& h, const ReorderOptions& options, Hypergraph& reordered) {
  if (options.by_part)
    return reorder_by_part(h, formats::read_parts(*options.by_part, h._c, std::numeric_limits<int>::max()),
                           reordered);
  OldNumbers orders = options.undo ? undone(h, options)
                                   : OldNumbers{options.perm ? formats::read_permutation(*options.perm, h._c)
                                                             : random_order(h._c, options.seed),
                                                identity(h._n)};
  permute(h, orders, reordered);
  return orders;
}

// Refuses outputs that are also read, or written twice. Only OUT may replace IN.
void refuse_outputs(const ReorderOptions& options, const std::vector<Carried>& carried) {
  refuse_outputs_beside(
      options.in, options.out,
      {options.by_part.value_or(""), options.perm.value_or(""), options.undo.value_or(""), options.undo_nets},
      {options.write_perm, options.write_inverse, options.write_net_perm}, carried);
}

int run(ReorderOptions options) {
  const std::vector<Carried> carried = carried_files(options.carry);
  prepare_output(options.output, options.input, {options.out});
  refuse_outputs(options, carried);
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  formats::Record reordered;
  const OldNumbers orders = reorder(source.h, options, reordered.h);

  const formats::Labels names = renumbered(loaded.names, orders);
  options.output.write.weights = written_weights(source.h, loaded);
  options.output.write.labels = &names;
  formats::Outputs outputs(force());
  write_output(outputs, options.out, reordered.h, options.output);
  write_numbers(outputs, options.write_perm, orders.cells);
  write_numbers(outputs, options.write_inverse, inverse_of(orders.cells));
  write_numbers(outputs, options.write_net_perm, orders.nets);
  carry(outputs, carried, orders, source.h._c, source.h._n);
  outputs.publish();
  return kSuccess;
}

void declare_order(Options& options, ReorderOptions& chosen) {
  Options how = options.one_of("Order", "One of these");
  how.file("--by-part", "PARTFILE", chosen.by_part, ValueKind::kFile,
           "Sort by the part numbers in PARTFILE, separated by any white space");
  how.file("--perm", "FILE", chosen.perm, ValueKind::kFile,
           "Read the order from FILE, in the form that --write-perm writes");
  const Option random = how.flag("--random", chosen.random, "Use a random order");
  const Option undo = how.file("--undo", "FILE", chosen.undo, ValueKind::kFile,
                               "Restore the order of cells before FILE, which --write-perm wrote");
  options
      .file("--undo-nets", "FILE", chosen.undo_nets, ValueKind::kFile,
            "With --undo, restore the order of nets before FILE, which --write-net-perm wrote")
      .needs(undo);
  add_seed(options, chosen.seed, random);
}

std::function<int()> declare_reorder(Options& options) {
  auto chosen = std::make_shared<ReorderOptions>();
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  declare_order(options, *chosen);
  options.file("--write-perm", "FILE", chosen->write_perm, ValueKind::kFile,
               "Write the old number of each new cell to FILE");
  options.file("--write-inverse", "FILE", chosen->write_inverse, ValueKind::kFile,
               "Write the new number of each old cell to FILE");
  options.file("--write-net-perm", "FILE", chosen->write_net_perm, ValueKind::kFile,
               "Write the old number of each new net to FILE");
  add_carry(options, chosen->carry);
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command reorder_command() {
  return {"reorder", "Renumber cells by part, at random or in a given order", kReorderNotes, declare_reorder};
}

}  // namespace quillon::tool
