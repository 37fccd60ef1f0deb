#include "measures/comparison.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "measures/assignment.h"
#include "tests/support/records.h"

namespace quillon::measures {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::int64_t worth_of(const std::vector<int>& columns, const std::vector<AssignmentEntry>& entries) {
  std::int64_t worth = 0;
  for (const AssignmentEntry& entry : entries)
    if (columns[static_cast<std::size_t>(entry.row)] == entry.column) worth += entry.worth;
  return worth;
}

// The worth of the best assignment, by trying all.
std::int64_t best_worth(int nrows, int ncolumns, const std::vector<AssignmentEntry>& entries) {
  std::vector<int> columns(static_cast<std::size_t>(std::max(nrows, ncolumns)));
  std::iota(columns.begin(), columns.end(), 0);
  std::int64_t best = 0;
  do best = std::max(best, worth_of(columns, entries));
  while (std::next_permutation(columns.begin(), columns.end()));
  return best;
}

TEST(BestAssignment, IsWorthAsMuchAsTheBestOfAll) {
  std::mt19937 random(1);
  const auto below = [&random](unsigned count) { return static_cast<int>(random() % count); };
  for (int round = 0; round < 400; ++round) {
    const int nrows = below(6);
    const int ncolumns = below(6);
    const unsigned largest = round % 2 == 0 ? 4 : 1000;  // many ties, and few
    std::vector<AssignmentEntry> entries;
    for (int row = 0; row < nrows; ++row)
      for (int column = 0; column < ncolumns; ++column)
        if (below(3) > 0) entries.push_back({row, column, 1 + below(largest)});

    const std::vector<int> columns = best_assignment(nrows, ncolumns, entries);

    EXPECT_EQ(worth_of(columns, entries), best_worth(nrows, ncolumns, entries)) << "round " << round;
    std::vector<int> used;
    std::copy_if(columns.begin(), columns.end(), std::back_inserter(used),
                 [](int column) { return column >= 0; });
    std::sort(used.begin(), used.end());
    EXPECT_EQ(std::adjacent_find(used.begin(), used.end()), used.end()) << "round " << round;
  }
}

TEST(ComparePartitions, FindsRenamedPartsEqual) {
  const Record r({6, {}});
  const Partition first{{0, 0, 0, 1, 1, 2, 2}, 3};
  const Partition second{{0, 2, 2, 0, 0, 1, 1}, 3};

  const Comparison comparison = compare_partitions(r.h, first, second);

  EXPECT_EQ(comparison.ncells_moved, 0);
  EXPECT_THAT(comparison.names, ElementsAre(1, 2, 0));
  EXPECT_DOUBLE_EQ(comparison.normalised_mutual_information, 1);
  EXPECT_DOUBLE_EQ(comparison.adjusted_rand_index, 1);
  EXPECT_EQ(renamed(second, comparison).parts, first.parts);
}

TEST(ComparePartitions, KeepsMoreCellsThanAGreedyMatching) {
  // Overlaps 3 2 / 3 0: the greedy choice of part 0 for part 0 keeps 3 cells, the best keeps 5.
  const Record r({8, {}, {}, {1, 1, 1, 10, 1, 1, 1, 1}});
  const Partition first{{0, 0, 0, 0, 0, 0, 1, 1, 1}, 2};
  const Partition second{{0, 0, 0, 0, 1, 1, 0, 0, 0}, 2};

  const Comparison comparison = compare_partitions(r.h, first, second);

  EXPECT_THAT(comparison.names, ElementsAre(1, 0));
  EXPECT_EQ(comparison.ncells_moved, 3);
  EXPECT_EQ(comparison.weight_moved, 3);
  ASSERT_EQ(comparison.overlaps.size(), 3U);
  EXPECT_EQ(comparison.overlaps[1].weight, 11);
}

TEST(ComparePartitions, MeasuresAgreement) {
  const Record r({6, {}});
  const Partition first{{0, 0, 0, 0, 1, 1, 1}, 2};
  const Partition second{{0, 0, 0, 1, 1, 2, 2}, 3};

  const Comparison comparison = compare_partitions(r.h, first, second);

  // Entropies ln 2 and ln 3, joint entropy of 1/3, 1/6, 1/6, 1/3.
  const double joint = 2.0 / 3 * std::log(3) + 1.0 / 3 * std::log(6);
  const double information = std::log(2) + std::log(3) - joint;
  EXPECT_DOUBLE_EQ(comparison.normalised_mutual_information, 2 * information / (std::log(2) + std::log(3)));
  // Pairs: 2 together in both, 6 in the first, 3 in the second, 15 in all.
  EXPECT_DOUBLE_EQ(comparison.adjusted_rand_index, (2 - 6 * 3 / 15.0) / ((6 + 3) / 2.0 - 6 * 3 / 15.0));
  EXPECT_EQ(comparison.nparts, 3);
  EXPECT_EQ(comparison.ncells_moved, 2);
}

TEST(ComparePartitions, GivesUnmatchedPartsUnusedNames) {
  const Record r({3, {}});
  const Comparison comparison = compare_partitions(r.h, {{0, 0, 0, 0}, 1}, {{0, 2, 2, 0}, 4});

  EXPECT_THAT(comparison.names, ElementsAre(1, 2, 0, 3));
  EXPECT_EQ(comparison.ncells_moved, 1);
}

TEST(ComparePartitions, AgreesOnTrivialPartitions) {
  for (const int ncells : {0, 1, 4}) {
    const Record r({ncells, {}});
    std::vector<int> one(static_cast<std::size_t>(ncells) + 1, 0);
    const Comparison comparison = compare_partitions(r.h, {one, 1}, {one, 1});
    EXPECT_EQ(comparison.normalised_mutual_information, 1) << ncells;
    EXPECT_EQ(comparison.adjusted_rand_index, 1) << ncells;
    EXPECT_EQ(comparison.ncells_moved, 0) << ncells;
  }
}

TEST(CutChanges, ListNetsThatOnlyOnePartitionCuts) {
  const Record r({4, {{1, 2}, {2, 3}, {3, 4}, {1, 4}, {}}});
  const CutChanges changes = cut_changes(r.h, {{0, 0, 0, 1, 1}, 2}, {{0, 0, 1, 1, 0}, 2});

  EXPECT_THAT(changes.newly_cut, ElementsAre(1, 3));
  EXPECT_THAT(changes.no_longer_cut, ElementsAre(2, 4));
  EXPECT_THAT(cut_changes(r.h, {{0, 0, 0, 1, 1}, 2}, {{0, 1, 1, 0, 0}, 2}).newly_cut, IsEmpty());
}

}  // namespace
}  // namespace quillon::measures
