#include "measures/figures.h"

#include <algorithm>
#include <cmath>

namespace quillon::tool {
namespace {

int length_of(const Cell& cell) { return degree_of(cell); }

int length_of(const Net& net) { return size_of(net); }

template <typename Item>
std::vector<std::pair<int, int>> distribution_of(const Item* items, int count) {
  int longest = 0;
  for (int k = 1; k <= count; ++k) longest = std::max(longest, length_of(items[k]));
  std::vector<int> counts(static_cast<std::size_t>(longest) + 1, 0);
  for (int k = 1; k <= count; ++k) ++counts[static_cast<std::size_t>(length_of(items[k]))];

  std::vector<std::pair<int, int>> distribution;
  for (int length = 0; length <= longest; ++length)
    if (const int n = counts[static_cast<std::size_t>(length)]; n > 0) distribution.emplace_back(length, n);
  return distribution;
}

template <typename Item>
Lengths lengths_of(const Item* items, int count, int npins) {
  Lengths lengths;
  lengths.count = count;
  lengths.distribution = distribution_of(items, count);
  lengths.average = static_cast<double>(npins) / count;
  double squares = 0;
  for (const auto& [length, n] : lengths.distribution) {
    squares += n * (length - lengths.average) * (length - lengths.average);
    if (length == 0)
      lengths.nzero = n;
    else if (lengths.min_above_zero == 0)
      lengths.min_above_zero = length;
    lengths.max = length;
  }
  if (count > 0) lengths.min = lengths.distribution.front().first;
  lengths.deviation = std::sqrt(squares / count);
  lengths.variation = lengths.deviation / lengths.average;
  return lengths;
}

template <typename Item>
Weights weights_of(const Item* items, int count) {
  Weights weights;
  if (count > 0) weights.min = items[1].w;
  for (int k = 1; k <= count; ++k) {
    weights.min = std::min(weights.min, items[k].w);
    weights.max = k == 1 ? items[k].w : std::max(weights.max, items[k].w);
    weights.total += items[k].w;
  }
  return weights;
}

}  // namespace

int degree_of(const Cell& cell) { return static_cast<int>(cell.netsend - cell.nets) + 1; }

Figures figures_of(const Hypergraph& h) {
  return {h._c,
          h._n,
          h._p,
          lengths_of(h._clst, h._c, h._p),
          lengths_of(h._nlst, h._n, h._p),
          weights_of(h._clst, h._c),
          weights_of(h._nlst, h._n)};
}

}  // namespace quillon::tool
