#include "measures/figures.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "measures/groups.h"
#include "tests/support/extremes.h"
#include "tests/support/five_cells.h"
#include "tests/support/records.h"

namespace quillon::measures {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Cells 1..5 have degrees 2, 2, 2, 1, 2.
TEST(FiguresOf, GivesRangeAverageAndSpread) {
  const Record r = five_cells();

  const Figures figures = figures_of(r.h);

  EXPECT_EQ(figures.ncells, 5);
  EXPECT_EQ(figures.nnets, 4);
  EXPECT_EQ(figures.npins, 9);
  EXPECT_THAT(figures.degrees.distribution, ElementsAre(Pair(1, 1), Pair(2, 4)));
  EXPECT_EQ(figures.degrees.count, 5);
  EXPECT_EQ(figures.degrees.min, 1);
  EXPECT_EQ(figures.degrees.nzero, 0);
  EXPECT_DOUBLE_EQ(figures.degrees.average, 1.8);
  EXPECT_DOUBLE_EQ(figures.degrees.deviation, 0.4);
  EXPECT_DOUBLE_EQ(figures.degrees.variation, 0.4 / 1.8);

  EXPECT_THAT(figures.sizes.distribution, ElementsAre(Pair(0, 1), Pair(2, 1), Pair(3, 1), Pair(4, 1)));
  EXPECT_EQ(figures.sizes.min, 0);
  EXPECT_EQ(figures.sizes.min_above_zero, 2);
  EXPECT_EQ(figures.sizes.nzero, 1);
  EXPECT_EQ(figures.sizes.max, 4);
  EXPECT_DOUBLE_EQ(figures.sizes.deviation, std::sqrt(35.0) / 4);  // squares 81 + 1 + 9 + 49 sixteenths

  EXPECT_EQ(figures.cells.min, 1);
  EXPECT_EQ(figures.cells.max, 3);
  EXPECT_EQ(figures.cells.total, 8);
  EXPECT_EQ(figures.nets.min, 1);
  EXPECT_EQ(figures.nets.max, 7);
  EXPECT_EQ(figures.nets.total, 15);
}

TEST(FiguresOf, CountsANetWithoutAPinListAsSizeZero) {
  Record r({2, {{1, 2}, {}}});
  r.nets[2].pins = r.nets[2].pinsend = nullptr;

  EXPECT_THAT(figures_of(r.h).sizes.distribution, ElementsAre(Pair(0, 1), Pair(2, 1)));
}

TEST(FiguresOf, HasNoAveragesOfNoItems) {
  const Record r({0, {}});

  const Figures figures = figures_of(r.h);

  EXPECT_THAT(figures.degrees.distribution, IsEmpty());
  EXPECT_TRUE(std::isnan(figures.degrees.average));
  EXPECT_TRUE(std::isnan(figures.sizes.deviation));
  EXPECT_EQ(figures.sizes.max, 0);
  EXPECT_EQ(figures.cells.min, 0);
  EXPECT_EQ(figures.cells.max, 0);
  EXPECT_EQ(figures.nets.total, 0);
}

TEST(FiguresOf, AddsUpWeightsInMoreThan32Bits) {
  const Record r({3, {{1}, {2}, {3}}, {kLeast, kLeast, -1}, {kMost, kMost, 1}});

  const Figures figures = figures_of(r.h);

  EXPECT_EQ(figures.cells.total, 2 * std::int64_t{kMost} + 1);
  EXPECT_EQ(figures.nets.total, 2 * std::int64_t{kLeast} - 1);
  EXPECT_EQ(figures.nets.min, kLeast);
  EXPECT_EQ(figures.nets.max, -1);
}

TEST(WeightDistributions, CountTheItemsOfEachWeight) {
  const Record r = five_cells();

  EXPECT_THAT(cell_weight_distribution(r.h), ElementsAre(Pair(1, 3), Pair(2, 1), Pair(3, 1)));
  EXPECT_THAT(net_weight_distribution(r.h), ElementsAre(Pair(1, 1), Pair(2, 1), Pair(5, 1), Pair(7, 1)));
  EXPECT_THAT(cell_weight_distribution(Record({0, {}}).h), IsEmpty());
}

TEST(Groups, AreAsEvenAsPossibleAndKnowTheirFirstItem) {
  for (int count = 1; count <= 40; ++count) {
    for (int ngroups = 1; ngroups <= count; ++ngroups) {
      for (int index = 0; index < count; ++index) {
        const int group = group_of(index, count, ngroups);
        const int begin = group_begin(group, count, ngroups);
        const int end = group_begin(group + 1, count, ngroups);
        EXPECT_LE(begin, index);
        EXPECT_LT(index, end);
        EXPECT_GE(end - begin, count / ngroups);
        EXPECT_LE(end - begin, (count + ngroups - 1) / ngroups);
      }
    }
  }
}

TEST(Groups, DoNotOverflow) {
  EXPECT_EQ(group_of(kMost - 1, kMost, kMost), kMost - 1);
  EXPECT_EQ(group_begin(256, kMost, 256), kMost);
}

}  // namespace
}  // namespace quillon::measures
