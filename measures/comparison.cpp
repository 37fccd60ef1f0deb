#include "measures/comparison.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "measures/assignment.h"
#include "measures/connectivity.h"
#include "measures/wide.h"

namespace quillon::measures {
namespace {

// Cells in order of their parts.
std::vector<int> cells_by_part(const Partition& partition) {
  std::vector<std::size_t> ends(static_cast<std::size_t>(partition.nparts) + 1, 0);
  const std::size_t ncells = partition.parts.size() - 1;
  for (std::size_t i = 1; i <= ncells; ++i) ++ends[static_cast<std::size_t>(partition.parts[i]) + 1];
  std::partial_sum(ends.begin(), ends.end(), ends.begin());
  std::vector<int> cells(ncells);
  for (std::size_t i = 1; i <= ncells; ++i)
    cells[ends[static_cast<std::size_t>(partition.parts[i])]++] = static_cast<int>(i);
  return cells;
}

std::vector<Overlap> overlaps_of(const Hypergraph& h, const Partition& first, const Partition& second) {
  std::vector<Overlap> overlaps;
  std::vector<std::size_t> at(static_cast<std::size_t>(second.nparts), 0);  // last overlap of the part
  for (const int i : cells_by_part(first)) {
    const int a = first.parts[static_cast<std::size_t>(i)];
    const int b = second.parts[static_cast<std::size_t>(i)];
    std::size_t& k = at[static_cast<std::size_t>(b)];
    if (k >= overlaps.size() || overlaps[k].first != a || overlaps[k].second != b) {
      k = overlaps.size();
      overlaps.push_back({a, b, 0, 0});
    }
    ++overlaps[k].ncells;
    overlaps[k].weight += h._clst[i].w;
  }
  std::sort(overlaps.begin(), overlaps.end(), [](const Overlap& p, const Overlap& q) {
    return std::pair(p.first, p.second) < std::pair(q.first, q.second);
  });
  return overlaps;
}

// Names of the second partition's parts: those of their partners, and unused numbers for the others.
std::vector<int> names_of(const std::vector<int>& partners, int nparts) {
  std::vector<int> names(static_cast<std::size_t>(nparts), -1);
  std::vector<int> unused;
  for (std::size_t a = 0; a < partners.size(); ++a)
    if (partners[a] >= 0)
      names[static_cast<std::size_t>(partners[a])] = static_cast<int>(a);
    else
      unused.push_back(static_cast<int>(a));
  auto next = unused.begin();
  auto above = static_cast<int>(partners.size());
  for (int& name : names)
    if (name < 0) name = next != unused.end() ? *next++ : above++;
  return names;
}

std::vector<int> best_partners(const std::vector<Overlap>& overlaps, int nfirst, int nsecond) {
  std::vector<AssignmentEntry> entries;
  entries.reserve(overlaps.size());
  for (const Overlap& overlap : overlaps) entries.push_back({overlap.first, overlap.second, overlap.ncells});
  return best_assignment(nfirst, nsecond, entries);
}

std::vector<std::int64_t> sizes_of(const Partition& partition) {
  std::vector<std::int64_t> sizes(static_cast<std::size_t>(partition.nparts), 0);
  for (std::size_t i = 1; i < partition.parts.size(); ++i)
    ++sizes[static_cast<std::size_t>(partition.parts[i])];
  return sizes;
}

long double entropy_of(const std::vector<std::int64_t>& sizes, long double ncells) {
  long double entropy = 0;
  for (const std::int64_t size : sizes)
    if (size > 0)
      entropy -= static_cast<long double>(size) / ncells * std::log(static_cast<long double>(size) / ncells);
  return entropy;
}

using Sizes = std::vector<std::int64_t>;

// 2 I / (H1 + H2) with the mutual information I and both entropies.
double mutual_information(const std::vector<Overlap>& overlaps, const Sizes& first, const Sizes& second) {
  const auto ncells = static_cast<long double>(std::accumulate(first.begin(), first.end(), std::int64_t{0}));
  const long double both = entropy_of(first, ncells) + entropy_of(second, ncells);
  if (!(both > 0)) return 1;
  long double information = 0;
  for (const Overlap& overlap : overlaps) {
    const auto n = static_cast<long double>(overlap.ncells);
    const auto a = static_cast<long double>(first[static_cast<std::size_t>(overlap.first)]);
    const auto b = static_cast<long double>(second[static_cast<std::size_t>(overlap.second)]);
    information += n / ncells * std::log(n * ncells / (a * b));
  }
  return static_cast<double>(std::clamp(2 * information / both, 0.0L, 1.0L));
}

Wide pairs_of(std::int64_t count) { return Wide{count} * (count - 1) / 2; }

Wide pairs_of(const Sizes& sizes) {
  Wide pairs = 0;
  for (const std::int64_t size : sizes) pairs += pairs_of(size);
  return pairs;
}

// (S - A B / T) / ((A + B) / 2 - A B / T) in pairs of cells: together in both, in the first, in the second,
// all.
double rand_index(const std::vector<Overlap>& overlaps, const Sizes& first, const Sizes& second) {
  Wide together = 0;
  for (const Overlap& overlap : overlaps) together += pairs_of(overlap.ncells);
  const Wide a = pairs_of(first);
  const Wide b = pairs_of(second);
  const Wide all = pairs_of(std::accumulate(first.begin(), first.end(), std::int64_t{0}));
  const Wide numerator = 2 * (together * all - a * b);
  const Wide denominator = (a + b) * all - 2 * a * b;
  if (denominator == 0) return 1;
  return static_cast<double>(static_cast<long double>(numerator) / static_cast<long double>(denominator));
}

}  // namespace

Comparison compare_partitions(const Hypergraph& h, const Partition& first, const Partition& second) {
  check_partition("compare_partitions", h, first);
  check_partition("compare_partitions", h, second);
  Comparison comparison;
  comparison.overlaps = overlaps_of(h, first, second);
  comparison.names = names_of(best_partners(comparison.overlaps, first.nparts, second.nparts), second.nparts);
  comparison.nparts = std::max(first.nparts, second.nparts);
  for (const Overlap& overlap : comparison.overlaps) {
    if (comparison.names[static_cast<std::size_t>(overlap.second)] == overlap.first) continue;
    comparison.ncells_moved += overlap.ncells;
    comparison.weight_moved += overlap.weight;
  }
  const Sizes first_sizes = sizes_of(first);
  const Sizes second_sizes = sizes_of(second);
  comparison.normalised_mutual_information =
      mutual_information(comparison.overlaps, first_sizes, second_sizes);
  comparison.adjusted_rand_index = rand_index(comparison.overlaps, first_sizes, second_sizes);
  return comparison;
}

Partition renamed(const Partition& second, const Comparison& comparison) {
  Partition result{second.parts, comparison.nparts};
  for (std::size_t i = 1; i < result.parts.size(); ++i)
    result.parts[i] = comparison.names[static_cast<std::size_t>(result.parts[i])];
  return result;
}

CutChanges cut_changes(const Hypergraph& h, const Partition& first, const Partition& second) {
  check_partition("cut_changes", h, first);
  check_partition("cut_changes", h, second);
  std::vector<bool> was_cut(static_cast<std::size_t>(h._n) + 1, false);
  for_each_connectivity(h, first, [&was_cut](int j, int connectivity) {
    was_cut[static_cast<std::size_t>(j)] = connectivity > 1;
  });
  CutChanges changes;
  for_each_connectivity(h, second, [&](int j, int connectivity) {
    const bool is_cut = connectivity > 1;
    if (is_cut == was_cut[static_cast<std::size_t>(j)]) return;
    (is_cut ? changes.newly_cut : changes.no_longer_cut).push_back(j);
  });
  return changes;
}

}  // namespace quillon::measures
