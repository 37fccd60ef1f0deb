#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/cases.h"
#include "bench/rounds.h"
#include "hypergraph/detail/lists.h"
#include "measures/partition.h"

namespace quillon::bench {
namespace {

using measures::Partition;

// Parts in no order, the same in every run.
Partition scattered(int ncells, int nparts) {
  Partition partition{std::vector<int>(static_cast<std::size_t>(ncells) + 1, 0), nparts};
  for (std::size_t i = 1; i < partition.parts.size(); ++i) {
    const std::uint64_t mixed = (i * 0x9E3779B97F4A7C15U) ^ ((i * 0x9E3779B97F4A7C15U) >> 29U);
    partition.parts[i] =
        static_cast<int>((mixed * 0xBF58476D1CE4E5B9U >> 32U) % static_cast<unsigned>(nparts));
  }
  return partition;
}

// Reads every pin and the part of its cell once: what any evaluation has to do.
std::int64_t sum_of_parts(const Hypergraph& h, const Partition& partition) {
  std::int64_t sum = 0;
  for (int j = 1; j <= h._n; ++j)
    for (const int i : pins_of(h._nlst[j])) sum += partition.parts[static_cast<std::size_t>(i)];
  return sum;
}

std::int64_t obvious_connectivity_minus_one(const Hypergraph& h, const Partition& partition) {
  std::int64_t sum = 0;
  for (int j = 1; j <= h._n; ++j)
    sum += std::int64_t{h._nlst[j].w} * std::max(0, measures::connectivity(h._nlst[j], partition) - 1);
  return sum;
}

void run_evaluation(benchmark::State& state, Input& input, int nparts) {
  const Hypergraph& h = input.record();
  const Partition partition = scattered(h._c, nparts);
  measures::Evaluation evaluation;
  Comparison comparison;
  comparison.baseline.run = [&] { benchmark::DoNotOptimize(sum_of_parts(h, partition)); };
  comparison.measured.run = [&] { evaluation = measures::evaluate(h, partition); };
  comparison.difference = [&]() -> std::string {
    const bool is_equal =
        evaluation.cut.connectivity_minus_one == obvious_connectivity_minus_one(h, partition);
    return is_equal ? "" : "connectivity minus one";
  };
  measure(state, comparison, {h._p});
}

}  // namespace

void add_measures(Input& input, const Options& options) {
  for (const int nparts : {8, 1000, 1000000})
    add_benchmark("evaluate:" + std::to_string(nparts) + "/" + input.name(), options.nrounds,
                  [=, &input](benchmark::State& state) { run_evaluation(state, input, nparts); });
}

}  // namespace quillon::bench
