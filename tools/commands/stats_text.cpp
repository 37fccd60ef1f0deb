#include "tools/commands/stats_text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/statistics.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

// One side of a hypergraph. Without items, smallest and largest weight are those that the module reports.
struct CountedSide {
  Statistics statistics;
  Spread lengths;
  measures::Weights weights;
};

template <typename Item>
CountedSide side_of(const Item* items, int count, int npins, const measures::Weights& weights) {
  CountedSide side{gather(items, count, npins), {}, weights};
  side.lengths = spread(side.statistics, count);
  if (count == 0) side.weights = {side.statistics.weight.min, side.statistics.weight.max, 0};
  return side;
}

CountedSide cell_side(const Hypergraph& h, const measures::Figures& figures) {
  return side_of(h._clst, h._c, h._p, figures.cells);
}

CountedSide net_side(const Hypergraph& h, const measures::Figures& figures) {
  return side_of(h._nlst, h._n, h._p, figures.nets);
}

void print_lengths_in_row(const CountedSide& side) {
  uprintf("\t%.2lf\t%.2lf\t%.2lf\t%d\t%d\t%d", side.lengths.avg, side.lengths.std, side.lengths.cov,
          side.statistics.min_nonzero_length, side.statistics.nempty, side.statistics.length.max);
}

void print_weights_in_row(const CountedSide& side) {
  uprintf("\t%d\t%d\t%lld", side.weights.min, side.weights.max, static_cast<long long>(side.weights.total));
}

void print_lengths(const char* heading, const CountedSide& side) {
  uprintf("\n%s\n\tAvg\t: %8.3lf\n\tStd\t: %8.3lf\n\tCov\t: %8.3lf", heading, side.lengths.avg,
          side.lengths.std, side.lengths.cov);
  uprintf("\n\tMin\t: %8d (Zero#: %d)\n\tMax\t: %8d", side.statistics.length.min, side.statistics.nempty,
          side.statistics.length.max);
}

double percent(std::int64_t part, std::int64_t total) {
  return static_cast<double>(part) / static_cast<double>(total) * 100.0;
}

void print_weights(const char* heading, const CountedSide& side) {
  const auto& [min, max, total] = side.weights;
  uprintf("\n%s", heading);
  uprintf("\n\tMin\t: %8d (%.3lf%% of total weight)", min, percent(min, total));
  uprintf("\n\tMax\t: %8d (%.3lf%% of total weight)", max, percent(max, total));
  uprintf("\n\tTotal\t: %8lld", static_cast<long long>(total));
}

void print_distribution(const char* heading, const char* what, const char* item,
                        const measures::Lengths& lengths) {
  uprintf("\n\n %s distribution\n===============================================", heading);
  for (const auto& [length, count] : lengths.distribution)
    uprintf("\n %s= %4d --> %6d %s(s) (%8.2lf%%)", what, length, count, item, percent(count, lengths.count));
}

std::int64_t weighted_degree(const Hypergraph& h, const Cell& cell) {
  std::int64_t degree = 0;
  for (const int j : nets_of(cell)) degree += h._nlst[j].w;
  return degree;
}

}  // namespace

std::vector<NamedQuantiles> all_quantiles(const Hypergraph& h, const measures::Figures& figures) {
  using measures::quantiles_of;
  return {{"net size", "size", "net_size", quantiles_of(figures.sizes.distribution)},
          {"cell degree", "degree", "cell_degree", quantiles_of(figures.degrees.distribution)},
          {"cell weight", "cell_weight", "cell_weight", quantiles_of(measures::cell_weight_distribution(h))},
          {"net weight", "net_weight", "net_weight", quantiles_of(measures::net_weight_distribution(h))}};
}

void print_table_row(const Hypergraph& h, const measures::Figures& figures) {
  const CountedSide cells = cell_side(h, figures);
  const CountedSide nets = net_side(h, figures);
  uprintf("%d\t%d\t%d", h._c, h._n, h._p);
  print_lengths_in_row(cells);
  print_lengths_in_row(nets);
  print_weights_in_row(cells);
  print_weights_in_row(nets);
  uprintf("\n");
}

void print_details(const Hypergraph& h, const measures::Figures& figures) {
  const CountedSide cells = cell_side(h, figures);
  const CountedSide nets = net_side(h, figures);
  uprintf(" H=(%d, %d, %d)", h._c, h._n, h._p);
  print_lengths("Cell Degree", cells);
  print_lengths("Net Size", nets);
  print_weights("Cell Weights", cells);
  print_weights("Net Weights", nets);

  print_distribution("Cell Degree", "CelDeg", "cell", figures.degrees);
  print_distribution("Net Size ", "NetSize", "net", figures.sizes);
  uprintf("\n\n");
}

void print_quantiles(const std::vector<NamedQuantiles>& all) {
  uprintf("%-11s %10s %10s %10s %10s %10s %10s %10s %13s %13s\n", "", "min", "25%", "median", "75%", "90%",
          "99%", "max", "mean", "sd");
  for (const auto& [heading, key, member, q] : all)
    uprintf("%-11s %10d %10d %10d %10d %10d %10d %10d %13.3f %13.3f\n", heading, q.min, q.lower_quartile,
            q.median, q.upper_quartile, q.percentile_90, q.percentile_99, q.max, q.mean, q.deviation);
}

void print_components(const measures::Components& components) {
  uprintf("components  %10d\nlargest     %10d cells\n", components.count(), components.largest());
}

void print_result(const Hypergraph& h, const measures::Figures& figures,
                  const measures::Components& components) {
  uprintf("RESULT cells=%d nets=%d pins=%d", h._c, h._n, h._p);
  for (const auto& [heading, key, member, q] : all_quantiles(h, figures)) {
    uprintf(" %s_min=%d %s_q1=%d %s_med=%d %s_q3=%d", key, q.min, key, q.lower_quartile, key, q.median, key,
            q.upper_quartile);
    uprintf(" %s_90p=%d %s_99p=%d %s_max=%d %s_avg=%.6f %s_sd=%.6f", key, q.percentile_90, key,
            q.percentile_99, key, q.max, key, q.mean, key, q.deviation);
  }
  uprintf(" components=%d largest_component=%d", components.count(), components.largest());
}

void print_summary(const Hypergraph& h, const measures::Figures& figures, const FoldedNets& folded) {
  std::int64_t largest = 1;
  for (int i = 1; i <= h._c; ++i) largest = std::max(largest, weighted_degree(h, h._clst[i]));
  uprintf("\nH(%d, %d, %d) MWCD=%lld MINCD=%d TOTCW=%lld\nTOTNW=%lld TOTINW=%lld VN=%lld\n", h._c, h._n, h._p,
          static_cast<long long>(largest), h._mincd, static_cast<long long>(figures.cells.total),
          static_cast<long long>(figures.nets.total + folded.one_pin_weight),
          static_cast<long long>(folded.one_pin_weight), static_cast<long long>(folded.pinless_weight));
}

}  // namespace quillon::tool
