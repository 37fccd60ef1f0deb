#include "measures/union.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "oracle/nets.h"
#include "tests/support/records.h"
#include "tests/support/throwing.h"

namespace quillon::measures {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

std::vector<int> identity(int ncells) {
  std::vector<int> cells(static_cast<std::size_t>(ncells) + 1);
  std::iota(cells.begin(), cells.end(), 0);
  return cells;
}

// A union, freed with this object.
struct Joined {
  Joined(const std::vector<Operand>& operands, int ncells, bool distinct = false)
      : made(unite(operands, ncells, distinct, &h)) {}
  ~Joined() { free_hypergraph(&h); }
  Joined(const Joined&) = delete;
  Joined& operator=(const Joined&) = delete;

  Hypergraph h = {};
  Union made;
};

TEST(Unite, AppendsTheNetsOfAllOnTheSameCells) {
  const Record a({.ncells = 3, .pins = {{1, 2}, {}}, .net_weights = {4, 5}, .cell_weights = {7, 8, 9}});
  const Record b({.ncells = 3, .pins = {{3, 1}}, .net_weights = {6}, .cell_weights = {7, 8, 9}});
  const Joined joined({{&a.h, identity(3)}, {&b.h, identity(3)}}, 3);
  EXPECT_EQ(pins_of_nets(joined.h), (Lists{{1, 2}, {}, {3, 1}}));
  EXPECT_EQ(nets_of_cells(joined.h), (Lists{{1, 3}, {1}, {3}}));
  EXPECT_THAT(of_nets(joined.h, &Net::w), ElementsAre(4, 5, 6));
  EXPECT_THAT(of_cells(joined.h, &Cell::w), ElementsAre(7, 8, 9));
  EXPECT_THAT(joined.made.nets,
              ElementsAre(FieldsAre(0, 0), FieldsAre(0, 1), FieldsAre(0, 2), FieldsAre(1, 1)));
  EXPECT_EQ(joined.made.conflict, 0);
  EXPECT_EQ(joined.h._totnw, 15);
  EXPECT_EQ(joined.h._totcw, 24);
  EXPECT_EQ(joined.h._fmt, 3);
}

TEST(Unite, KeepsOneOfEqualNetsOnRequest) {
  const Record a({.ncells = 3, .pins = {{1, 2}, {1, 2, 2}}, .net_weights = {1, 1}});
  const Record b({.ncells = 3, .pins = {{2, 1}, {2, 1, 1}, {1, 2}}, .net_weights = {1, 1, 2}});
  const Joined joined({{&a.h, identity(3)}, {&b.h, identity(3)}}, 3, true);
  EXPECT_EQ(pins_of_nets(joined.h), (Lists{{1, 2}, {1, 2, 2}, {2, 1, 1}, {1, 2}}));
}

TEST(Unite, TellsTheFirstCellOfSeveralWeights) {
  const Record a({.ncells = 3, .cell_weights = {1, 2, 3}});
  const Record b({.ncells = 3, .cell_weights = {1, 2, 4}});
  const Record c({.ncells = 3, .cell_weights = {1, 5, 3}});
  EXPECT_EQ(Joined({{&a.h, identity(3)}, {&b.h, identity(3)}, {&c.h, identity(3)}}, 3).made.conflict, 2);
}

TEST(Unite, OfNothingIsEmpty) {
  const Joined joined({}, 0);
  EXPECT_EQ(joined.h._c, 0);
  EXPECT_EQ(joined.h._n, 0);
}

TEST(Unite, RefusesMoreNetsThanARecordCanHave) {
  const Record a({});
  Hypergraph large = a.h;
  large._n = 2000000000;
  Hypergraph joined = {};
  const std::vector<Operand> operands{{&large, {0}}, {&large, {0}}};
  EXPECT_EQ(fatal_text([&] { unite(operands, 0, false, &joined); }),
            "4000000000 nets are too many for one hypergraph");
}

TEST(Unite, AgreesWithSets) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    const RandomLimits limits{.ncells = 4, .nnets = 8, .weight = 2, .duplicates = true};
    const Record a = random_record(seed, limits);
    const Record b = random_record(seed + 1000000, limits);
    // The cells of b come first, in reverse order; those of a are at the other end, and some are the same.
    const int ncells = std::max({a.h._c, b.h._c, (a.h._c + b.h._c) * 2 / 3});
    std::vector<int> of_a = identity(a.h._c);
    std::vector<int> of_b = identity(b.h._c);
    for (std::size_t i = 1; i < of_a.size(); ++i) of_a[i] += ncells - a.h._c;
    std::reverse(of_b.begin() + 1, of_b.end());
    const bool distinct = seed % 2 == 0;
    const Joined joined({{&a.h, of_a}, {&b.h, of_b}}, ncells, distinct);
    std::vector<oracle::NetValue> expected;
    for (const auto& [record, cells] : {std::pair{&a, &of_a}, std::pair{&b, &of_b}})
      for (oracle::NetValue net : oracle::nets_of(record->h, false)) {
        for (int& i : net.second) i = (*cells)[static_cast<std::size_t>(i)];
        expected.push_back(net);
      }
    if (distinct) expected = oracle::distinct(expected);
    ASSERT_EQ(oracle::nets_of(joined.h, false), expected) << seed;
    ASSERT_EQ(nets_of_cells(joined.h), nets_of_cells(Shape{ncells, pins_of_nets(joined.h)})) << seed;
  }
}

}  // namespace
}  // namespace quillon::measures
