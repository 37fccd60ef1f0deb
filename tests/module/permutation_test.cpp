#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/destination.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using Permute = Recorded;
using PermuteByPart = Recorded;

constexpr unsigned kPermutations = 400;

// Orders use the entries from 1 on; entry 0 is unused.
std::vector<int> order_of(const std::vector<int>& numbers) {
  std::vector<int> order = {kMarker};
  order.insert(order.end(), numbers.begin(), numbers.end());
  return order;
}

std::vector<int> identity(int count) {
  std::vector<int> order(static_cast<std::size_t>(count) + 1);
  std::iota(order.begin(), order.end(), 0);
  order[0] = kMarker;
  return order;
}

std::vector<int> random_order(unsigned seed, int count) {
  std::mt19937 generator(seed);
  std::vector<int> order = identity(count);
  for (std::size_t i = order.size() - 1; i > 1; --i) std::swap(order[i], order[1 + generator() % i]);
  return order;
}

std::vector<int> inverse_of(const std::vector<int>& order) {
  std::vector<int> inverse(order.size(), kMarker);
  for (std::size_t i = 1; i < order.size(); ++i)
    inverse[static_cast<std::size_t>(order[i])] = static_cast<int>(i);
  return inverse;
}

int permute(const Hypergraph& h, Destination& d, const std::vector<int>& netperm, std::vector<int> cellperm) {
  return PermuteHypergraph(&h, &d.h, netperm.data(), cellperm.data());
}

// Three cells without a cell side.
Record three_cells_in_parts() {
  Record r({.ncells = 3,
            .pins = {{1, 2}, {3, 1, 2}, {}},
            .net_weights = {5, 6, 7},
            .cell_weights = {10, 20, 30},
            .parts = {0, 1, 2}},
           Side::kNets);
  for (int i = 1; i <= 3; ++i) r.h._clst[i].inw = 100 * i;
  return r;
}

// New net j is old net 2, 3, 1; new cell i is old cell 3, 1, 2.
const std::vector<int> kNetOrder = order_of({2, 3, 1});
const std::vector<int> kCellOrder = order_of({3, 1, 2});

TEST_F(Permute, RenumbersThePinsAndKeepsTheirOrderWithinANet) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);

  EXPECT_EQ(permute(r.h, d, kNetOrder, kCellOrder), 0);
  EXPECT_THAT(pins_of_nets(d.h), ElementsAre(ElementsAre(1, 2, 3), IsEmpty(), ElementsAre(2, 3)));
  EXPECT_THAT(of_nets(d.h, &Net::w), ElementsAre(6, 7, 5));
}

TEST_F(Permute, LaysThePinsOutInARowAndSetsTheSentinel) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(d.cell_list, ElementsAre(1, 2, 3, 2, 3, kMarker, kMarker));
  EXPECT_EQ(d.nets[1].pins, d.h._cell_list);
  EXPECT_EQ(d.nets[1].pinsend, d.h._cell_list + 2);
  EXPECT_EQ(d.nets[2].pins, d.h._cell_list + 3);
  EXPECT_EQ(d.nets[2].pinsend, d.h._cell_list + 2);
  EXPECT_EQ(d.nets[3].pins, d.h._cell_list + 3);
  EXPECT_EQ(d.nets[4].pins, d.h._cell_list + 5);
  EXPECT_EQ(d.nets[4].pinsend, nullptr);
  EXPECT_EQ(d.nets[0].w, kMarker);
}

TEST_F(Permute, GivesEachNewCellTheFieldsOfItsOldOne) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(of_cells(d.h, &Cell::w), ElementsAre(30, 10, 20));
  EXPECT_THAT(of_cells(d.h, &Cell::inw), ElementsAre(300, 100, 200));
  EXPECT_THAT(of_cells(d.h, &Cell::pno), ElementsAre(2, 0, 1));
  EXPECT_EQ(d.cells[0].w, kMarker);
  EXPECT_EQ(d.cells[4].w, kMarker);
}

