#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <vector>

#include "measures/partition.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon::measures {

static bool operator==(const MatrixEntry& a, const MatrixEntry& b) {
  return a.part == b.part && a.other == b.other && a.weight == b.weight;
}

static bool operator==(const NetCost& a, const NetCost& b) {
  return a.net == b.net && a.connectivity == b.connectivity && a.cost == b.cost;
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Net 1 lies in parts 0 and 1, net 2 in 0 and 2, net 3 in 0, 1 and 2, net 4 in none, net 5 in 2.
Record five_nets() {
  return Record({5, {{1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}, {4}}, {5, 2, 7, 1, 3}, {3, 1, 1, 1, 2}});
}

const Partition kPartsOfFiveNets{{-7, 0, 2, 0, 2, 1}, 4};

TEST(Evaluate, GivesAllMeasures) {
  const Evaluation evaluation = evaluate(five_nets().h, kPartsOfFiveNets);

  EXPECT_THAT(evaluation.sizes.ncells, ElementsAre(2, 1, 2, 0));
  EXPECT_THAT(evaluation.sizes.weights, ElementsAre(4, 2, 2, 0));
  EXPECT_EQ(evaluation.cut.ncut_nets, 3);
  EXPECT_EQ(evaluation.cut.cut, 14);
  EXPECT_EQ(evaluation.cut.connectivity_minus_one, 21);
  EXPECT_EQ(evaluation.cut.sum_of_external_degrees, 35);
  EXPECT_DOUBLE_EQ(evaluation.absorption, 5 * 0.5 + 7 * (1.0 / 3));
  EXPECT_EQ(evaluation.connectivity_pairs, 5 * 2 + 2 * 2 + 7 * 6);
}

TEST(Evaluate, HasNoSumOfPairsBeyond64Bits) {
  constexpr int kParts = 70000;
  std::vector<int> all(kParts);
  std::iota(all.begin(), all.end(), 1);
  std::vector<int> parts(kParts + 1);
  std::iota(parts.begin() + 1, parts.end(), 0);
  const Record r({kParts, {all}, {kMost}});

  const Evaluation evaluation = evaluate(r.h, {parts, kParts});

  EXPECT_EQ(evaluation.connectivity_pairs, std::nullopt);
  EXPECT_EQ(evaluation.cut.connectivity_minus_one, std::int64_t{kMost} * (kParts - 1));
}

TEST(PartDetails, CountsBoundaryCellsInternalNetsAndVolumes) {
  const PartDetails details = part_details(five_nets().h, kPartsOfFiveNets);

  EXPECT_THAT(details.nboundary_cells, ElementsAre(2, 1, 2, 0));
  EXPECT_THAT(details.ninternal_nets, ElementsAre(0, 0, 1, 0));
  // Parts 0, 0 and 2 own nets 1, 2 and 3.
  EXPECT_THAT(details.volumes_sent, ElementsAre(5 + 2, 0, 7 * 2, 0));
  EXPECT_THAT(details.volumes_received, ElementsAre(7, 5 + 7, 2, 0));
}

TEST(PartMatrix, HasTheWeightOfNetsThatTouchBothParts) {
  EXPECT_THAT(part_matrix(five_nets().h, kPartsOfFiveNets),
              ElementsAre(MatrixEntry{0, 0, 14}, MatrixEntry{0, 1, 12}, MatrixEntry{0, 2, 9},
                          MatrixEntry{1, 1, 12}, MatrixEntry{1, 2, 7}, MatrixEntry{2, 2, 12}));
}

TEST(CostliestNets, ListsTheDearestFirst) {
  const Record r({4, {{1, 2}, {1, 2, 3}, {3, 4}, {1, 4}}, {4, 2, 9, 5}});
  const Partition partition{{0, 0, 1, 2, 2}, 3};

  EXPECT_THAT(costliest_nets(r.h, partition, 2), ElementsAre(NetCost{4, 2, 5}, NetCost{1, 2, 4}));
  EXPECT_THAT(costliest_nets(r.h, partition, 9),
              ElementsAre(NetCost{4, 2, 5}, NetCost{1, 2, 4}, NetCost{2, 3, 4}));
  EXPECT_THAT(costliest_nets(r.h, partition, 0), IsEmpty());
}

// Measures by a map of pins for each net.
struct Expected {
  CutSizes cut;
  double absorption = 0;
  std::map<std::pair<int, int>, std::int64_t> matrix;

  void add(const std::vector<int>& pins, std::int64_t w, const std::vector<int>& parts) {
    std::map<int, int> npins;
    for (const int i : pins) ++npins[parts[static_cast<std::size_t>(i)]];
    for (const auto& [part, n] : npins) {
      if (pins.size() > 1)
        absorption += static_cast<double>(w) * (n - 1) / (static_cast<double>(pins.size()) - 1);
      for (const auto& [other, m] : npins)
        if (part <= other) matrix[{part, other}] += w;
    }
    const std::int64_t connectivity = std::ssize(npins);
    if (connectivity < 2) return;
    ++cut.ncut_nets;
    cut.cut += w;
    cut.connectivity_minus_one += w * (connectivity - 1);
    cut.sum_of_external_degrees += w * connectivity;
  }
};

void expect_measures(const Shape& shape, const Partition& partition) {
  const Record r(shape);
  Expected expected;
  for (std::size_t j = 0; j < shape.pins.size(); ++j)
    expected.add(shape.pins[j], shape.net_weights[j], partition.parts);

  const Evaluation evaluation = evaluate(r.h, partition);
  EXPECT_EQ(evaluation.cut.ncut_nets, expected.cut.ncut_nets);
  EXPECT_EQ(evaluation.cut.cut, expected.cut.cut);
  EXPECT_EQ(evaluation.cut.connectivity_minus_one, expected.cut.connectivity_minus_one);
  EXPECT_EQ(evaluation.cut.sum_of_external_degrees, expected.cut.sum_of_external_degrees);
  EXPECT_NEAR(evaluation.absorption, expected.absorption, 1e-9 * (1 + expected.absorption));
  std::map<std::pair<int, int>, std::int64_t> matrix;
  for (const MatrixEntry& entry : part_matrix(r.h, partition))
    matrix[{entry.part, entry.other}] = entry.weight;
  std::erase_if(expected.matrix, [](const auto& entry) { return entry.second == 0; });
  EXPECT_EQ(matrix, expected.matrix);
  const PartDetails details = part_details(r.h, partition);
  for (const auto& volumes : {details.volumes_sent, details.volumes_received})
    EXPECT_EQ(std::accumulate(volumes.begin(), volumes.end(), std::int64_t{0}),
              expected.cut.connectivity_minus_one);
}

TEST(Measures, AgreeWithAMapOfPinsForEachNet) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.ncells = 30, .nnets = 30, .nparts = 6, .duplicates = true});
    Partition partition{{0}, 6};
    partition.parts.insert(partition.parts.end(), shape.parts.begin(), shape.parts.end());
    expect_measures(shape, partition);
  }
}

