#include <memory>
#include <utility>

#include "formats/formats.h"
#include "formats/sink.h"
#include "hypergraph/hypergraph.h"
#include "measures/simplification.h"
#include "tools/cli/run.h"
#include "tools/commands/carried.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct SimplifyOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  measures::Simplifications wanted;
  bool all = false;
  MapFiles maps;
  std::string new_cells;
  std::string new_nets;
  std::vector<std::string> carry;
};

constexpr const char* kSimplifyNotes = R"(
Examples:
  quillon simplify circuit.hgr -o small.hgr --all --new-cells new-cells.txt
  quillon simplify circuit.hgr -o merged.hgr --merge-parallel --net-map nets.txt
  quillon simplify circuit.hgr -o small.hgr --all --carry circuit.part:small.part

The steps are carried out in the order of the options, and each sees what those before it left. None of them changes the
cut, the connectivity minus one or the sum of external degrees of a partition; the number of cut nets can fall.

Maps have one number per line, counted from 1:
  --cell-map, --net-map    line i: the old number of new cell i or net i; of parallel nets, that of the first
  --new-cells, --new-nets  line i: the new number of old cell i or net i, 0 if it was dropped; the net that a parallel
                           net became part of)";

void report(const Hypergraph& before, const Hypergraph& after, const measures::Simplification& made) {
  const auto print = [](const char* what, std::int64_t old_count, std::int64_t new_count) {
    uprintf("%-14s %10lld -> %lld\n", what, static_cast<long long>(old_count),
            static_cast<long long>(new_count));
  };
  print("cells", before._c, after._c);
  print("nets", before._n, after._n);
  print("pins", before._p, after._p);
  const auto print_count = [](const char* what, std::int64_t count) {
    uprintf("%-14s %10lld\n", what, static_cast<long long>(count));
  };
  print_count("repeated pins", made.repeated_pins);
  uprintf("%-14s %10lld   weight %lld\n", "one-pin nets", static_cast<long long>(made.one_pin_nets),
          static_cast<long long>(made.one_pin_weight));
  uprintf("%-14s %10lld   weight %lld\n", "empty nets", static_cast<long long>(made.empty_nets),
          static_cast<long long>(made.empty_weight));
  print_count("parallel nets", made.merged_nets);
  print_count("isolated cells", before._c - after._c);
}

int run(SimplifyOptions options) {
  measures::Simplifications& wanted = options.wanted;
  if (options.all) wanted = {true, true, true, true};
  if (!wanted.repeated_pins && !wanted.small_nets && !wanted.parallel_nets && !wanted.isolated_cells)
    throw UsageError("nothing to simplify: give --all or some of its parts");
  const std::vector<Carried> carried = carried_files(options.carry);
  prepare_output(options.output, options.input, {options.out});
  refuse_outputs_beside(options.in, options.out, {},
                        {options.maps.cells, options.maps.nets, options.new_cells, options.new_nets},
                        carried);
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  formats::Record simple;
  measures::Simplification made = measures::simplify(source.h, wanted, &simple.h);

  const OldNumbers numbers{std::move(made.cells), std::move(made.nets)};
  const formats::Labels names = renumbered(loaded.names, numbers);
  options.output.write.weights = written_weights(source.h, loaded) | simple.h._fmt;
  options.output.write.labels = &names;
  formats::Outputs outputs(force());
  write_output(outputs, options.out, simple.h, options.output);
  write_maps(outputs, options.maps, numbers);
  write_numbers(outputs, options.new_cells, made.new_cells);
  write_numbers(outputs, options.new_nets, made.new_nets);
  carry(outputs, carried, numbers, source.h._c, source.h._n);
  outputs.publish([&] { print_beside(options.out, [&] { report(source.h, simple.h, made); }); });
  return kSuccess;
}

std::function<int()> declare_simplify(Options& options) {
  auto chosen = std::make_shared<SimplifyOptions>();
  measures::Simplifications& wanted = chosen->wanted;
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  options.flag("--drop-duplicates", wanted.repeated_pins,
               "Name each cell of a net once, where it comes first");
  options.flag("--fold-one-pin", wanted.small_nets, "Drop nets of one pin or none, which no partition cuts");
  options.flag("--merge-parallel", wanted.parallel_nets,
               "Make one net of all with the same cells, and add their weights");
  options.flag("--drop-isolated", wanted.isolated_cells, "Drop cells on no net, or on dropped nets only");
  options.flag("--all", chosen->all, "All of these");
  add_maps(options, chosen->maps);
  options.file("--new-cells", "FILE", chosen->new_cells, ValueKind::kFile,
               "Write the new number of each old cell, or 0, to FILE");
  options.file("--new-nets", "FILE", chosen->new_nets, ValueKind::kFile,
               "Write the new number of each old net, or 0, to FILE");
  add_carry(options, chosen->carry);
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command simplify_command() {
  return {"simplify", "Merge parallel nets and drop what no partition cuts", kSimplifyNotes,
          declare_simplify};
}

}  // namespace quillon::tool