TEST_F(Permute, BuildsTheCellSideFromTheNewNets) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(nets_of_cells(d.h), ElementsAre(ElementsAre(1), ElementsAre(1, 3), ElementsAre(1, 3)));
  EXPECT_THAT(of_cells(d.h, &Cell::wdeg), ElementsAre(6, 11, 11));
  EXPECT_EQ(d.cells[4].nets, d.h._net_list + 5);
  EXPECT_EQ(d.h._maxwcd, 0);
  EXPECT_EQ(d.h._maxcd, 2);
  EXPECT_EQ(d.h._mincd, 1);
}

TEST_F(Permute, ReturnsTheDegreesOfTheNewCellsInTheirOrder) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  const std::vector<int> netperm = kNetOrder;
  std::vector<int> cellperm = kCellOrder;
  PermuteHypergraph(&r.h, &d.h, netperm.data(), cellperm.data());

  EXPECT_THAT(cellperm, ElementsAre(0, 1, 2, 2));
  EXPECT_THAT(netperm, ElementsAre(kMarker, 2, 3, 1));
}

TEST_F(Permute, CopiesCountsTotalsAndFormatAndNoExtremes) {
  Record r = three_cells_in_parts();
  r.h._totcw = 901;
  r.h._totinw = 902;
  r.h._totnw = 903;
  r.h._virtualnets = 904;
  r.h._fmt = 3;
  r.h._maxwcd = r.h._maxcd = r.h._mincd = 905;
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(std::vector<int>({d.h._c, d.h._n, d.h._p}), ElementsAre(3, 3, 5));
  EXPECT_THAT(std::vector<int>({d.h._totcw, d.h._totinw, d.h._totnw, d.h._virtualnets, d.h._fmt}),
              ElementsAre(901, 902, 903, 904, 3));
  EXPECT_THAT(std::vector<int>({d.h._maxwcd, d.h._maxcd, d.h._mincd}), ElementsAre(0, 2, 1));
}

TEST_F(Permute, LeavesEverythingElseOfTheTargetAsItWas) {
  Record r = three_cells_in_parts();
  r.h._ninternets = 3;
  r.h._tag = 5;
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(left_elsewhere(d.h), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_EQ(d.h._ninternets, kMarker);
  EXPECT_EQ(d.h._internets, nullptr);
  EXPECT_EQ(d.h._tag, kMarker);
  EXPECT_THAT(d.clabel, Each(kMarker));
  EXPECT_THAT(d.nlabel, Each(kMarker));
}

TEST_F(Permute, DoesNotChangeTheSource) {
  const Record r = three_cells_in_parts();
  const Record same = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_EQ(r.cell_list, same.cell_list);
  EXPECT_EQ(r.net_list, same.net_list);
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), Each(kMarker));
  EXPECT_EQ(r.h._maxcd, kMarker);
}

TEST_F(Permute, AllocatesTheReverseMapOfTheCellsAndFreesIt) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, kNetOrder, kCellOrder);

  EXPECT_THAT(recorder::requests(), ElementsAre("imalloc 5 rcwork", "free rcwork"));
}

TEST_F(Permute, EndsTheProgramWhenThereIsNoRoomForTheReverseMap) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  recorder::fail_allocation(1);

  EXPECT_EQ(recorder::fatal_text([&] { permute(r.h, d, kNetOrder, kCellOrder); }), "rcwork");
  EXPECT_EQ(d.h._c, kMarker);
}

TEST_F(Permute, OneArrayMayBeTheOrderOfBoth) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  std::vector<int> order = kCellOrder;
  PermuteHypergraph(&r.h, &d.h, order.data(), order.data());

  // Old net 3 comes first, and old cell 3.
  EXPECT_THAT(pins_of_nets(d.h), ElementsAre(IsEmpty(), ElementsAre(2, 3), ElementsAre(1, 2, 3)));
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 2));
}

