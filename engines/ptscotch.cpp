// quillon-ptscotch: partitions with PT-Scotch, on as many processes as mpirun starts. Each of them holds a
// slice of the hypergraph. Built with SCOTCH_Num of 64 bits, it is quillon-ptscotch64.

// ptscotch.h needs the headers before it.
// clang-format off
#include <cstdint>
#include <cstdio>
#include <mpi.h>
#include <ptscotch.h>
// clang-format on

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "engines/mpi_ranks.h"
#include "engines/program.h"

namespace {

using namespace quillon::engines;

using Number = std::conditional_t<sizeof(SCOTCH_Num) == 8, std::int64_t, std::int32_t>;
static_assert(sizeof(SCOTCH_Num) == sizeof(Number));

constexpr const char* kName = sizeof(SCOTCH_Num) == 8 ? "quillon-ptscotch64" : "quillon-ptscotch";

void expect(int status, const char* what) {
  if (status != 0) throw BadInput(std::string(what) + " failed");
}

SCOTCH_Num* scotch(std::vector<Number>& numbers) {
  numbers.reserve(1);  // ranks without vertices pass arrays, too
  return reinterpret_cast<SCOTCH_Num*>(numbers.data());
}

// Scotch's settings: the same seed gives the same result.
class Context {
 public:
  explicit Context(const EngineOptions& options) {
    expect(SCOTCH_contextInit(&context_), "SCOTCH_contextInit");
    expect(SCOTCH_contextOptionSetNum(&context_, SCOTCH_OPTIONNUMDETERMINISTIC, 1),
           "SCOTCH_contextOptionSetNum");
    SCOTCH_contextRandomSeed(&context_, options.seed);
    SCOTCH_contextRandomReset(&context_);
    expect(SCOTCH_contextThreadSpawn(&context_, options.threads, nullptr), "SCOTCH_contextThreadSpawn");
  }
  ~Context() { SCOTCH_contextExit(&context_); }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  SCOTCH_Context* get() { return &context_; }

