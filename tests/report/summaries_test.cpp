#include "tools/report/summaries.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

#include "tests/support/extremes.h"
#include "tests/support/five_cells.h"
#include "tests/support/records.h"

namespace quillon::tool {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

testing::Matcher<Bin> is_bin(int lo, int hi, std::int64_t count) {
  return AllOf(Field(&Bin::lo, lo), Field(&Bin::hi, hi), Field(&Bin::count, count));
}

TEST(LogarithmicBins, HoldOneValueEachUpTo40) {
  EXPECT_THAT(logarithmic_bins({}), IsEmpty());
  EXPECT_THAT(logarithmic_bins({{0, 5}, {39, 2}, {40, 1}}),
              ElementsAre(is_bin(0, 0, 5), is_bin(39, 39, 2), is_bin(40, 40, 1)));
}

TEST(LogarithmicBins, HoldAnEighthOfADecadeOtherwise) {
  // Borders at 1, 2, 3, 4, 5, 6, 8, 10, 14, .. 75, 100: 10 to the power of k / 8, rounded up.
  EXPECT_THAT(logarithmic_bins({{0, 9}, {1, 1}, {6, 1}, {7, 1}, {10, 1}, {13, 1}, {14, 1}, {80, 4}}),
              ElementsAre(is_bin(0, 0, 9), is_bin(1, 1, 1), is_bin(6, 7, 2), is_bin(10, 13, 2),
                          is_bin(14, 17, 1), is_bin(75, 80, 4)));
}

TEST(LogarithmicBins, LoseNothingUpToTheLargestNumber) {
  measures::Distribution distribution;
  for (std::int64_t value = 1; value < kMost; value = value * 3 / 2 + 1)
    distribution.emplace_back(static_cast<int>(value), 1);
  distribution.emplace_back(kMost, 1);

  std::int64_t count = 0;
  std::int64_t previous = 0;
  for (const Bin& bin : logarithmic_bins(distribution)) {
    EXPECT_GT(bin.lo, previous);
    EXPECT_GE(bin.hi, bin.lo);
    previous = bin.hi;
    count += bin.count;
  }
  EXPECT_EQ(count, std::ssize(distribution));
  EXPECT_EQ(previous, kMost);
}

TEST(DensityGrid, HasADensityForEachBox) {
  // Boxes of cells 1..3 and 4..5 by nets 1..2 and 3..4.
  const DensityGrid grid = density_grid(five_cells().h, 2, 2);

  EXPECT_THAT(grid.npins, ElementsAre(4, 1, 2, 2));
  EXPECT_THAT(grid.densities, ElementsAre(4.0 / 6, 1.0 / 4, 2.0 / 6, 2.0 / 4));
  EXPECT_DOUBLE_EQ(grid.smallest, 0.25);
  EXPECT_DOUBLE_EQ(grid.largest, 4.0 / 6);
}

TEST(DensityGrid, HasABoxForEachPlaceWhereTheyFit) {
  const DensityGrid grid = density_grid(five_cells().h, 100, 100);

  EXPECT_EQ(grid.ncolumns, 5);
  EXPECT_EQ(grid.nrows, 4);
  EXPECT_THAT(grid.npins, ElementsAre(1, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 0));
}

TEST(DensityGrid, SkipsNetsWithoutPinLists) {
  const DensityGrid grid = density_grid(Record({2, {{1, 2}, {1}}}, Side::kCells).h, 9, 9);

  EXPECT_THAT(grid.npins, AllOf(testing::SizeIs(4), Each(0)));
  EXPECT_EQ(grid.smallest, 0);
  EXPECT_EQ(grid.largest, 0);
}

TEST(LargestNets, ComeByPinsThenByNumber) {
  EXPECT_THAT(largest_nets(five_cells().h, 3), ElementsAre(3, 1, 2));
  EXPECT_THAT(largest_nets(five_cells().h, 10), ElementsAre(3, 1, 2, 4));
}

TEST(BusiestCells, ComeByNetsThenByNumber) {
  EXPECT_THAT(busiest_cells(five_cells().h, 5), ElementsAre(1, 2, 3, 5, 4));
  EXPECT_THAT(busiest_cells(Record({0, {}}).h, 5), IsEmpty());
}

}  // namespace
}  // namespace quillon::tool