TEST_F(Permute, WithTheIdentityGivesTheSourceAgain) {
  const Record r = three_cells_in_parts();
  Destination d(r.h);
  permute(r.h, d, identity(3), identity(3));

  EXPECT_EQ(pins_of_nets(d.h), pins_of_nets(r.h));
  EXPECT_EQ(of_nets(d.h, &Net::w), of_nets(r.h, &Net::w));
  EXPECT_EQ(of_cells(d.h, &Cell::w), of_cells(r.h, &Cell::w));
  EXPECT_EQ(of_cells(d.h, &Cell::inw), of_cells(r.h, &Cell::inw));
  EXPECT_EQ(of_cells(d.h, &Cell::pno), of_cells(r.h, &Cell::pno));
  EXPECT_THAT(nets_of_cells(d.h), ElementsAre(ElementsAre(1, 2), ElementsAre(1, 2), ElementsAre(2)));
  EXPECT_EQ(d.h._maxwcd, 0);
}

TEST_F(Permute, WithoutNetsTheFirstOneIsTheSentinel) {
  const Record r({.ncells = 2, .cell_weights = {8, 9}});
  Destination d(r.h);
  std::vector<int> cellperm = order_of({2, 1});
  const int none = kMarker;
  PermuteHypergraph(&r.h, &d.h, &none, cellperm.data());

  EXPECT_EQ(d.nets[1].pins, d.h._cell_list);
  EXPECT_EQ(d.cells[3].nets, d.h._net_list);
  EXPECT_THAT(of_cells(d.h, &Cell::w), ElementsAre(9, 8));
  EXPECT_THAT(cellperm, Each(0));
  EXPECT_EQ(d.h._mincd, 0);
}

TEST_F(Permute, WithoutCellsTheSmallestDegreeIsThatOfNone) {
  const Record r({.ncells = 0, .pins = {{}, {}}, .net_weights = {8, 9}});
  Destination d(r.h);
  std::vector<int> cellperm = {kMarker};
  PermuteHypergraph(&r.h, &d.h, order_of({2, 1}).data(), cellperm.data());

  EXPECT_THAT(of_nets(d.h, &Net::w), ElementsAre(9, 8));
  EXPECT_EQ(d.nets[3].pins, d.h._cell_list);
  EXPECT_EQ(d.cells[1].nets, d.h._net_list);
  EXPECT_THAT(cellperm, ElementsAre(0));
  EXPECT_EQ(d.h._mincd, 2000000000);
  EXPECT_EQ(d.h._maxcd, 0);
}

TEST_F(Permute, TreatsANetWithoutAPinListAsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  Destination d(r.h);
  permute(r.h, d, order_of({2, 1}), order_of({2, 1}));

  EXPECT_THAT(pins_of_nets(d.h), ElementsAre(ElementsAre(2, 1), IsEmpty()));
  EXPECT_EQ(d.nets[2].pins, d.h._cell_list + 2);
  EXPECT_EQ(d.nets[2].pinsend, d.h._cell_list + 1);
}

TEST_F(Permute, KeepsACellThatANetNamesTwice) {
  const Record r({.ncells = 2, .pins = {{1, 2, 1}}});
  Destination d(r.h);
  permute(r.h, d, identity(1), order_of({2, 1}));

  EXPECT_THAT(pins_of_nets(d.h), ElementsAre(ElementsAre(2, 1, 2)));
  EXPECT_THAT(nets_of_cells(d.h), ElementsAre(ElementsAre(1), ElementsAre(1, 1)));
}

TEST_F(Permute, WrapsWeightedDegrees) {
  const Record r({.ncells = 2, .pins = {{1}, {1, 2}}, .net_weights = {kMost, kMost}});
  Destination d(r.h);
  permute(r.h, d, order_of({2, 1}), order_of({2, 1}));

  EXPECT_THAT(of_cells(d.h, &Cell::wdeg), ElementsAre(kMost, -2));
}

