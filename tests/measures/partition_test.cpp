#include "measures/partition.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "measures/groups.h"
#include "tests/support/extremes.h"
#include "tests/support/five_cells.h"
#include "tests/support/records.h"

namespace quillon::measures {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

// Net 1 lies in parts 0 and 1, net 2 in 0 and 2, net 3 in 0, 1 and 2, net 4 in none.
const Partition kFourParts{{-7, 0, 2, 0, 2, 1}, 4};

TEST(PartSizes, CountsAndWeighsTheCellsOfEachPart) {
  const PartSizes sizes = part_sizes(five_cells().h, kFourParts);

  EXPECT_THAT(sizes.ncells, ElementsAre(2, 1, 2, 0));
  EXPECT_THAT(sizes.weights, ElementsAre(4, 2, 2, 0));
}

TEST(PartSizes, CountsAnyNumberOfCells) {
  const std::vector<int> ncells{255, 256, 0, 70000};
  Partition partition{{0}, 4};
  for (std::size_t part = 0; part < ncells.size(); ++part)
    partition.parts.insert(partition.parts.end(), static_cast<std::size_t>(ncells[part]),
                           static_cast<int>(part));
  const Record r({static_cast<int>(partition.parts.size()) - 1, {}});

  const PartSizes sizes = part_sizes(r.h, partition);

  EXPECT_THAT(sizes.ncells, ElementsAre(255, 256, 0, 70000));
  EXPECT_THAT(sizes.weights, ElementsAre(255, 256, 0, 70000));
}

TEST(PartSizes, AddsUpWeightsInMoreThan32Bits) {
  const Record r({2, {}, {}, {kMost, kMost}});

  EXPECT_THAT(part_sizes(r.h, {{0, 0, 0}, 1}).weights, ElementsAre(2 * std::int64_t{kMost}));
}

TEST(CutSizes, SumsUpTheCutNets) {
  const CutSizes sizes = cut_sizes(five_cells().h, kFourParts);

  EXPECT_EQ(sizes.ncut_nets, 3);
  EXPECT_EQ(sizes.cut, 14);
  EXPECT_EQ(sizes.connectivity_minus_one, 21);
  EXPECT_EQ(sizes.sum_of_external_degrees, 35);
}

TEST(CutSizes, WeighsANetOfThreePartsByItsConnectivity) {
  const Record r({4, {{1, 2, 3, 4, 4}}, {10}});

  const CutSizes sizes = cut_sizes(r.h, {{0, 0, 1, 2, 2}, 3});

  EXPECT_EQ(sizes.ncut_nets, 1);
  EXPECT_EQ(sizes.cut, 10);
  EXPECT_EQ(sizes.connectivity_minus_one, 20);
  EXPECT_EQ(sizes.sum_of_external_degrees, 30);
}

TEST(CutSizes, SkipsNetsWithoutPinLists) {
  const Record r({2, {{1, 2}, {1, 2}}}, Side::kCells);
  const Partition partition{{0, 0, 1}, 2};

  EXPECT_EQ(cut_sizes(r.h, partition).ncut_nets, 0);
  EXPECT_THAT(cut_matrix(r.h, partition, 2).weights, Each(0));
  EXPECT_EQ(connectivity(r.h._nlst[1], partition), 0);
}

TEST(Measures, AgreeWithASetOfPartsPerNetOnRandomRecords) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.nparts = 4, .duplicates = true});
    const Record r(shape);
    Partition partition{{0}, 4};
    partition.parts.insert(partition.parts.end(), shape.parts.begin(), shape.parts.end());

    CutSizes expected;
    std::vector<std::int64_t> between(16, 0);
    for (std::size_t j = 0; j < shape.pins.size(); ++j) {
      std::set<int> touched;
      for (const int i : shape.pins[j]) touched.insert(partition.parts[static_cast<std::size_t>(i)]);
      const auto nparts = std::ssize(touched);
      EXPECT_EQ(connectivity(r.nets[j + 1], partition), nparts);
      const std::int64_t w = shape.net_weights[j];
      for (const int a : touched)
        for (const int b : touched) between[static_cast<std::size_t>(4 * a + b)] += w;
      if (nparts < 2) continue;
      ++expected.ncut_nets;
      expected.cut += w;
      expected.connectivity_minus_one += w * (nparts - 1);
      expected.sum_of_external_degrees += w * nparts;
    }

    const CutSizes sizes = cut_sizes(r.h, partition);
    EXPECT_EQ(sizes.ncut_nets, expected.ncut_nets);
    EXPECT_EQ(sizes.cut, expected.cut);
    EXPECT_EQ(sizes.connectivity_minus_one, expected.connectivity_minus_one);
    EXPECT_EQ(sizes.sum_of_external_degrees, expected.sum_of_external_degrees);
    EXPECT_EQ(cut_matrix(r.h, partition, 9).weights, between);
  }
}

TEST(Imbalance, IsTheShareByWhichTheHeaviestPartExceedsTheAverage) {
  EXPECT_EQ(imbalance({{1, 1}, {5, 5}}), 0);
  EXPECT_EQ(imbalance({{1, 1}, {6, 2}}), 0.5);
  EXPECT_EQ(imbalance({{2, 0}, {0, 0}}), 0);
  EXPECT_EQ(imbalance({}), 0);
}

TEST(CutMatrix, HasTheWeightBetweenParts) {
  const CutMatrix matrix = cut_matrix(five_cells().h, kFourParts, 16);

  EXPECT_EQ(matrix.nparts, 4);
  EXPECT_EQ(matrix.ngroups, 4);
  EXPECT_THAT(matrix.weights, ElementsAre(14, 12, 9, 0, 12, 12, 7, 0, 9, 7, 9, 0, 0, 0, 0, 0));
  EXPECT_EQ(matrix.at(2, 1), 7);
}

TEST(CutMatrix, PutsNeighbouringPartsIntoGroupsWhereThereAreTooMany) {
  // Parts 0, 1 and 2, 3: net 1 lies in the first group, nets 2 and 3 in both.
  const CutMatrix matrix = cut_matrix(five_cells().h, kFourParts, 2);

  EXPECT_EQ(matrix.ngroups, 2);
  EXPECT_THAT(matrix.weights, ElementsAre(14, 9, 9, 9));
}

TEST(MeasuresDeathTest, RefusePartsOutOfRange) {
  const Record r({2, {{1, 2}}});

  EXPECT_DEATH(part_sizes(r.h, {{0, 0, 2}, 2}), HasSubstr("part_sizes: cell 2 is in part 2 of 2"));
  EXPECT_DEATH(cut_sizes(r.h, {{0, -1, 0}, 2}), HasSubstr("cut_sizes: cell 1 is in part -1 of 2"));
  EXPECT_DEATH(cut_matrix(r.h, {{0, 0}, 2}, 2), HasSubstr("cut_matrix: 2 entries for the parts of 2 cells"));
}

}  // namespace
}  // namespace quillon::measures
