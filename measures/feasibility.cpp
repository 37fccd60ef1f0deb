#include "measures/feasibility.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <optional>

#include "measures/wide.h"

namespace quillon::measures {
namespace {

using Kind = Obstacle::Kind;

std::int64_t quotient_up(std::int64_t a, std::int64_t b) { return a / b + (a % b != 0 ? 1 : 0); }

void raise(LowerBound& bound, const LowerBound& other) {
  if (other.weight <= bound.weight) return;
  const std::int64_t divisor = bound.divisor;
  bound = other;
  bound.divisor = divisor;
}

// Of the m nparts + 1 heaviest cells, m + 1 are in one part, and weigh as much as the lightest of them or
// more.
void raise_by_shared_parts(LowerBound& bound, const CellWeights& weights, int nparts) {
  std::vector<std::int64_t> sums{0};  // of the heaviest cells
  for (const int w : weights.sorted) sums.push_back(sums.back() + w);
  const auto ncells = std::ssize(weights.sorted);
  for (std::int64_t m = 1; m * nparts < ncells; ++m) {
    const std::int64_t nheaviest = m * nparts + 1;
    LowerBound shared;
    shared.weight =
        sums[static_cast<std::size_t>(nheaviest)] - sums[static_cast<std::size_t>(nheaviest - m - 1)];
    shared.reason = BoundReason::kSharedPart;
    shared.ncells = static_cast<int>(m + 1);
    shared.nheaviest = nheaviest;
    raise(bound, shared);
  }
}

std::int64_t sum_of(const std::vector<std::int64_t>& values) {
  Wide sum = 0;
  for (const std::int64_t value : values) sum += value;
  constexpr Wide kMost = std::int64_t{1} << 62;
  return static_cast<std::int64_t>(std::min(sum, kMost));
}

// What parts can hold, and need at least, of weights with a common divisor.
Bounds in_multiples(const Bounds& bounds, std::int64_t divisor) {
  Bounds multiples = bounds;
  for (std::int64_t& most : multiples.most) most = most / divisor * divisor;
  for (std::int64_t& least : multiples.least) least = quotient_up(least, divisor) * divisor;
  return multiples;
}

// Each part has room for most / w cells of a weight of w or more.
std::optional<Obstacle> too_many_cells(const CellWeights& weights, const Bounds& bounds) {
  constexpr std::int64_t kMostSteps = 64;
  const auto nparts = std::ssize(bounds.most);
  for (std::int64_t m = 1; m <= kMostSteps && m * nparts < std::ssize(weights.sorted); ++m) {
    const std::int64_t weight = weights.sorted[static_cast<std::size_t>(m * nparts)];
    if (weight <= 0) break;
    Wide room = 0;
    for (const std::int64_t most : bounds.most) room += most / weight;
    const auto end = std::upper_bound(weights.sorted.begin(), weights.sorted.end(), weight, std::greater<>());
    const std::int64_t ncells = end - weights.sorted.begin();
    if (room < ncells)
      return Obstacle{Kind::kManyCells, ncells, static_cast<std::int64_t>(room), 0, -1, weight};
  }
  return std::nullopt;
}

std::optional<Obstacle> overfilled_part(const CellWeights& weights, const Bounds& bounds) {
  for (std::size_t part = 0; part < weights.fixed_weights.size(); ++part)
    if (weights.fixed_weights[part] > bounds.most[part])
      return Obstacle{Kind::kFixed, weights.fixed_weights[part], bounds.most[part], 0,
                      static_cast<int>(part)};
  return std::nullopt;
}

}  // namespace

CellWeights cell_weights_of(const Hypergraph& h, const std::vector<int>& fixed, int nparts) {
  CellWeights weights;
  if (!fixed.empty()) weights.fixed_weights.assign(static_cast<std::size_t>(nparts), 0);
  for (int i = 1; i <= h._c; ++i) {
    const int w = h._clst[i].w;
    weights.sorted.push_back(w);
    weights.total += w;
    weights.divisor = std::gcd(weights.divisor, std::int64_t{w});
    if (weights.heaviest == 0 || w > h._clst[weights.heaviest].w) weights.heaviest = i;
    if (!fixed.empty() && fixed[static_cast<std::size_t>(i)] >= 0)
      weights.fixed_weights[static_cast<std::size_t>(fixed[static_cast<std::size_t>(i)])] += w;
  }
  std::sort(weights.sorted.begin(), weights.sorted.end(), std::greater<>());
  return weights;
}

LowerBound heaviest_part_bound(const CellWeights& weights, int nparts) {
  LowerBound bound{quotient_up(weights.total, nparts), BoundReason::kAverage};
  bound.divisor = std::max<std::int64_t>(1, weights.divisor);
  raise(bound, {quotient_up(weights.total / bound.divisor, nparts) * bound.divisor, BoundReason::kDivisor});
  if (weights.heaviest != 0) {
    LowerBound heaviest{weights.sorted.front(), BoundReason::kHeaviest};
    heaviest.cell = weights.heaviest;
    raise(bound, heaviest);
  }
  raise_by_shared_parts(bound, weights, nparts);
  for (std::size_t part = 0; part < weights.fixed_weights.size(); ++part) {
    LowerBound fixed{weights.fixed_weights[part], BoundReason::kFixed};
    fixed.part = static_cast<int>(part);
    raise(bound, fixed);
  }
  return bound;
}

std::vector<Obstacle> obstacles(const CellWeights& weights, const Bounds& bounds) {
  std::vector<Obstacle> found;
  const Bounds reachable = in_multiples(bounds, std::max<std::int64_t>(1, weights.divisor));
  if (const std::int64_t room = sum_of(reachable.most); room < weights.total)
    found.push_back({Kind::kTotalAboveMost, weights.total, room});
  if (const std::int64_t need = sum_of(reachable.least); need > weights.total)
    found.push_back({Kind::kTotalBelowLeast, need, weights.total});
  const std::int64_t most = *std::max_element(bounds.most.begin(), bounds.most.end());
  if (weights.heaviest != 0 && weights.sorted.front() > most)
    found.push_back({Kind::kCell, weights.sorted.front(), most, weights.heaviest});
  if (const auto many = too_many_cells(weights, bounds)) found.push_back(*many);
  const LowerBound bound = heaviest_part_bound(weights, static_cast<int>(bounds.most.size()));
  if (bound.reason == BoundReason::kSharedPart && bound.weight > most)
    found.push_back({Kind::kSharedPart, bound.weight, most});
  if (const auto fixed = overfilled_part(weights, bounds)) found.push_back(*fixed);
  const auto nfilled = std::count_if(bounds.least.begin(), bounds.least.end(), [](auto w) { return w > 0; });
  const auto nheavy =
      std::count_if(weights.sorted.begin(), weights.sorted.end(), [](int w) { return w > 0; });
  if (nfilled > nheavy) found.push_back({Kind::kEmptyParts, nfilled, nheavy});
  return found;
}

}  // namespace quillon::measures