TEST_F(Permute, AgreesWithItsTwinOnRandomOrders) {
  for (unsigned seed = 1; seed <= kPermutations; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    const Shape shape = random_shape(seed, {.nnets = seed % 20 == 0 ? 120 : 9, .duplicates = seed % 2 == 0});
    const Record r(shape, Side::kNets);
    const std::vector<int> netperm = random_order(seed, r.h._n);
    std::vector<int> cellperm = random_order(seed + 1, r.h._c);
    std::vector<int> expected_cellperm = cellperm;
    Destination d(r.h), expected(r.h);
    PermuteHypergraph(&r.h, &d.h, netperm.data(), cellperm.data());
    oracle::PermuteHypergraph(&r.h, &expected.h, netperm.data(), expected_cellperm.data());

    EXPECT_EQ(image_of(d), image_of(expected));
    EXPECT_EQ(cellperm, expected_cellperm);
    if (seed % 2 != 0) {
      EXPECT_EQ(recorder::fatal_text([&] { CheckListsofHypergraph(&d.h); }), recorder::kSound);
      EXPECT_EQ(recorder::fatal_text([&] { CheckListsofContinuesHypergraph(&d.h, d.h._n); }),
                recorder::kSound);
    }
    EXPECT_THAT(recorder::held(), IsEmpty());
  }
}

TEST_F(Permute, ByAnOrderAndThenItsInverseGivesTheHypergraphBack) {
  for (unsigned seed = 1; seed <= kPermutations; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Record r = random_record(seed, {.duplicates = true});
    const std::vector<int> netperm = random_order(seed, r.h._n);
    const std::vector<int> cellperm = random_order(seed + 1, r.h._c);
    Destination there(r.h), back(r.h);
    permute(r.h, there, netperm, cellperm);
    permute(there.h, back, inverse_of(netperm), inverse_of(cellperm));

    EXPECT_EQ(back.cell_list, r.cell_list);
    EXPECT_EQ(back.net_list, r.net_list);
    EXPECT_EQ(of_nets(back.h, &Net::w), of_nets(r.h, &Net::w));
    EXPECT_EQ(of_cells(back.h, &Cell::w), of_cells(r.h, &Cell::w));
    EXPECT_EQ(of_cells(back.h, &Cell::pno), of_cells(r.h, &Cell::pno));
  }
}

TEST_F(PermuteByPart, PutsTheCellsOfPart0First) {
  // Parts 1, 0, 1 give the order 2, 1, 3.
  Record r({.ncells = 3,
            .pins = {{1, 2}, {2}, {3, 1}},
            .net_weights = {5, 6, 7},
            .cell_weights = {10, 20, 30},
            .parts = {1, 0, 1}});
  r.cells[0].pno = r.cells[4].pno = 0;  // of no cells
  Destination d(r.h);
  SymmetricPermute(&r.h, 2, &d.h);

  EXPECT_THAT(of_cells(d.h, &Cell::w), ElementsAre(20, 10, 30));
  EXPECT_THAT(of_cells(d.h, &Cell::pno), ElementsAre(0, 1, 1));
  EXPECT_THAT(of_nets(d.h, &Net::w), ElementsAre(6, 5, 7));
  EXPECT_THAT(pins_of_nets(d.h), ElementsAre(ElementsAre(1), ElementsAre(2, 1), ElementsAre(3, 2)));
  EXPECT_THAT(nets_of_cells(d.h), ElementsAre(ElementsAre(1, 2), ElementsAre(2, 3), ElementsAre(3)));
  EXPECT_EQ(d.h._maxwcd, 0);
}

TEST_F(PermuteByPart, PutsCellsOfNoPartLastInTheirOldOrder) {
  const Record r({.ncells = 5,
                  .pins = {{}, {}, {}, {}, {}},
                  .cell_weights = {10, 20, 30, 40, 50},
                  .parts = {2, 1, -1, 2000000000, 0}});
  Destination d(r.h);
  SymmetricPermute(&r.h, 2, &d.h);

  EXPECT_THAT(of_cells(d.h, &Cell::w), ElementsAre(50, 20, 10, 30, 40));
}