TEST(Measures, AreTheSameForEveryNumberOfParts) {
  for (const int nparts : {2, 65, 2048, 2049, 10000}) {
    SCOPED_TRACE(testing::Message() << nparts << " parts");
    for (unsigned seed = 1; seed <= 20; ++seed) {
      Shape shape = random_shape(seed, {.ncells = 60, .nnets = 40, .duplicates = true});
      for (const int size : {1000, 512, 513, 300}) {
        std::vector<int> pins;
        for (int k = 0; shape.ncells > 0 && k < size; ++k) pins.push_back(k % shape.ncells + 1);
        shape.pins.insert(shape.pins.begin() + std::ssize(shape.pins) / 2, pins);
        shape.net_weights.push_back(3);
      }
      // Parts that share a slot of any table of a power of two.
      Partition partition{{0}, nparts};
      for (int i = 0; i < shape.ncells; ++i) partition.parts.push_back((i * 2048 + i % 3) % nparts);
      expect_measures(shape, partition);
    }
  }
}

TEST(EvaluationDeathTest, RefusesPartsOutOfRange) {
  const Record r({2, {{1, 2}}});

  EXPECT_DEATH(evaluate(r.h, {{0, 0, 2}, 2}), HasSubstr("evaluate: cell 2 is in part 2 of 2"));
  EXPECT_DEATH(part_details(r.h, {{0, 0, 2}, 2}), HasSubstr("part_details: cell 2 is in part 2 of 2"));
  EXPECT_DEATH(part_matrix(r.h, {{0, 0, -1}, 2}), HasSubstr("part_matrix: cell 2 is in part -1 of 2"));
  EXPECT_DEATH(costliest_nets(r.h, {{0, 0}, 2}, 1), HasSubstr("2 entries for the parts of 2 cells"));
}

}  // namespace
}  // namespace quillon::measures
