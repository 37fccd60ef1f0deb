#include "measures/counts.h"

#include <gmock/gmock.h>

#include <set>
#include <utility>
#include <vector>

#include "oracle/nets.h"
#include "tests/support/records.h"

namespace quillon::measures {
namespace {

TEST(CountsOf, CountsWhatProgramsCountDifferently) {
  const Record r({.ncells = 6,
                  .pins = {{1, 2, 1}, {}, {2, 1}, {4, 4}, {3}},
                  .net_weights = {1, 0, 5, 1, 1},
                  .cell_weights = {0, 1, 2, 3, 4, 0}});
  const Counts counts = counts_of(r.h);
  EXPECT_EQ(counts.ncells, 6);
  EXPECT_EQ(counts.ncells_used, 4);
  EXPECT_EQ(counts.highest_cell, 4);
  EXPECT_EQ(counts.nzero_cells, 2);
  EXPECT_EQ(counts.nnets, 5);
  EXPECT_EQ(counts.nempty_nets, 1);
  EXPECT_EQ(counts.nsingle_nets, 2);
  EXPECT_EQ(counts.nzero_nets, 1);
  EXPECT_EQ(counts.nparallel_nets, 1);
  EXPECT_EQ(counts.npins, 8);
  EXPECT_EQ(counts.nrepeated_pins, 2);
  EXPECT_EQ(counts.npairs, 2);
  EXPECT_EQ(counts.cell_weight, 10);
  EXPECT_EQ(counts.net_weight, 8);
}

TEST(CountsOf, AgreesWithSets) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    const Record r = random_record(seed, {.ncells = 5, .nnets = 12, .duplicates = true});
    std::set<int> used;
    std::set<std::set<int>> different;
    std::int64_t npins = 0;
    std::int64_t ndifferent = 0;
    std::int64_t npairs = 0;
    const std::vector<oracle::NetValue> nets = oracle::nets_of(r.h, false);
    for (const auto& [weight, pins] : nets) {
      const std::set<int> cells(pins.begin(), pins.end());
      used.insert(cells.begin(), cells.end());
      different.insert(cells);
      npins += static_cast<std::int64_t>(pins.size());
      ndifferent += static_cast<std::int64_t>(cells.size());
      for (const int a : cells)
        for (const int b : cells) npairs += a < b ? 1 : 0;
    }
    const Counts counts = counts_of(r.h);
    ASSERT_EQ(counts.ncells_used, used.size()) << seed;
    ASSERT_EQ(counts.highest_cell, used.empty() ? 0 : *used.rbegin()) << seed;
    ASSERT_EQ(counts.nparallel_nets, nets.size() - different.size()) << seed;
    ASSERT_EQ(counts.npins, npins) << seed;
    ASSERT_EQ(counts.nrepeated_pins, npins - ndifferent) << seed;
    ASSERT_EQ(counts.npairs, npairs) << seed;
  }
}

}  // namespace
}  // namespace quillon::measures