TEST_F(PermuteByPart, AllocatesItsScratchAndFreesItNewestFirst) {
  const Record r({.ncells = 3, .pins = {{}, {}, {}}, .parts = {1, 0, 1}});
  Destination d(r.h);
  SymmetricPermute(&r.h, 2, &d.h);

  EXPECT_THAT(recorder::requests(), ElementsAre("imalloc 2 con", "imalloc 5 cwork", "imalloc 5 rcwork",  //
                                                "free rcwork", "free cwork", "free con"));
}

TEST_F(PermuteByPart, EndsTheProgramWithTheTagOfTheBlockThatFails) {
  const Record r({.ncells = 3, .pins = {{}, {}, {}}, .parts = {1, 0, 1}});
  int n = 0;
  for (const char* const tag : {"con", "cwork", "rcwork"}) {
    recorder::reset();
    Destination d(r.h);
    recorder::fail_allocation(++n);
    EXPECT_EQ(recorder::fatal_text([&] { SymmetricPermute(&r.h, 2, &d.h); }), tag);
  }
}

TEST_F(PermuteByPart, KeepsTheNumbersWhenAllCellsAreInOnePart) {
  for (const int part : {0, 2, 4}) {
    const Record r({.ncells = 3, .pins = {{3, 1}, {2}, {}}, .parts = {part, part, part}});
    Destination d(r.h);
    SymmetricPermute(&r.h, 5, &d.h);

    EXPECT_EQ(d.cell_list, r.cell_list);
    EXPECT_EQ(d.net_list, r.net_list);
  }
}

TEST_F(PermuteByPart, RefusesAnotherNumberOfNetsThanOfCellsBeforeItAllocatesAnything) {
  const Record more_nets({.ncells = 4, .pins = {{}, {}, {}, {}, {}}, .parts = {0, 0, 0, 0}});
  Destination d(more_nets.h);
  EXPECT_EQ(recorder::fatal_text([&] { SymmetricPermute(&more_nets.h, 1, &d.h); }),
            "SymmetricPermute only run in symmetric hypergraphs (#C:4 #N:5)");

  const Record more_cells({.ncells = 1, .parts = {0}});
  EXPECT_EQ(recorder::fatal_text([&] { SymmetricPermute(&more_cells.h, 1, &d.h); }),
            "SymmetricPermute only run in symmetric hypergraphs (#C:1 #N:0)");
  EXPECT_THAT(recorder::requests(), IsEmpty());
  EXPECT_EQ(d.h._c, kMarker);
}

TEST_F(PermuteByPart, OfNothingAllowsZeroParts) {
  const Record r(Shape{});
  Destination d(r.h);
  SymmetricPermute(&r.h, 0, &d.h);

  EXPECT_THAT(recorder::requests({"imalloc"}),
              ElementsAre("imalloc 0 con", "imalloc 2 cwork", "imalloc 2 rcwork"));
  EXPECT_EQ(d.nets[1].pins, d.h._cell_list);
  EXPECT_EQ(d.cells[1].nets, d.h._net_list);
  EXPECT_EQ(d.h._mincd, 2000000000);
}

TEST_F(PermuteByPart, AgreesWithItsTwinOnRandomParts) {
  for (unsigned seed = 1; seed <= kPermutations; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    Shape shape = random_shape(seed, {.nparts = 4, .duplicates = true});
    shape.pins.resize(at(shape.ncells));
    shape.net_weights.resize(at(shape.ncells), 1);
    const Record r(shape);
    Destination d(r.h), expected(r.h);
    SymmetricPermute(&r.h, 4, &d.h);
    oracle::SymmetricPermute(&r.h, 4, &expected.h);

    EXPECT_EQ(image_of(d), image_of(expected));
    EXPECT_TRUE(std::is_sorted(d.cells.begin() + 1, d.cells.end() - 1,
                               [](const Cell& a, const Cell& b) { return a.pno < b.pno; }));
    EXPECT_THAT(recorder::held(), IsEmpty());
  }
}

}  // namespace
}  // namespace quillon
