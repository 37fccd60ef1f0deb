#include "measures/figures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "hypergraph/detail/lists.h"

namespace quillon::measures {
namespace {

template <typename Item>
Distribution length_distribution(const Item* items, int count) {
  std::vector<int> nitems{0};  // by length
  for (int k = 1; k <= count; ++k) {
    const std::size_t length = list_of(items[k]).size();
    if (length >= nitems.size()) nitems.resize(length + 1);
    ++nitems[length];
  }

  Distribution distribution;
  for (std::size_t length = 0; length < nitems.size(); ++length)
    if (nitems[length] > 0) distribution.emplace_back(static_cast<int>(length), nitems[length]);
  return distribution;
}

template <typename Item>
Lengths lengths_of(const Item* items, int count, int npins) {
  Lengths lengths;
  lengths.count = count;
  lengths.distribution = length_distribution(items, count);
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
  if (count > 0) weights.min = weights.max = items[1].w;
  for (int k = 1; k <= count; ++k) {
    weights.min = std::min(weights.min, items[k].w);
    weights.max = std::max(weights.max, items[k].w);
    weights.total += items[k].w;
  }
  return weights;
}

template <typename Item>
Distribution weight_distribution(const Item* items, int count) {
  std::vector<int> weights(static_cast<std::size_t>(count));
  for (int k = 1; k <= count; ++k) weights[static_cast<std::size_t>(k) - 1] = items[k].w;
  std::sort(weights.begin(), weights.end());

  Distribution distribution;
  for (const int weight : weights) {
    if (distribution.empty() || distribution.back().first != weight) distribution.emplace_back(weight, 0);
    ++distribution.back().second;
  }
  return distribution;
}

}  // namespace

Figures figures_of(const Hypergraph& h) {
  return {h._c,
          h._n,
          h._p,
          lengths_of(h._clst, h._c, h._p),
          lengths_of(h._nlst, h._n, h._p),
          weights_of(h._clst, h._c),
          weights_of(h._nlst, h._n)};
}

Distribution cell_weight_distribution(const Hypergraph& h) { return weight_distribution(h._clst, h._c); }

Distribution net_weight_distribution(const Hypergraph& h) { return weight_distribution(h._nlst, h._n); }

}  // namespace quillon::measures
