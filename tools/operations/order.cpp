#include "tools/operations/order.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "hypergraph/detail/lists.h"
#include "tools/operations/symmetry.h"

namespace quillon::tool {
namespace {

// Part numbers are replaced by their ranks, so that allocations depend on the number of parts.
int assign_parts(const std::vector<int>& part_of, Hypergraph& h) {
  std::vector<int> parts(part_of.begin() + 1, part_of.end());
  std::sort(parts.begin(), parts.end());
  parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  for (int i = 1; i <= h._c; ++i) {
    const auto rank = std::lower_bound(parts.begin(), parts.end(), part_of[static_cast<std::size_t>(i)]);
    h._clst[i].pno = static_cast<int>(rank - parts.begin());
  }
  return static_cast<int>(parts.size());
}

std::vector<int> cells_by_part(const Hypergraph& h) {
  std::vector<int> order = identity(h._c);
  std::stable_sort(order.begin() + 1, order.end(),
                   [&h](int a, int b) { return h._clst[a].pno < h._clst[b].pno; });
  return order;
}

// The lowest part of a net, and whether it touches others.
std::pair<int, bool> place_by_part(const Hypergraph& h, const Net& net) {
  int lowest = std::numeric_limits<int>::max();
  int highest = -1;
  for (const int i : pins_of(net)) {
    lowest = std::min(lowest, h._clst[i].pno);
    highest = std::max(highest, h._clst[i].pno);
  }
  return {lowest, lowest < highest};
}

std::vector<int> nets_by_part(const Hypergraph& h) {
  std::vector<std::pair<int, bool>> places(static_cast<std::size_t>(h._n) + 1);
  for (int j = 1; j <= h._n; ++j) places[static_cast<std::size_t>(j)] = place_by_part(h, h._nlst[j]);
  std::vector<int> order = identity(h._n);
  std::stable_sort(order.begin() + 1, order.end(), [&places](int a, int b) {
    return places[static_cast<std::size_t>(a)] < places[static_cast<std::size_t>(b)];
  });
  return order;
}

void allocate_like(const Hypergraph& h, Hypergraph& copy) {
  copy._c = h._c;
  copy._n = h._n;
  copy._p = h._p;
  malloc_hypergraph(&copy);
}

}  // namespace

std::vector<int> identity(int count) {
  std::vector<int> order(static_cast<std::size_t>(count) + 1);
  std::iota(order.begin(), order.end(), 0);
  return order;
}

std::vector<int> inverse_of(const std::vector<int>& order) {
  std::vector<int> inverse(order.size());
  for (std::size_t i = 1; i < order.size(); ++i)
    inverse[static_cast<std::size_t>(order[i])] = static_cast<int>(i);
  return inverse;
}

formats::Labels renumbered(const formats::Labels& labels, const OldNumbers& numbers) {
  return {renumbered(labels.cells, numbers.cells), renumbered(labels.nets, numbers.nets)};
}

void permute(const Hypergraph& h, const OldNumbers& orders, Hypergraph& reordered) {
  allocate_like(h, reordered);
  std::vector<int> work = orders.cells;
  PermuteHypergraph(&h, &reordered, orders.nets.data(), work.data());
}

OldNumbers reorder_by_part(Hypergraph& h, const std::vector<int>& parts, Hypergraph& reordered) {
  const int nparts = assign_parts(parts, h);
  OldNumbers orders{cells_by_part(h), {}};
  if (h._n == h._c && is_symmetric(h)) {
    orders.nets = orders.cells;
    allocate_like(h, reordered);
    SymmetricPermute(&h, nparts, &reordered);
  } else {
    orders.nets = nets_by_part(h);
    permute(h, orders, reordered);
  }
  return orders;
}

}  // namespace quillon::tool
