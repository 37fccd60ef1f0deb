#include "measures/simplification.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "measures/partition.h"
#include "oracle/nets.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"
#include "tests/support/throwing.h"

namespace quillon::measures {
namespace {

using testing::ElementsAre;

constexpr Simplifications kAll{true, true, true, true};

// A simplified hypergraph, freed with this object.
struct Simple {
  Simple(const Hypergraph& source, const Simplifications& wanted) : made(simplify(source, wanted, &h)) {}
  ~Simple() { free_hypergraph(&h); }
  Simple(const Simple&) = delete;
  Simple& operator=(const Simple&) = delete;

  Hypergraph h = {};
  Simplification made;
};

TEST(Simplify, KeepsEachCellOfANetOnce) {
  const Record source({.ncells = 3, .pins = {{3, 1, 3, 3}, {2, 2}}});
  const Simple simple(source.h, {.repeated_pins = true});
  EXPECT_EQ(pins_of_nets(simple.h), (Lists{{3, 1}, {2}}));
  EXPECT_EQ(simple.made.repeated_pins, 3);
}

TEST(Simplify, DropsNetsOfOnePinOrNone) {
  const Record source({.ncells = 3, .pins = {{1}, {}, {2, 3}, {2}}, .net_weights = {4, 5, 6, 7}});
  const Simple simple(source.h, {.small_nets = true});
  EXPECT_EQ(pins_of_nets(simple.h), (Lists{{2, 3}}));
  EXPECT_THAT(simple.made.nets, ElementsAre(0, 3));
  EXPECT_THAT(simple.made.new_nets, ElementsAre(0, 0, 0, 1, 0));
  EXPECT_EQ(simple.made.one_pin_nets, 2);
  EXPECT_EQ(simple.made.one_pin_weight, 11);
  EXPECT_EQ(simple.made.empty_nets, 1);
  EXPECT_EQ(simple.made.empty_weight, 5);
}

TEST(Simplify, AddsTheWeightsOfParallelNets) {
  const Record source(
      {.ncells = 3, .pins = {{1, 2}, {2, 3}, {2, 1}, {1, 2, 2}, {1, 2, 3}}, .net_weights = {4, 5, 6, 7, 8}});
  const Simple simple(source.h, {.parallel_nets = true});
  EXPECT_EQ(pins_of_nets(simple.h), (Lists{{1, 2}, {2, 3}, {1, 2, 3}}));
  EXPECT_THAT(of_nets(simple.h, &Net::w), ElementsAre(17, 5, 8));
  EXPECT_THAT(simple.made.new_nets, ElementsAre(0, 1, 2, 1, 1, 3));
  EXPECT_EQ(simple.made.merged_nets, 2);
}

TEST(Simplify, DropsCellsOnDroppedNets) {
  const Record source({.ncells = 5, .pins = {{2, 4}, {5}}, .cell_weights = {1, 2, 3, 4, 5}});
  const Simple simple(source.h, kAll);
  EXPECT_EQ(pins_of_nets(simple.h), (Lists{{1, 2}}));
  EXPECT_THAT(of_cells(simple.h, &Cell::w), ElementsAre(2, 4));
  EXPECT_THAT(simple.made.cells, ElementsAre(0, 2, 4));
  EXPECT_THAT(simple.made.new_cells, ElementsAre(0, 0, 1, 0, 2, 0));
}

TEST(Simplify, MayLeaveNothing) {
  const Record source({.ncells = 2, .pins = {{1}, {}}});
  const Simple simple(source.h, kAll);
  EXPECT_EQ(simple.h._c, 0);
  EXPECT_EQ(simple.h._n, 0);
  EXPECT_EQ(simple.h._p, 0);
  const Simple nothing(Record({}).h, kAll);
  EXPECT_EQ(nothing.h._c, 0);
}

TEST(Simplify, RefusesWeightsBeyond32Bits) {
  const Record source({.ncells = 3, .pins = {{3}, {1, 2}, {2, 1}}, .net_weights = {1, kMost, 1}});
  Hypergraph h = {};
  EXPECT_EQ(fatal_text([&] { simplify(source.h, {.parallel_nets = true}, &h); }),
            "net 2 and those parallel to it weigh 2147483648 together, more than 32 bits hold");
}

Simplifications steps_of(unsigned seed) {
  return {(seed & 1U) != 0, (seed & 2U) != 0, (seed & 4U) != 0, (seed & 8U) != 0};
}

TEST(Simplify, AgreesWithSets) {
  constexpr unsigned kRounds = 3000;
  for (unsigned seed = 0; seed < kRounds; ++seed) {
    const Record source = random_record(seed, {.ncells = 5, .nnets = 12, .duplicates = true});
    const Simplifications wanted = steps_of(seed);
    const Simple simple(source.h, wanted);
    const oracle::Simple twin = oracle::simplify(
        source.h, {wanted.repeated_pins, wanted.small_nets, wanted.parallel_nets, wanted.isolated_cells});
    auto nets = oracle::nets_of(simple.h, false);
    for (oracle::NetValue& net : nets)
      for (int& i : net.second) i = simple.made.cells[static_cast<std::size_t>(i)];
    ASSERT_EQ(nets, twin.nets) << seed;
    ASSERT_EQ(std::vector<int>(simple.made.cells.begin() + 1, simple.made.cells.end()), twin.cells) << seed;
    ASSERT_EQ(std::vector<int>(simple.made.nets.begin() + 1, simple.made.nets.end()), twin.net_origins)
        << seed;
    for (int i = 1; i <= simple.h._c; ++i)
      ASSERT_EQ(simple.h._clst[i].w, source.h._clst[simple.made.cells[static_cast<std::size_t>(i)]].w)
          << seed;
    ASSERT_EQ(nets_of_cells(simple.h), nets_of_cells(Shape{simple.h._c, pins_of_nets(simple.h)})) << seed;
  }
}

TEST(Simplify, KeepsTheCutOfAnyPartition) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    const Record source = random_record(seed, {.ncells = 6, .nnets = 12, .duplicates = true});
    const Simple simple(source.h, kAll);
    Partition before{{0}, 3};
    Partition after{{0}, 3};
    for (int i = 1; i <= source.h._c; ++i) before.parts.push_back(source.h._clst[i].pno);
    for (int i = 1; i <= simple.h._c; ++i) after.parts.push_back(simple.h._clst[i].pno);
    const CutSizes expected = cut_sizes(source.h, before);
    const CutSizes found = cut_sizes(simple.h, after);
    ASSERT_EQ(found.cut, expected.cut) << seed;
    ASSERT_EQ(found.connectivity_minus_one, expected.connectivity_minus_one) << seed;
    ASSERT_EQ(found.sum_of_external_degrees, expected.sum_of_external_degrees) << seed;
  }
}

}  // namespace
}  // namespace quillon::measures
