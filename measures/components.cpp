#include "measures/components.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <numeric>

#include "hypergraph/detail/lists.h"

namespace quillon::measures {
namespace {

// Finds cells net by net. Every net is walked once.
class Walk {
 public:
  explicit Walk(const Hypergraph& h)
      : h_(&h),
        is_cell_found_(static_cast<std::size_t>(h._c) + 1),
        is_net_found_(static_cast<std::size_t>(h._n) + 1) {}

  [[nodiscard]] bool has_found(int i) const { return is_cell_found_[static_cast<std::size_t>(i)] != 0; }

  // Appends a cell unless it was found before.
  void find(int i, std::vector<int>& cells) {
    char& is_found = is_cell_found_[static_cast<std::size_t>(i)];
    if (is_found == 0) cells.push_back(i);
    is_found = 1;
  }

  // Appends the cells that share a net with cell i and were not found before.
  void find_around(int i, std::vector<int>& cells) {
    for (const int j : nets_of(h_->_clst[i])) {
      char& is_found = is_net_found_[static_cast<std::size_t>(j)];
      if (is_found != 0) continue;
      is_found = 1;
      for (const int k : pins_of(h_->_nlst[j])) find(k, cells);
    }
  }

 private:
  const Hypergraph* h_;
  std::vector<char> is_cell_found_;
  std::vector<char> is_net_found_;
};

// The ranks of components by decreasing size, from 1; equal ones keep their order.
std::vector<int> ranks_of(const std::vector<int>& ncells) {
  std::vector<int> order(ncells.size() - 1);
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&ncells](int a, int b) {
    return ncells[static_cast<std::size_t>(a)] > ncells[static_cast<std::size_t>(b)];
  });
  std::vector<int> ranks(ncells.size());
  for (std::size_t k = 0; k < order.size(); ++k)
    ranks[static_cast<std::size_t>(order[k])] = static_cast<int>(k) + 1;
  return ranks;
}

}  // namespace

Components components_of(const Hypergraph& h) {
  Components components{std::vector<int>(static_cast<std::size_t>(h._c) + 1), {0}};
  Walk walk(h);
  std::vector<int> cells;
  for (int i = 1; i <= h._c; ++i) {
    if (walk.has_found(i)) continue;
    cells.clear();
    walk.find(i, cells);
    for (std::size_t k = 0; k < cells.size(); ++k) walk.find_around(cells[k], cells);
    const int component = static_cast<int>(components.ncells.size());
    for (const int cell : cells) components.component_of[static_cast<std::size_t>(cell)] = component;
    components.ncells.push_back(static_cast<int>(cells.size()));
  }

  const std::vector<int> ranks = ranks_of(components.ncells);
  for (int& component : components.component_of) component = ranks[static_cast<std::size_t>(component)];
  std::sort(components.ncells.begin() + 1, components.ncells.end(), std::greater<>());
  return components;
}

std::vector<int> cells_around(const Hypergraph& h, int cell, int radius) {
  Walk walk(h);
  std::vector<int> cells;
  walk.find(cell, cells);
  std::size_t nwalked = 0;  // cells at all distances before
  for (int distance = 1; distance <= radius && nwalked < cells.size(); ++distance)
    for (const std::size_t end = cells.size(); nwalked < end; ++nwalked)
      walk.find_around(cells[nwalked], cells);
  std::sort(cells.begin(), cells.end());
  return cells;
}

}  // namespace quillon::measures
