#include "measures/components.h"

#include <gmock/gmock.h>

#include <set>
#include <vector>

#include "oracle/subsets.h"
#include "tests/support/records.h"

namespace quillon::measures {
namespace {

using ::testing::ElementsAre;

// Cells 2, 4 and 6 are joined, 1 and 5, and 3 and 7 are alone, 7 on a net of one pin.
Record example() { return Record({7, {{2, 4}, {1, 5}, {}, {6, 4}, {7}}}); }

TEST(ComponentsOf, NumbersThemBySizeAndFirstCell) {
  const Record record = example();
  const Components components = components_of(record.h);
  EXPECT_EQ(components.count(), 4);
  EXPECT_THAT(components.component_of, ElementsAre(0, 2, 1, 3, 1, 2, 1, 4));
  EXPECT_THAT(components.ncells, ElementsAre(0, 3, 2, 1, 1));
}

TEST(ComponentsOf, FindsNoneWithoutCells) {
  const Record record({0, {{}}});
  EXPECT_EQ(components_of(record.h).count(), 0);
}

TEST(ComponentsOf, AgreesWithSetsOnRandomRecords) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    Shape shape = random_shape(seed, {.ncells = 14, .nnets = 7, .duplicates = true});
    for (std::vector<int>& pins : shape.pins) pins.resize(std::min<std::size_t>(pins.size(), 3));
    const Record record(shape);
    const Components components = components_of(record.h);
    const std::vector<std::set<int>> sets = oracle::components(shape.pins, shape.ncells);
    ASSERT_EQ(components.count(), static_cast<int>(sets.size()));
    for (std::size_t k = 0; k < sets.size(); ++k) {
      EXPECT_EQ(components.ncells[k + 1], static_cast<int>(sets[k].size()));
      for (const int i : sets[k])
        EXPECT_EQ(components.component_of[static_cast<std::size_t>(i)], static_cast<int>(k) + 1);
    }
  }
}

TEST(CellsAround, CountsNets) {
  const Record record = example();
  EXPECT_THAT(cells_around(record.h, 2, 0), ElementsAre(2));
  EXPECT_THAT(cells_around(record.h, 2, 1), ElementsAre(2, 4));
  EXPECT_THAT(cells_around(record.h, 2, 2), ElementsAre(2, 4, 6));
  EXPECT_THAT(cells_around(record.h, 2, 2147483647), ElementsAre(2, 4, 6));
  EXPECT_THAT(cells_around(record.h, 3, 5), ElementsAre(3));
}

TEST(CellsAround, AgreesWithSetsOnRandomRecords) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    Shape shape = random_shape(seed, {.ncells = 20, .nnets = 20});
    for (std::vector<int>& pins : shape.pins) pins.resize(std::min<std::size_t>(pins.size(), 2));
    const Record record(shape);
    if (shape.ncells == 0) continue;
    const int cell = 1 + static_cast<int>(seed) % shape.ncells;
    std::set<int> cells{cell};
    for (int radius = 0; radius <= 6; ++radius) {
      EXPECT_EQ(cells_around(record.h, cell, radius), std::vector<int>(cells.begin(), cells.end()));
      cells = oracle::with_neighbours(shape.pins, cells);
    }
  }
}

}  // namespace
}  // namespace quillon::measures
