#include "formats/expand.h"

#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "formats/formats.h"
#include "formats/notes.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/cli/progress.h"
#include "tools/cli/run.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::CliqueWeight;
using formats::GraphKind;

constexpr int kMostPinsOfClique = 1000;
constexpr int kUsualScale = 1000;

// What comes out; the graphs have the numbers of their kinds.
enum class Target { kStar, kClique, kLine, kBipartite, kDual };

struct ExpandCommand {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;  // of the dual
  std::optional<Target> target;
  bool matrix = false;
  std::optional<CliqueWeight> clique_weight;
  int scale = 0;     // 0: not given
  int max_size = 0;  // 0: not given
};

constexpr const char* kExpandNotes = R"(
Examples:
  quillon expand circuit.hgr -o circuit.graph --to clique --clique-weight size
  quillon expand circuit.hgr -o lines.mtx --to line
  quillon expand circuit.hgr -o dual.hgr --to dual

Results of --to:
  star        cells are vertices; a net of two pins is an edge, a larger one a vertex of weight 0 that is joined to its
              cells; edges have the weights of nets
  clique      cells are vertices; those on a common net are joined
  line        nets are vertices; those with common cells are joined, with their number as weight
  bipartite   cells, and after them nets, are vertices; pins are edges
  dual        a hypergraph: net i has the nets of cell i as its cells

Weights of the edges of a net of weight w and s pins, by --clique-weight:
  1           w
  uniform     2 w / (s (s - 1)): all edges of the net weigh w together
  size        w / (s - 1): the edges of each cell weigh w together
uniform and size are multiplied by --scale (default 1000) and rounded, to 1 at least, since graphs have whole weights.

Parallel edges are merged, and their weights added. A graph file is METIS, or a symmetric matrix if OUT ends in .mtx or
--matrix is given; a matrix has no weights of vertices. A pin that repeats a cell of its net counts once.

Edges are computed twice and not kept, so a graph needs little memory, but a net of s pins needs time s^2: cliques of more
than --max-size pins, and cells of more nets with line, are refused.)";

GraphKind kind_of(Target target) { return static_cast<GraphKind>(target); }

bool names_matrix(const std::string& file) {
  const formats::Format* const format = formats::format_of_file(file);
  return format != nullptr && format->name == "mtx";
}

void check_usage(const ExpandCommand& options) {
  const bool is_clique = options.target == Target::kClique;
  if (options.clique_weight && !is_clique) throw UsageError("--clique-weight is for --to clique");
  const bool has_fractions =
      is_clique && options.clique_weight.value_or(CliqueWeight::kOne) != CliqueWeight::kOne;
  if (options.scale > 0 && !has_fractions)
    throw UsageError("--scale is for --clique-weight uniform and size");
  if (options.max_size > 0 && !is_clique && options.target != Target::kLine)
    throw UsageError("--max-size is for --to clique and --to line");
  const bool is_dual = options.target == Target::kDual;
  if (options.matrix && is_dual) throw UsageError("--matrix is for graphs");
  if (options.output.to != nullptr && !is_dual) throw UsageError("--dual-format is for --to dual");
}

// What is said before a graph is made that may take long.
void announce(const Hypergraph& h, const ExpandCommand& options) {
  const formats::GraphSize size = formats::size_of_graph(h, kind_of(*options.target));
  const bool is_line = options.target == Target::kLine;
  const int most = options.max_size > 0 ? options.max_size : kMostPinsOfClique;
  const auto edges = static_cast<long long>(size.largest) * (size.largest - 1) / 2;
  if (size.largest > most)
    errexit("%s %d has %d %s, a clique of %lld edges; --max-size allows %d", is_line ? "cell" : "net",
            size.owner, size.largest, is_line ? "nets" : "pins", edges, most);
  print_note("expecting " + std::to_string(size.nvertices) + " vertices" + " and at most " +
             formats::counted(size.nedges, "edge"));
}

void remove_repeated_pins(formats::Record& record, const std::string& file, formats::Record& clean) {
  const std::int64_t nrepeated = formats::count_repeated_pins(record.h);
  if (nrepeated == 0) return std::swap(record.h, clean.h);
  uwarning("%s: %s of a cell on its net left out", formats::shown_name(file).c_str(),
           formats::counted(nrepeated, "repetition").c_str());
  formats::to_record(formats::without_repeated_pins(record.h), clean);
}

void write_graph(formats::Outputs& outputs, const Hypergraph& h, const ExpandCommand& options) {
  announce(h, options);
  const CliqueWeight clique_weight = options.clique_weight.value_or(CliqueWeight::kOne);
  const int usual = clique_weight == CliqueWeight::kOne ? 1 : kUsualScale;
  const formats::ExpandOptions expand{kind_of(*options.target), clique_weight,
                                      options.scale > 0 ? options.scale : usual};
  const bool as_matrix = options.matrix || names_matrix(options.out);
  std::atomic<std::uint64_t> done = 0;
  const auto nvertices = static_cast<std::uint64_t>(formats::size_of_graph(h, expand.kind).nvertices);
  std::optional<Progress> progress;
  if (!quiet() && can_draw_on(STDERR_FILENO))
    progress.emplace(
        "expanding", 2 * nvertices, [&done] { return done.load(); }, kShowAfter, ProgressUnit::kSteps);
  outputs.write(options.out,
                [&](const char* filename) { formats::write_expanded(h, expand, as_matrix, filename, done); });
}

int run(ExpandCommand options) {
  check_usage(options);
  const bool is_dual = options.target == Target::kDual;
  if (is_dual) prepare_output(options.output, options.input, {options.out});
  formats::Record source;
  const formats::Loaded loaded = load_input(source, options.in, options.input);
  formats::Outputs outputs(force());
  formats::Record result;
  formats::Labels names;
  if (is_dual) {
    formats::to_record(formats::dual_of(source.h), result);
    names = {loaded.names.nets, loaded.names.cells};
    options.output.write.labels = &names;
    write_output(outputs, options.out, result.h, options.output);
  } else {
    remove_repeated_pins(source, options.in, result);
    write_graph(outputs, result.h, options);
  }
  outputs.publish();
  return kSuccess;
}

std::function<int()> declare_expand(Options& options) {
  auto chosen = std::make_shared<ExpandCommand>();
  add_hypergraph(options, "IN", chosen->in);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  options
      .choice<Target>("--to",
                      {{"star", Target::kStar},
                       {"clique", Target::kClique},
                       {"line", Target::kLine},
                       {"dual", Target::kDual},
                       {"bipartite", Target::kBipartite}},
                      chosen->target, "What to make of the hypergraph")
      .required();
  options.choice<CliqueWeight>(
      "--clique-weight",
      {{"1", CliqueWeight::kOne}, {"uniform", CliqueWeight::kUniform}, {"size", CliqueWeight::kSize}},
      chosen->clique_weight, "Weights of the edges of a clique (default 1)");
  options.number("--scale", "S", 1, chosen->scale, "Factor of weights that are fractions (default 1000)");
  options.number("--max-size", "N", 1, chosen->max_size,
                 "Largest net, or cell with line, to join (default 1000)");
  options.flag("--matrix", chosen->matrix, "Write a graph as a matrix (default: if OUT ends in .mtx)");
  options.written_format("--dual-format", chosen->output.to,
                         "Format of the dual (default: by suffix, or else quillon)");
  add_force(options);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command expand_command() {
  return {"expand", "Make a graph of a hypergraph, or its dual", kExpandNotes, declare_expand};
}

}  // namespace quillon::tool
