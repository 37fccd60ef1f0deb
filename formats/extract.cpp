#include "formats/extract.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "hypergraph/detail/lists.h"

namespace quillon::formats {
namespace {

// The new number of each old cell, from 1; 0 for those that are left out.
std::vector<int> new_numbers(const Hypergraph& h, const std::vector<int>& cells) {
  std::vector<int> numbers(static_cast<std::size_t>(h._c) + 1);
  for (std::size_t k = 0; k < cells.size(); ++k)
    numbers[static_cast<std::size_t>(cells[k])] = static_cast<int>(k) + 1;
  return numbers;
}

template <typename Item>
std::vector<int> weights_of(const Item* items, const std::vector<int>& numbers) {
  std::vector<int> weights{0};
  weights.reserve(numbers.size() + 1);
  for (const int number : numbers) weights.push_back(items[number].w);
  return weights;
}

}  // namespace

std::vector<int> nets_on(const Hypergraph& h, const std::vector<int>& cells, bool whole) {
  const std::vector<int> numbers = new_numbers(h, cells);
  const auto is_among = [&numbers](int i) { return numbers[static_cast<std::size_t>(i)] > 0; };
  std::vector<int> nets;
  for (int j = 1; j <= h._n; ++j) {
    const std::span<const int> pins = pins_of(h._nlst[j]);
    if (pins.empty()) continue;
    if (whole ? std::all_of(pins.begin(), pins.end(), is_among)
              : std::any_of(pins.begin(), pins.end(), is_among))
      nets.push_back(j);
  }
  return nets;
}

std::vector<int> cells_on(const Hypergraph& h, const std::vector<int>& nets) {
  std::vector<char> is_on(static_cast<std::size_t>(h._c) + 1);
  for (const int j : nets)
    for (const int i : pins_of(h._nlst[j])) is_on[static_cast<std::size_t>(i)] = 1;
  std::vector<int> cells;
  for (int i = 1; i <= h._c; ++i)
    if (is_on[static_cast<std::size_t>(i)] != 0) cells.push_back(i);
  return cells;
}

NetLists extract(const Hypergraph& h, const std::vector<int>& cells, const std::vector<int>& nets) {
  const std::vector<int> numbers = new_numbers(h, cells);
  NetLists lists;
  lists.ncells = static_cast<int>(cells.size());
  begin_nets(lists, static_cast<int>(nets.size()));
  for (const int j : nets) {
    for (const int i : pins_of(h._nlst[j]))
      if (const int number = numbers[static_cast<std::size_t>(i)]; number > 0) lists.nadj.push_back(number);
    end_net(lists);
  }
  lists.cell_weights = weights_of(h._clst, cells);
  lists.net_weights = weights_of(h._nlst, nets);
  return lists;
}

}  // namespace quillon::formats
