#include "measures/feasibility.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "tests/support/records.h"

namespace quillon::measures {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = Obstacle::Kind;

CellWeights weights_of(const std::vector<int>& weights, int nparts, const std::vector<int>& fixed = {}) {
  const Record r({static_cast<int>(weights.size()), {}, {}, weights});
  return cell_weights_of(r.h, fixed, nparts);
}

TEST(CellWeightsOf, SortsAndAddsUp) {
  const CellWeights weights = weights_of({4, 6, 2, 6}, 3, {0, 2, -1, 0, 2});

  EXPECT_THAT(weights.sorted, ElementsAre(6, 6, 4, 2));
  EXPECT_EQ(weights.total, 18);
  EXPECT_EQ(weights.divisor, 2);
  EXPECT_EQ(weights.heaviest, 2);
  EXPECT_THAT(weights.fixed_weights, ElementsAre(2, 0, 10));
}

TEST(HeaviestPartBound, GivesItsReason) {
  const LowerBound average = heaviest_part_bound(weights_of({1, 1, 1, 1, 1, 1, 1}, 2), 2);
  EXPECT_EQ(average.weight, 4);
  EXPECT_EQ(average.reason, BoundReason::kAverage);

  const LowerBound divisor = heaviest_part_bound(weights_of({6, 6, 6, 6, 12}, 5), 5);  // 36 / 5 -> 8 -> 12
  EXPECT_EQ(divisor.weight, 12);
  EXPECT_EQ(divisor.reason, BoundReason::kDivisor);
  EXPECT_EQ(divisor.divisor, 6);

  const LowerBound heaviest = heaviest_part_bound(weights_of({1, 9, 1, 1}, 2), 2);
  EXPECT_EQ(heaviest.weight, 9);
  EXPECT_EQ(heaviest.reason, BoundReason::kHeaviest);
  EXPECT_EQ(heaviest.cell, 2);

  const LowerBound shared = heaviest_part_bound(weights_of({5, 5, 4, 1}, 2), 2);  // 15 / 2 -> 8, 5 + 4
  EXPECT_EQ(shared.weight, 9);
  EXPECT_EQ(shared.reason, BoundReason::kSharedPart);
  EXPECT_EQ(shared.ncells, 2);
  EXPECT_EQ(shared.nheaviest, 3);

  const LowerBound fixed = heaviest_part_bound(weights_of({2, 2, 2, 2}, 2, {0, 1, 1, 1, -1}), 2);
  EXPECT_EQ(fixed.weight, 6);
  EXPECT_EQ(fixed.reason, BoundReason::kFixed);
  EXPECT_EQ(fixed.part, 1);
}

// The smallest weight that the heaviest part can have, by trying all partitions.
std::int64_t best_heaviest(const std::vector<int>& weights, std::size_t i, std::vector<std::int64_t>& parts) {
  if (i == weights.size()) return *std::max_element(parts.begin(), parts.end());
  std::int64_t best = std::numeric_limits<std::int64_t>::max();
  for (std::int64_t& part : parts) {
    part += weights[i];
    best = std::min(best, best_heaviest(weights, i + 1, parts));
    part -= weights[i];
  }
  return best;
}

TEST(HeaviestPartBound, IsNeverAboveTheBestPartition) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const Shape shape = random_shape(seed, {.ncells = 7, .weight = 30});
    for (const int nparts : {1, 2, 3}) {
      std::vector<std::int64_t> parts(static_cast<std::size_t>(nparts), 0);
      const std::int64_t best = best_heaviest(shape.cell_weights, 0, parts);
      const CellWeights weights = weights_of(shape.cell_weights, nparts);
      const LowerBound bound = heaviest_part_bound(weights, nparts);
      EXPECT_LE(bound.weight, best) << "seed " << seed << ", " << nparts << " parts";
      const Bounds reached{std::vector<std::int64_t>(parts.size(), 0),
                           std::vector<std::int64_t>(parts.size(), best)};
      EXPECT_THAT(obstacles(weights, reached), IsEmpty()) << "seed " << seed << ", " << nparts << " parts";
    }
  }
}

std::vector<Kind> kinds_of(const std::vector<Obstacle>& found) {
  std::vector<Kind> kinds;
  for (const Obstacle& obstacle : found) kinds.push_back(obstacle.kind);
  return kinds;
}

TEST(Obstacles, NameEveryReason) {
  // 35 cells of weight 1 into capacities 10 and 20.
  const auto found = obstacles(weights_of(std::vector<int>(35, 1), 2), {{0, 0}, {10, 20}});
  EXPECT_THAT(kinds_of(found), testing::Contains(Kind::kTotalAboveMost));
  EXPECT_EQ(found[0].needed, 35);
  EXPECT_EQ(found[0].available, 30);

  EXPECT_THAT(kinds_of(obstacles(weights_of({3, 3, 3}, 2), {{0, 0}, {5, 5}})),
              ElementsAre(Kind::kTotalAboveMost, Kind::kManyCells));  // multiples of 3: 3 and 3
  EXPECT_THAT(kinds_of(obstacles(weights_of({1, 1}, 2), {{2, 2}, {9, 9}})),
              ElementsAre(Kind::kTotalBelowLeast));
  EXPECT_THAT(kinds_of(obstacles(weights_of({9, 1}, 2), {{0, 0}, {8, 8}})), ElementsAre(Kind::kCell));
  EXPECT_THAT(kinds_of(obstacles(weights_of({5, 5, 4, 1}, 2), {{0, 0}, {8, 8}})),
              ElementsAre(Kind::kSharedPart));
  EXPECT_THAT(kinds_of(obstacles(weights_of({5, 5, 5, 1}, 2, {0, 0, 0, -1, -1}), {{0, 0}, {8, 99}})),
              ElementsAre(Kind::kFixed));
  EXPECT_THAT(kinds_of(obstacles(weights_of({7, 0, 0}, 2), {{1, 1}, {9, 9}})),
              ElementsAre(Kind::kTotalBelowLeast, Kind::kEmptyParts));
  EXPECT_THAT(obstacles(weights_of({5, 4, 3}, 2), {{0, 0}, {7, 7}}), IsEmpty());
}

}  // namespace
}  // namespace quillon::measures
