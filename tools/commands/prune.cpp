#include <cstdint>
#include <cstdio>
#include <memory>

#include "formats/formats.h"
#include "formats/sink.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/operations/pruning.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct PruneOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  PruneChoice choice;
  std::string map;
  std::string set_aside;
};

constexpr const char* kPruneNotes = R"(
Examples:
  quillon prune circuit.qhg -o small.qhg --max-size 50
  quillon prune circuit.qhg -o small.qhg --max-size 50 --set-aside big.qhg --map origin.txt
  quillon prune circuit.qhg -o small.qhg --max-size 50 --shuffle --seed 7

Nets of 2 to N - 1 pins are kept. Nets of one pin or none are dropped.
--map writes a line for each kept net ("net NEW OLD"), each net set aside ("aside NEW OLD") and each cell
("cell NEW OLD"). Numbers are counted from 1.)";

struct Tally {
  int nnets = 0;
  std::int64_t npins = 0;
  std::int64_t weight = 0;
};

// Tally of the nets at first .. last of the order that have pins, or that have none.
Tally tally(const Hypergraph& source, const Pruned& pruned, int first, int last, bool with_pins) {
  Tally sum;
  for (int i = first; i <= last; ++i) {
    const Net& net = source._nlst[pruned.netorder[static_cast<std::size_t>(i)]];
    if ((net_size(net) > 0) != with_pins) continue;
    ++sum.nnets;
    sum.npins += net_size(net);
    sum.weight += net.w;
  }
  return sum;
}

void print_tally(const char* what, const Tally& sum) {
  uprintf("%-10s %9d nets %10lld pins   weight %lld\n", what, sum.nnets, static_cast<long long>(sum.npins),
          static_cast<long long>(sum.weight));
}

void report(const Hypergraph& source, const Pruned& pruned) {
  const int k = pruned.nkept;
  const int m = pruned.ncopied;
  print_tally("kept", tally(source, pruned, 1, k, true));
  print_tally("set aside", tally(source, pruned, k + 1, m, true));
  print_tally("one pin", tally(source, pruned, m + 1, source._n, true));
  print_tally("no pin", tally(source, pruned, m + 1, source._n, false));
}

void write_map(const Pruned& pruned, const char* filename) {
  const Hypergraph& h = *pruned.h;
  std::FILE* const file = ufopen(filename, "w", "quillon prune: map");
  for (int j = 1; j <= pruned.nkept; ++j) std::fprintf(file, "net %d %d\n", j, h._nlabel[j]);
  for (int j = pruned.nkept + 1; j <= pruned.ncopied; ++j)
    std::fprintf(file, "aside %d %d\n", j - pruned.nkept, h._nlabel[j]);
  for (int i = 1; i <= h._c; ++i) std::fprintf(file, "cell %d %d\n", i, h._clabel[i]);
  ufclose(file);
}

void write_kept(formats::Outputs& outputs, const Pruned& pruned, const PruneOptions& options,
                const formats::Labels& names) {
  OutputOptions output = options.output;
  const formats::Labels kept = names_of_copy(names, *pruned.h, 1, pruned.nkept);
  output.write.labels = &kept;
  write_output(outputs, options.out, *pruned.h, output);
}

void write_set_aside(formats::Outputs& outputs, const Pruned& pruned, const PruneOptions& options,
                     const formats::Labels& names) {
  OutputOptions output = options.output;
  const formats::Labels aside_names = names_of_copy(names, *pruned.h, pruned.nkept + 1, pruned.ncopied);
  output.write.labels = &aside_names;
  formats::Record aside;
  CopySetAsideNets(pruned.h, pruned.ncopied, &aside.h);
  write_output(outputs, options.set_aside, aside.h, output);
}

int run(PruneOptions options) {
  prepare_output(options.output, options.input, {options.out, options.set_aside});
  formats::refuse_to_replace({options.in}, options.map);
  formats::refuse_to_replace({options.in}, options.set_aside);
  formats::refuse_named_twice({options.out, options.set_aside, options.map});
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  options.output.write.weights = written_weights(source.h, loaded);
  Pruned pruned;
  prune(source.h, options.choice, pruned);

  formats::Outputs outputs(force());
  write_kept(outputs, pruned, options, loaded.names);
  if (!options.set_aside.empty()) write_set_aside(outputs, pruned, options, loaded.names);
  if (!options.map.empty())
    outputs.write(options.map, [&](const char* filename) { write_map(pruned, filename); });
  outputs.publish([&] { print_beside(options.out, [&] { report(source.h, pruned); }); });

  return kSuccess;
}

std::function<int()> declare_prune(Options& options) {
  auto chosen = std::make_shared<PruneOptions>();
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file for the kept nets")
      .required();
  options.number("--max-size", "N", 1, chosen->choice.max_size, "Set aside nets of N pins or more")
      .required();
  const Option shuffle = options.flag("--shuffle", chosen->choice.shuffle,
                                      "Put nets, cells and the pins of each net in random order");
  add_seed(options, chosen->choice.seed, shuffle);
  options.file("--map", "FILE", chosen->map, ValueKind::kFile,
               "Write the old number of each net and cell to FILE");
  options.file("--set-aside", "FILE", chosen->set_aside, ValueKind::kHypergraphOut,
               "Write the nets set aside to FILE, as a hypergraph");
  add_output(options, chosen->output);
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command prune_command() {
  return {"prune", "Drop nets of fewer than two pins and set big ones aside", kPruneNotes, declare_prune};
}

}  // namespace quillon::tool
