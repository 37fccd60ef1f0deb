#include "formats/extract.h"

#include <gmock/gmock.h>

#include <set>
#include <vector>

#include "oracle/subsets.h"
#include "tests/support/records.h"

namespace quillon::formats {
namespace {

using ::testing::ElementsAre;

std::vector<int> numbers(const std::set<int>& set) { return {set.begin(), set.end()}; }

std::vector<std::vector<int>> nets_of(const NetLists& lists) {
  std::vector<std::vector<int>> nets;
  for (std::size_t j = 1; j <= static_cast<std::size_t>(lists.nnets); ++j)
    nets.emplace_back(lists.nadj.data() + lists.xnadj[j], lists.nadj.data() + lists.xnadj[j + 1]);
  return nets;
}

// Each cell with a chance of one in two.
std::set<int> random_cells(const Shape& shape, unsigned seed) {
  std::mt19937 generator(seed);
  std::set<int> cells;
  for (int i = 1; i <= shape.ncells; ++i)
    if (generator() % 2 == 0) cells.insert(i);
  return cells;
}

TEST(NetsOn, FindsNetsWithSomeOrAllPinsOnCells) {
  const quillon::Record record({4, {{1, 2}, {}, {3, 4}, {2, 3}, {2}}});
  EXPECT_THAT(nets_on(record.h, {1, 2}, false), ElementsAre(1, 4, 5));
  EXPECT_THAT(nets_on(record.h, {1, 2}, true), ElementsAre(1, 5));
  EXPECT_THAT(nets_on(record.h, {}, true), ElementsAre());
}

TEST(CellsOn, FindsTheCellsOfNets) {
  const quillon::Record record({4, {{4, 2}, {}, {3, 4}, {2, 3}}});
  EXPECT_THAT(cells_on(record.h, {1, 2, 3}), ElementsAre(2, 3, 4));
  EXPECT_THAT(cells_on(record.h, {2}), ElementsAre());
}

TEST(Extract, NumbersCellsAndNetsAnewAndKeepsTheirWeights) {
  const quillon::Record record({.ncells = 4,
                                .pins = {{4, 1, 2}, {3}, {2, 3, 4}},
                                .net_weights = {7, 8, 9},
                                .cell_weights = {10, 20, 30, 40}});
  const NetLists part = extract(record.h, {2, 4}, {1, 3});
  EXPECT_EQ(part.ncells, 2);
  EXPECT_THAT(nets_of(part), ElementsAre(ElementsAre(2, 1), ElementsAre(1, 2)));
  EXPECT_THAT(part.cell_weights, ElementsAre(0, 20, 40));
  EXPECT_THAT(part.net_weights, ElementsAre(0, 7, 9));
}

TEST(Extract, AgreesWithSetsOnRandomRecords) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape(seed, {.ncells = 12, .nnets = 12, .duplicates = true});
    const quillon::Record record(shape);
    const std::set<int> cells = random_cells(shape, seed);
    for (const bool whole : {false, true}) {
      std::vector<int> nets;
      std::vector<std::vector<int>> pins;
      for (std::size_t j = 0; j < shape.pins.size(); ++j) {
        const std::vector<int> net = oracle::cut_down(shape.pins[j], cells);
        if (net.empty() || (whole && net.size() < shape.pins[j].size())) continue;
        nets.push_back(static_cast<int>(j) + 1);
        pins.push_back(net);
      }
      EXPECT_EQ(nets_on(record.h, numbers(cells), whole), nets);
      const NetLists part = extract(record.h, numbers(cells), nets);
      EXPECT_EQ(nets_of(part), pins);
      EXPECT_EQ(part.ncells, static_cast<int>(cells.size()));
    }
  }
}

}  // namespace
}  // namespace quillon::formats
