#include <algorithm>
#include <span>
#include <utility>

#include "measures/connectivity.h"
#include "measures/groups.h"
#include "measures/partition.h"

namespace quillon::measures {
namespace {

/// Lists one after another.
struct Lists {
  std::vector<std::size_t> starts{0};
  std::vector<int> values;

  void end_list() { starts.push_back(values.size()); }
  [[nodiscard]] std::span<const int> at(std::size_t k) const {
    return {values.data() + starts[k], values.data() + starts[k + 1]};
  }
};

// Of net j at index j - 1.
Lists parts_of_nets(const Hypergraph& h, const Partition& partition) {
  TouchedParts touched(partition);
  Lists lists;
  for (int j = 1; j <= h._n; ++j) {
    const std::vector<int>& parts = touched.of_net(h._nlst[j], j);
    lists.values.insert(lists.values.end(), parts.begin(), parts.end());
    lists.end_list();
  }
  return lists;
}

// Indices of the lists that hold each value.
Lists inverted(const Lists& lists, int nvalues) {
  Lists inverse;
  inverse.starts.assign(static_cast<std::size_t>(nvalues) + 1, 0);
  for (const int value : lists.values) ++inverse.starts[static_cast<std::size_t>(value) + 1];
  for (std::size_t k = 1; k < inverse.starts.size(); ++k) inverse.starts[k] += inverse.starts[k - 1];
  inverse.values.resize(lists.values.size());
  std::vector<std::size_t> ends(inverse.starts.begin(), inverse.starts.end() - 1);
  for (std::size_t k = 0; k + 1 < lists.starts.size(); ++k)
    for (const int value : lists.at(k))
      inverse.values[ends[static_cast<std::size_t>(value)]++] = static_cast<int>(k);
  return inverse;
}

// The same cells in groups of parts.
Partition grouped(const Partition& partition, int ngroups) {
  Partition groups{partition.parts, ngroups};
  for (std::size_t i = 1; i < groups.parts.size(); ++i)
    groups.parts[i] = group_of(groups.parts[i], partition.nparts, ngroups);
  return groups;
}

std::vector<MatrixEntry> entries_of_matrix(const Hypergraph& h, const Partition& partition) {
  const Lists parts = parts_of_nets(h, partition);
  const Lists nets = inverted(parts, partition.nparts);
  std::vector<std::int64_t> row(static_cast<std::size_t>(partition.nparts), 0);
  std::vector<int> last_part(row.size(), -1);  // whose row has touched the entry
  std::vector<int> others;
  std::vector<MatrixEntry> entries;
  for (int part = 0; part < partition.nparts; ++part) {
    others.clear();
    for (const int net : nets.at(static_cast<std::size_t>(part))) {
      for (const int other : parts.at(static_cast<std::size_t>(net))) {
        if (other < part) continue;
        const auto column = static_cast<std::size_t>(other);
        if (std::exchange(last_part[column], part) != part) {
          row[column] = 0;
          others.push_back(other);
        }
        row[column] += h._nlst[net + 1].w;
      }
    }
    std::sort(others.begin(), others.end());
    for (const int other : others)
      if (const std::int64_t weight = row[static_cast<std::size_t>(other)]; weight != 0)
        entries.push_back({part, other, weight});
  }
  return entries;
}

bool is_dearer(const NetCost& a, const NetCost& b) {
  return a.cost != b.cost ? a.cost > b.cost : a.net < b.net;
}

}  // namespace

PartDetails part_details(const Hypergraph& h, const Partition& partition) {
  check_partition("part_details", h, partition);
  const std::vector<std::int64_t> zeros(static_cast<std::size_t>(partition.nparts), 0);
  PartDetails details{zeros, zeros, zeros, zeros};
  std::vector<char> is_on_boundary(static_cast<std::size_t>(h._c) + 1, 0);
  TouchedParts touched(partition);
  for (int j = 1; j <= h._n; ++j) {
    const std::vector<int>& parts = touched.of_net(h._nlst[j], j);
    if (parts.empty()) continue;
    const auto owner = static_cast<std::size_t>(parts.front());
    if (parts.size() == 1) {
      ++details.ninternal_nets[owner];
      continue;
    }
    const std::int64_t w = h._nlst[j].w;
    details.volumes_sent[owner] += w * (std::ssize(parts) - 1);
    for (std::size_t k = 1; k < parts.size(); ++k)
      details.volumes_received[static_cast<std::size_t>(parts[k])] += w;
    for (const int i : pins_of(h._nlst[j])) is_on_boundary[static_cast<std::size_t>(i)] = 1;
  }
  for (std::size_t i = 1; i < is_on_boundary.size(); ++i)
    details.nboundary_cells[static_cast<std::size_t>(partition.parts[i])] += is_on_boundary[i];
  return details;
}

std::vector<MatrixEntry> part_matrix(const Hypergraph& h, const Partition& partition) {
  check_partition("part_matrix", h, partition);
  return entries_of_matrix(h, partition);
}

CutMatrix cut_matrix(const Hypergraph& h, const Partition& partition, int most_groups) {
  check_partition("cut_matrix", h, partition);
  CutMatrix matrix{partition.nparts, std::min(partition.nparts, most_groups), {}};
  const auto ngroups = static_cast<std::size_t>(matrix.ngroups);
  matrix.weights.assign(ngroups * ngroups, 0);
  for (const MatrixEntry& entry : entries_of_matrix(h, grouped(partition, matrix.ngroups))) {
    const auto a = static_cast<std::size_t>(entry.part);
    const auto b = static_cast<std::size_t>(entry.other);
    matrix.weights[a * ngroups + b] = matrix.weights[b * ngroups + a] = entry.weight;
  }
  return matrix;
}

std::vector<NetCost> costliest_nets(const Hypergraph& h, const Partition& partition, int count) {
  check_partition("costliest_nets", h, partition);
  const auto most = static_cast<std::size_t>(std::max(0, count));
  std::vector<NetCost> nets;  // a heap with the cheapest on top
  if (most == 0) return nets;
  for_each_connectivity(h, partition, [&](int j, int connectivity) {
    if (connectivity < 2) return;
    const NetCost net{j, connectivity, std::int64_t{h._nlst[j].w} * (connectivity - 1)};
    if (nets.size() == most) {
      if (!is_dearer(net, nets.front())) return;
      std::pop_heap(nets.begin(), nets.end(), is_dearer);
      nets.pop_back();
    }
    nets.push_back(net);
    std::push_heap(nets.begin(), nets.end(), is_dearer);
  });
  std::sort(nets.begin(), nets.end(), is_dearer);
  return nets;
}

}  // namespace quillon::measures