 private:
  SCOTCH_Context context_{};
};

// The parts of the vertices of this rank.
std::vector<Number> partition(Graph<Number>& graph, std::vector<Number>& starts, const EngineOptions& options,
                              double imbalance, const Ranks& ranks) {
  const auto nparts = static_cast<SCOTCH_Num>(options.nparts);
  const auto nvertices = static_cast<SCOTCH_Num>(graph.nvertices());
  const auto nedges = static_cast<SCOTCH_Num>(graph.ends.size());
  SCOTCH_Dgraph built;
  expect(SCOTCH_dgraphInit(&built, MPI_COMM_WORLD), "SCOTCH_dgraphInit");
  expect(SCOTCH_dgraphBuild(&built, 0, nvertices, nvertices, scotch(starts), nullptr, scotch(graph.weights),
                            nullptr, nedges, nedges, scotch(graph.ends), nullptr, scotch(graph.edge_weights)),
         "SCOTCH_dgraphBuild");
  Context context(options);
  SCOTCH_Dgraph bound;
  expect(SCOTCH_dgraphInit(&bound, MPI_COMM_WORLD), "SCOTCH_dgraphInit");
  expect(SCOTCH_contextBindDgraph(context.get(), &built, &bound), "SCOTCH_contextBindDgraph");

  SCOTCH_Strat strategy;
  expect(SCOTCH_stratInit(&strategy), "SCOTCH_stratInit");
  expect(SCOTCH_stratDgraphMapBuild(&strategy, SCOTCH_STRATQUALITY, ranks.count(), nparts, imbalance),
         "SCOTCH_stratDgraphMapBuild");
  std::vector<Number> parts(graph.weights.size());
  expect(SCOTCH_dgraphPart(&bound, nparts, &strategy, scotch(parts)), "SCOTCH_dgraphPart");
  SCOTCH_stratExit(&strategy);
  SCOTCH_dgraphExit(&bound);
  SCOTCH_dgraphExit(&built);
  return parts;
}

// The same with fixed cells, which only the sequential library has.
std::vector<Number> partition_with_fixed(Graph<Number>& graph, std::vector<Number>& starts,
                                         const EngineOptions& options, double imbalance) {
  const std::vector<std::int64_t> fixed = read_fixed(options.fixed, graph.ncells_in_all, options.nparts);
  std::vector<Number> parts(fixed.begin(), fixed.end());
  parts.resize(graph.weights.size(), -1);

  SCOTCH_Graph built;
  expect(SCOTCH_graphInit(&built), "SCOTCH_graphInit");
  expect(SCOTCH_graphBuild(&built, 0, static_cast<SCOTCH_Num>(graph.nvertices()), scotch(starts), nullptr,
                           scotch(graph.weights), nullptr, static_cast<SCOTCH_Num>(graph.ends.size()),
                           scotch(graph.ends), scotch(graph.edge_weights)),
         "SCOTCH_graphBuild");
  Context context(options);
  SCOTCH_Graph bound;
  expect(SCOTCH_graphInit(&bound), "SCOTCH_graphInit");
  expect(SCOTCH_contextBindGraph(context.get(), &built, &bound), "SCOTCH_contextBindGraph");

  const auto nparts = static_cast<SCOTCH_Num>(options.nparts);
  SCOTCH_Strat strategy;
  expect(SCOTCH_stratInit(&strategy), "SCOTCH_stratInit");
  expect(SCOTCH_stratGraphMapBuild(&strategy, SCOTCH_STRATQUALITY, nparts, imbalance),
         "SCOTCH_stratGraphMapBuild");
  expect(SCOTCH_graphPartFixed(&bound, nparts, &strategy, scotch(parts)), "SCOTCH_graphPartFixed");
  SCOTCH_stratExit(&strategy);
  SCOTCH_graphExit(&bound);
  SCOTCH_graphExit(&built);
  return parts;
}

// Rank 0 prints the parts rank by rank, a block at a time: it never holds those of all cells.
void print_all_parts(std::FILE* out, std::vector<Number>& parts, const Ranks& ranks) {
  constexpr std::int64_t kBlock = std::int64_t{1} << 20;
  MPI_Datatype type = sizeof(Number) == 8 ? MPI_INT64_T : MPI_INT32_T;
  const auto mine = static_cast<std::int64_t>(parts.size());
  const std::vector<std::int64_t> counts = ranks.gather(mine);
  if (ranks.rank() != 0) {
    for (std::int64_t at = 0; at < mine; at += kBlock)
      MPI_Ssend(parts.data() + at, static_cast<int>(std::min(kBlock, mine - at)), type, 0, 0, MPI_COMM_WORLD);
    return;
  }
  print_parts(out, parts);
  for (int rank = 1; rank < ranks.count(); ++rank) {
    const std::int64_t count = counts[static_cast<std::size_t>(rank)];
    for (std::int64_t at = 0; at < count; at += kBlock) {
      parts.resize(static_cast<std::size_t>(std::min(kBlock, count - at)));
      MPI_Recv(parts.data(), static_cast<int>(parts.size()), type, rank, 0, MPI_COMM_WORLD,
               MPI_STATUS_IGNORE);
      print_parts(out, parts);
    }
  }
}

void run(int argc, char** argv) {
  const MpiRanks ranks;
  const EngineOptions options = parse_options(argc, argv);
  if (!options.fixed.empty() && ranks.count() > 1)
    fail_together<BadUsage>(ranks, "PT-Scotch has fixed cells only on one rank");
  std::FILE* const out = take_standard_output();
  Graph<Number> graph = load_graph<Number>(options.file, options.format, options.expand, ranks);
  print_graph(kName, graph, options, ranks);
  std::vector<Number> starts(graph.starts.begin(), graph.starts.end());
  graph.starts = {};
  std::vector<Number> parts = partition_within<Number>(graph, options, ranks, [&](double imbalance) {
    return options.fixed.empty() ? partition(graph, starts, options, imbalance, ranks)
                                 : partition_with_fixed(graph, starts, options, imbalance);
  });
  print_all_parts(out, parts, ranks);
  finish_output(out);
  print_summary(kName, options, ranks);
}

}  // namespace

int main(int argc, char** argv) {
  // PT-Scotch sends messages from several threads of a process.
  int threads = 0;
  MPI_Init_thread(&argc, &argv, MPI_THREAD_MULTIPLE, &threads);
  const int status = run_engine(kName, [&] {
    if (threads < MPI_THREAD_MULTIPLE) throw BadInput("this MPI library does not support several threads");
    run(argc, argv);
  });
  if (status != 0) MPI_Abort(MPI_COMM_WORLD, status);  // the other ranks may be waiting for this one
  MPI_Finalize();
  return 0;
}
