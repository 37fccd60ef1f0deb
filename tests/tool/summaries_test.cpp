#include "tools/report/summaries.h"

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

#include "formats/net_lists.h"
#include "measures/figures.h"

namespace quillon::tool_test {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(Groups, AreAsEvenAsCanBeAndKnowTheirFirstItem) {
  for (int count = 1; count <= 40; ++count) {
    for (int ngroups = 1; ngroups <= count; ++ngroups) {
      for (int index = 0; index < count; ++index) {
        const int group = tool::group_of(index, count, ngroups);
        const int begin = tool::group_begin(group, count, ngroups);
        const int end = tool::group_begin(group + 1, count, ngroups);
        EXPECT_LE(begin, index);
        EXPECT_LT(index, end);
        EXPECT_GE(end - begin, count / ngroups);
        EXPECT_LE(end - begin, (count + ngroups - 1) / ngroups);
      }
    }
  }
}

// 5 cells of weights 3, 1, 1, 1, 2; nets of weights 5, 2, 7, 1: {1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}.
class ReportOfFive : public testing::Test {
 protected:
  void SetUp() override {
    tool::Arrays arrays;
    arrays.ncells = 5;
    tool::begin_nets(arrays, 4);
    for (const std::vector<int>& net : {std::vector<int>{1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}}) {
      arrays.nadj.insert(arrays.nadj.end(), net.begin(), net.end());
      tool::end_net(arrays);
    }
    arrays.nadj.insert(arrays.nadj.end(), {0, 0});
    arrays.cell_weights = {0, 3, 1, 1, 1, 2};
    arrays.net_weights = {0, 5, 2, 7, 1};
    tool::to_record(arrays, loaded_);
  }

  tool::Loaded loaded_;
};

TEST_F(ReportOfFive, HasTheFiguresOfTheRecord) {
  const tool::Figures figures = tool::figures_of(loaded_.h);
  EXPECT_EQ(figures.npins, 9);
  EXPECT_THAT(figures.degrees.distribution, ElementsAre(Pair(1, 1), Pair(2, 4)));
  EXPECT_THAT(figures.sizes.distribution, ElementsAre(Pair(0, 1), Pair(2, 1), Pair(3, 1), Pair(4, 1)));
  EXPECT_EQ(figures.sizes.min, 0);
  EXPECT_EQ(figures.sizes.min_above_zero, 2);
  EXPECT_EQ(figures.sizes.nzero, 1);
  EXPECT_EQ(figures.sizes.max, 4);
  EXPECT_DOUBLE_EQ(figures.degrees.average, 1.8);
  EXPECT_DOUBLE_EQ(figures.degrees.deviation, 0.4);
  EXPECT_DOUBLE_EQ(figures.sizes.deviation, std::sqrt(35.0) / 4);  // squares 81 + 1 + 9 + 49 sixteenths
  EXPECT_EQ(figures.cells.total, 8);
  EXPECT_EQ(figures.nets.min, 1);
  EXPECT_EQ(figures.nets.max, 7);
  EXPECT_EQ(figures.nets.total, 15);
}

TEST_F(ReportOfFive, HasADensityForEachBox) {
  // Boxes of cells 1..3 and 4..5 by nets 1..2 and 3..4.
  const tool::DensityGrid grid = tool::density_grid(loaded_.h, 2, 2);
  EXPECT_THAT(grid.npins, ElementsAre(4, 1, 2, 2));
  EXPECT_THAT(grid.densities, ElementsAre(4.0 / 6, 1.0 / 4, 2.0 / 6, 2.0 / 4));
  EXPECT_DOUBLE_EQ(grid.smallest, 0.25);
  EXPECT_DOUBLE_EQ(grid.largest, 4.0 / 6);

  const tool::DensityGrid exact = tool::density_grid(loaded_.h, 100, 100);
  EXPECT_THAT(exact.npins, ElementsAre(1, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 0));
}

TEST_F(ReportOfFive, KnowsTheLargestFirst) {
  EXPECT_THAT(tool::largest_nets(loaded_.h, 3), ElementsAre(3, 1, 2));
  EXPECT_THAT(tool::largest_nets(loaded_.h, 10), ElementsAre(3, 1, 2, 4));
  EXPECT_THAT(tool::busiest_cells(loaded_.h, 5), ElementsAre(1, 2, 3, 5, 4));  // all but 4 have two nets
  EXPECT_THAT(tool::cell_weight_distribution(loaded_.h), ElementsAre(Pair(1, 3), Pair(2, 1), Pair(3, 1)));
  EXPECT_THAT(tool::net_weight_distribution(loaded_.h),
              ElementsAre(Pair(1, 1), Pair(2, 1), Pair(5, 1), Pair(7, 1)));
}

TEST_F(ReportOfFive, HasTheWeightBetweenParts) {
  // Net 1 lies in parts 0 and 1, net 2 in 0 and 2, net 3 in 1 and 2.
  const std::vector<int> parts{-1, 0, 2, 0, 2, 1};
  const tool::CutMatrix matrix = tool::cut_matrix(loaded_.h, parts, 4, 16);
  EXPECT_EQ(matrix.ngroups, 4);
  EXPECT_THAT(matrix.weights, ElementsAre(0, 12, 9, 0, 12, 0, 7, 0, 9, 7, 0, 0, 0, 0, 0, 0));

  // Parts 0, 1 together and 2, 3: net 1 lies in the first group, the others in both.
  const tool::CutMatrix groups = tool::cut_matrix(loaded_.h, parts, 4, 2);
  EXPECT_THAT(groups.weights, ElementsAre(5, 9, 9, 0));
}

}  // namespace
}  // namespace quillon::tool_test
