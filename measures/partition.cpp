#include "measures/partition.h"

#include <algorithm>
#include <numeric>

#include "hypergraph/detail/lists.h"
#include "measures/connectivity.h"
#include "measures/groups.h"
#include "measures/wide.h"
#include "util/util.h"

namespace quillon::measures {
namespace {

std::size_t part_of(int cell, const Partition& partition) {
  return static_cast<std::size_t>(partition.parts[static_cast<std::size_t>(cell)]);
}

bool cells_have_equal_weights(const Hypergraph& h) {
  for (int i = 2; i <= h._c; ++i)
    if (h._clst[i].w != h._clst[1].w) return false;
  return true;
}

// With a million parts, reads less than half the cache lines of `sizes_by_sums`.
PartSizes sizes_by_counts(const Hypergraph& h, const Partition& partition) {
  std::vector<int> counts(static_cast<std::size_t>(partition.nparts), 0);
  for (int i = 1; i <= h._c; ++i) ++counts[part_of(i, partition)];
  const std::int64_t w = h._c == 0 ? 0 : h._clst[1].w;
  PartSizes sizes{{counts.begin(), counts.end()}, {}};
  sizes.weights.reserve(counts.size());
  for (const int count : counts) sizes.weights.push_back(w * count);
  return sizes;
}

PartSizes sizes_by_sums(const Hypergraph& h, const Partition& partition) {
  const auto count = static_cast<std::size_t>(partition.nparts);
  PartSizes sizes{std::vector<std::int64_t>(count, 0), std::vector<std::int64_t>(count, 0)};
  for (int i = 1; i <= h._c; ++i) {
    const std::size_t part = part_of(i, partition);
    ++sizes.ncells[part];
    sizes.weights[part] += h._clst[i].w;
  }
  return sizes;
}

// The same cells in groups of parts.
Partition grouped(const Partition& partition, int ngroups) {
  Partition groups{partition.parts, ngroups};
  for (std::size_t i = 1; i < groups.parts.size(); ++i)
    groups.parts[i] = group_of(groups.parts[i], partition.nparts, ngroups);
  return groups;
}

}  // namespace

void check_partition(const char* caller, const Hypergraph& h, const Partition& partition) {
  if (partition.parts.size() != static_cast<std::size_t>(h._c) + 1)
    errexit("%s: %zu entries for the parts of %d cells", caller, partition.parts.size(), h._c);
  unsigned highest = 0;  // a negative part becomes a high one
  for (int i = 1; i <= h._c; ++i)
    highest = std::max(highest, static_cast<unsigned>(partition.parts[static_cast<std::size_t>(i)]));
  if (h._c == 0 || highest < static_cast<unsigned>(partition.nparts)) return;
  for (int i = 1; i <= h._c; ++i)
    if (const int part = partition.parts[static_cast<std::size_t>(i)]; part < 0 || part >= partition.nparts)
      errexit("%s: cell %d is in part %d of %d", caller, i, part, partition.nparts);
}

PartSizes checked_part_sizes(const char* caller, const Hypergraph& h, const Partition& partition) {
  check_partition(caller, h, partition);
  return cells_have_equal_weights(h) ? sizes_by_counts(h, partition) : sizes_by_sums(h, partition);
}

PartSizes part_sizes(const Hypergraph& h, const Partition& partition) {
  return checked_part_sizes("part_sizes", h, partition);
}

CutSizes cut_sizes(const Hypergraph& h, const Partition& partition) {
  check_partition("cut_sizes", h, partition);
  CutSum sum;
  for_each_connectivity(h, partition, [&](int j, int connectivity) { sum.add(h._nlst[j].w, connectivity); });
  return sum.sizes();
}

double imbalance(const PartSizes& sizes) {
  if (sizes.weights.empty()) return 0;
  return imbalance_of(*std::max_element(sizes.weights.begin(), sizes.weights.end()),
                      std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0}),
                      std::ssize(sizes.weights));
}

double imbalance_of(std::int64_t heaviest, std::int64_t total, std::int64_t nparts) {
  if (total == 0) return 0;
  const Wide excess = Wide{heaviest} * nparts - total;
  return static_cast<double>(static_cast<long double>(excess) / static_cast<long double>(total));
}

int connectivity(const Net& net, const Partition& partition) {
  std::vector<std::size_t> parts;
  for (const int i : pins_of(net)) parts.push_back(part_of(i, partition));
  std::sort(parts.begin(), parts.end());
  return static_cast<int>(std::unique(parts.begin(), parts.end()) - parts.begin());
}

CutMatrix cut_matrix(const Hypergraph& h, const Partition& partition, int most_groups) {
  check_partition("cut_matrix", h, partition);
  CutMatrix matrix{partition.nparts, std::min(partition.nparts, most_groups), {}};
  const auto ngroups = static_cast<std::size_t>(matrix.ngroups);
  matrix.weights.assign(ngroups * ngroups, 0);

  const Partition groups_of_cells = grouped(partition, matrix.ngroups);
  TouchedParts touched(groups_of_cells);
  for (int j = 1; j <= h._n; ++j) {
    const std::vector<int>& groups = touched.of_net(h._nlst[j], j);
    for (const int a : groups)
      for (const int b : groups)
        if (a != b || groups.size() == 1)
          matrix.weights[static_cast<std::size_t>(a) * ngroups + static_cast<std::size_t>(b)] += h._nlst[j].w;
  }
  return matrix;
}

}  // namespace quillon::measures
