// quillon-metis: partitions with METIS, in one process.
#include <metis.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "engines/program.h"

namespace {

using namespace quillon::engines;

constexpr const char* kName = "quillon-metis";

std::vector<idx_t> partition(Graph<idx_t>& graph, std::vector<idx_t>& starts, const EngineOptions& options,
                             double imbalance) {
  idx_t settings[METIS_NOPTIONS];
  METIS_SetDefaultOptions(settings);
  settings[METIS_OPTION_SEED] = options.seed;
  settings[METIS_OPTION_NUMBERING] = 0;
  constexpr double kMost = 1e6;
  settings[METIS_OPTION_UFACTOR] =
      static_cast<idx_t>(std::max(1.0, std::min(kMost, std::round(imbalance * 1000))));
  auto nvertices = static_cast<idx_t>(graph.nvertices());
  auto nparts = static_cast<idx_t>(options.nparts);
  idx_t nconstraints = 1;
  idx_t cut = 0;
  std::vector<idx_t> parts(graph.weights.size());
  // Recursive bisection is the better one for two parts; its imbalance grows with their number.
  const auto method = nparts == 2 ? METIS_PartGraphRecursive : METIS_PartGraphKway;
  const int status =
      method(&nvertices, &nconstraints, starts.data(), graph.ends.data(), graph.weights.data(), nullptr,
             graph.edge_weights.data(), &nparts, nullptr, nullptr, settings, &cut, parts.data());
  if (status != METIS_OK) throw BadInput("METIS failed with status " + std::to_string(status));
  return parts;
}

void run(int argc, char** argv) {
  const EngineOptions options = parse_options(argc, argv);
  if (!options.fixed.empty()) throw BadUsage("METIS has no fixed cells");
  std::FILE* const out = take_standard_output();
  const OneRank alone;
  Graph<idx_t> graph = load_graph<idx_t>(options.file, options.format, options.expand, alone);
  print_graph(kName, graph, options, alone);
  std::vector<idx_t> starts(graph.starts.begin(), graph.starts.end());
  graph.starts = {};
  print_parts(out, partition_within<idx_t>(graph, options, alone, [&](double imbalance) {
                return partition(graph, starts, options, imbalance);
              }));
  finish_output(out);
  print_summary(kName, options, alone);
}

}  // namespace

int main(int argc, char** argv) {
  return run_engine(kName, [argc, argv] { run(argc, argv); });
}
