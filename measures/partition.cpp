#include "measures/partition.h"

#include <algorithm>
#include <numeric>

#include "hypergraph/detail/lists.h"
#include "measures/groups.h"
#include "util/util.h"

namespace quillon::measures {
namespace {

std::size_t part_of(int cell, const Partition& partition) {
  return static_cast<std::size_t>(partition.parts[static_cast<std::size_t>(cell)]);
}

void check(const char* caller, const Hypergraph& h, const Partition& partition) {
  if (partition.parts.size() != static_cast<std::size_t>(h._c) + 1)
    errexit("%s: %zu entries for the parts of %d cells", caller, partition.parts.size(), h._c);
  for (int i = 1; i <= h._c; ++i)
    if (const int part = partition.parts[static_cast<std::size_t>(i)]; part < 0 || part >= partition.nparts)
      errexit("%s: cell %d is in part %d of %d", caller, i, part, partition.nparts);
}

/// Lists the groups of parts that a net touches, for one net after another.
class TouchedGroups {
 public:
  TouchedGroups(const Partition& partition, int ngroups)
      : partition_(partition),
        group_of_part_(static_cast<std::size_t>(partition.nparts)),
        last_net_(static_cast<std::size_t>(ngroups), 0) {
    for (int part = 0; part < partition.nparts; ++part)
      group_of_part_[static_cast<std::size_t>(part)] = group_of(part, partition.nparts, ngroups);
  }

  /// @param j  Net, at most once each.
  /// @return   Groups in order of first touch, valid until the next call.
  const std::vector<std::size_t>& of_net(const Hypergraph& h, int j) {
    groups_.clear();
    for (const int i : pins_of(h._nlst[j])) {
      const auto group = static_cast<std::size_t>(group_of_part_[part_of(i, partition_)]);
      if (last_net_[group] != j) groups_.push_back(group);
      last_net_[group] = j;
    }
    return groups_;
  }

 private:
  const Partition& partition_;
  std::vector<int> group_of_part_;
  std::vector<int> last_net_;  // by group: the last net that touched it; nets count from 1
  std::vector<std::size_t> groups_;
};

}  // namespace

PartSizes part_sizes(const Hypergraph& h, const Partition& partition) {
  check("part_sizes", h, partition);
  const auto count = static_cast<std::size_t>(partition.nparts);
  PartSizes sizes{std::vector<std::int64_t>(count, 0), std::vector<std::int64_t>(count, 0)};
  for (int i = 1; i <= h._c; ++i) {
    const std::size_t part = part_of(i, partition);
    ++sizes.ncells[part];
    sizes.weights[part] += h._clst[i].w;
  }
  return sizes;
}

CutSizes cut_sizes(const Hypergraph& h, const Partition& partition) {
  check("cut_sizes", h, partition);
  TouchedGroups touched(partition, partition.nparts);
  CutSizes sizes;
  for (int j = 1; j <= h._n; ++j) {
    const std::int64_t nparts = std::ssize(touched.of_net(h, j));
    if (nparts < 2) continue;
    const std::int64_t w = h._nlst[j].w;
    ++sizes.ncut_nets;
    sizes.cut += w;
    sizes.connectivity_minus_one += w * (nparts - 1);
    sizes.sum_of_external_degrees += w * nparts;
  }
  return sizes;
}

double imbalance(const PartSizes& sizes) {
  const std::int64_t total = std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0});
  if (total == 0) return 0;
  const auto heaviest = static_cast<double>(*std::max_element(sizes.weights.begin(), sizes.weights.end()));
  return heaviest * static_cast<double>(sizes.weights.size()) / static_cast<double>(total) - 1;
}

int connectivity(const Net& net, const Partition& partition) {
  std::vector<std::size_t> parts;
  for (const int i : pins_of(net)) parts.push_back(part_of(i, partition));
  std::sort(parts.begin(), parts.end());
  return static_cast<int>(std::unique(parts.begin(), parts.end()) - parts.begin());
}

CutMatrix cut_matrix(const Hypergraph& h, const Partition& partition, int most_groups) {
  check("cut_matrix", h, partition);
  CutMatrix matrix{partition.nparts, std::min(partition.nparts, most_groups), {}};
  const auto ngroups = static_cast<std::size_t>(matrix.ngroups);
  matrix.weights.assign(ngroups * ngroups, 0);

  TouchedGroups touched(partition, matrix.ngroups);
  for (int j = 1; j <= h._n; ++j) {
    const std::vector<std::size_t>& groups = touched.of_net(h, j);
    for (const std::size_t a : groups)
      for (const std::size_t b : groups)
        if (a != b || groups.size() == 1) matrix.weights[a * ngroups + b] += h._nlst[j].w;
  }
  return matrix;
}

}  // namespace quillon::measures
