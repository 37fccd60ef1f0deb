#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
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
using testing::SizeIs;

using PruningCopy = Recorded;

const std::vector<int> kOtherModes = {kLeast, -2, -1, 0, 1, 3, kMost};

// Sizes 1, 2, 0, 3, 2, 1. The first pass changes the order 1 .. 6 to
//   6 2 3 4 5 1,  5 2 3 4 6 1,  5 2 4 3 6 1
// and finds three nets of two pins or more; with maxsize 3, the second pass sets the third of them aside.
Record six_nets() {
  Record r({.ncells = 4,
            .pins = {{1}, {1, 2}, {}, {4, 2, 1}, {3, 1}, {4}},
            .net_weights = {10, 20, 30, 40, 50, 60},
            .cell_weights = {5, 6, 7, 8},
            .parts = {1, 0, 3, 2}});
  for (int i = 1; i <= 4; ++i) r.h._clst[i].inw = 1000 * i;
  r.h._totinw = 10000;
  r.h._virtualnets = 700;
  r.h._fmt = 3;
  return r;
}

// A pruning copy of a record and its destination.
struct Pruned {
  Pruned(const Record& source, int maxsize, int mode = kAccount)
      : d(source.h), result(prune(source.h, d, maxsize, mode)) {}

  Destination d;
  int result;
  const Hypergraph& h = d.h;
};

TEST_F(PruningCopy, OrdersKeptNetsThenSetAsideOnesThenPrunedOnes) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_EQ(copy.result, 0);
  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 5, 2, 4, 3, 6, 1));
  EXPECT_EQ(copy.d.nmulti, 3);
  EXPECT_EQ(copy.h._n, 2);
}

TEST_F(PruningCopy, LabelsNetsAndCellsWithTheirSourceNumbers) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_THAT(copy.d.nlabel, ElementsAre(kMarker, 5, 2, 4, 3, 6, 1));
  EXPECT_THAT(copy.d.clabel, ElementsAre(kMarker, 1, 2, 3, 4));
}

TEST_F(PruningCopy, CopiesPinsOfKeptAndSetAsideNetsInARow) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_THAT(copy.d.cell_list, ElementsAre(3, 1, 1, 2, 4, 2, 1, kMarker, kMarker, kMarker, kMarker));
  EXPECT_THAT(pins_of_nets(copy.d, 1, 3),
              ElementsAre(ElementsAre(3, 1), ElementsAre(1, 2), ElementsAre(4, 2, 1)));
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_EQ(copy.h._nlst[3].pins, copy.h._cell_list + 4);
  EXPECT_THAT(std::vector<int>({copy.h._nlst[1].w, copy.h._nlst[2].w, copy.h._nlst[3].w}),
              ElementsAre(50, 20, 40));
}

TEST_F(PruningCopy, TheSentinelNetFollowsTheSetAsideOnes) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_EQ(copy.h._nlst[4].pins, copy.h._cell_list + 7);
  EXPECT_EQ(copy.h._nlst[4].pinsend, nullptr);
  EXPECT_EQ(copy.h._nlst[4].w, kMarker);
  EXPECT_EQ(copy.h._nlst[5].pins, nullptr);
  EXPECT_EQ(copy.h._nlst[0].w, kMarker);
}

TEST_F(PruningCopy, CountsTheCopiedNetsOfEachCell) {
  const Record r = six_nets();
  EXPECT_THAT(Pruned(r, 3).d.celldeg, ElementsAre(0, 3, 2, 1, 1));
}

TEST_F(PruningCopy, GivesEachCellARegionForItsCopiedNets) {
  const Record r = six_nets();
  const Pruned copy(r, 3);
  const std::vector<Cell>& cells = copy.d.cells;

  EXPECT_THAT(copy.d.net_list, ElementsAre(1, 2, 3, 2, 3, 1, 3, kMarker, kMarker, kMarker, kMarker));
  EXPECT_EQ(cells[1].nets, copy.h._net_list);
  EXPECT_EQ(cells[2].nets, copy.h._net_list + 3);
  EXPECT_EQ(cells[3].nets, copy.h._net_list + 5);
  EXPECT_EQ(cells[4].nets, copy.h._net_list + 6);
  EXPECT_EQ(cells[5].nets, copy.h._net_list + 7);
  EXPECT_EQ(cells[5].netsend, nullptr);
}

TEST_F(PruningCopy, ACellsListHoldsItsKeptNetsAndCellendIsAfterThem) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_THAT(nets_of_cells(copy.h),
              ElementsAre(ElementsAre(1, 2), ElementsAre(2), ElementsAre(1), IsEmpty()));
  EXPECT_THAT(copy.d.cellend, ElementsAre(Destination::elsewhere, copy.h._net_list + 2, copy.h._net_list + 4,
                                          copy.h._net_list + 6, copy.h._net_list + 6));
  for (std::size_t i = 1; i <= 4; ++i) EXPECT_EQ(copy.d.cells[i].netsend, copy.d.cellend[i] - 1) << i;
}

TEST_F(PruningCopy, SetAsideNetsFollowTheListFromTheEndOfTheRegion) {
  // All nets except the second have maxsize 3 pins or more. They move to the end by exchanges.
  const Record r({.ncells = 3, .pins = {{1, 2, 3}, {1, 2}, {3, 2, 1}, {1, 3, 2, 1}}});
  const Pruned copy(r, 3);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 2, 3, 4, 1));
  EXPECT_THAT(nets_of_cells(copy.h), ElementsAre(ElementsAre(1), ElementsAre(1), IsEmpty()));
  EXPECT_THAT(set_aside_of_cells(copy.d),
              ElementsAre(ElementsAre(4, 3, 3, 2), ElementsAre(4, 3, 2), ElementsAre(4, 3, 2)));
}

TEST_F(PruningCopy, CopiesWeightsAndPartsOfTheCells) {
  const Record r = six_nets();
  const Pruned copy(r, 3, 0);

  EXPECT_THAT(of_cells(copy.h, &Cell::w), ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(1000, 2000, 3000, 4000));
  EXPECT_THAT(of_cells(copy.h, &Cell::pno), ElementsAre(1, 0, 3, 2));
  EXPECT_EQ(copy.d.cells[0].w, kMarker);
  EXPECT_EQ(copy.d.cells[5].w, kMarker);
}

TEST_F(PruningCopy, DegreesAndTheirExtremesAreOfKeptNetsOnly) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(70, 20, 50, 0));
  EXPECT_EQ(copy.h._maxwcd, 70);
  EXPECT_EQ(copy.h._maxcd, 2);
  EXPECT_EQ(copy.h._mincd, 0);
}

TEST_F(PruningCopy, TheSmallestDegreeMayBeAboveZero) {
  const Record r({.ncells = 2, .pins = {{1, 2}, {2, 1}}, .net_weights = {3, 4}});
  const Pruned copy(r, 3);

  EXPECT_EQ(copy.h._mincd, 2);
  EXPECT_EQ(copy.h._maxcd, 2);
  EXPECT_EQ(copy.h._maxwcd, 7);
}

TEST_F(PruningCopy, OfNegativeWeightsTheLargestWeightedDegreeIsZero) {
  const Record r({.ncells = 2, .pins = {{1, 2}}, .net_weights = {-3}});
  const Pruned copy(r, 3);

  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(-3, -3));
  EXPECT_EQ(copy.h._maxwcd, 0);
}

TEST_F(PruningCopy, AccountsForThePrunedNetsInMode2) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  // In their order after the copied nets: net 3, which has no pin, then 6 and 1.
  EXPECT_EQ(copy.h._ninternets, 2);
  EXPECT_THAT(internets(copy.h), ElementsAre(ElementsAre(6, 4), ElementsAre(1, 1)));
  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(1010, 2000, 3000, 4060));
  EXPECT_EQ(copy.h._totinw, 10070);
  EXPECT_EQ(copy.h._virtualnets, 730);
  EXPECT_EQ(copy.h._totnw, 140);  // 210 minus 40 set aside and 30 of the net without pins
  EXPECT_EQ(copy.h._p, 4);        // 9 minus three set aside and two of one-pin nets
}

TEST_F(PruningCopy, CountsThePrunedNetsButMovesNoWeightInAnyOtherMode) {
  const Record r = six_nets();
  for (const int mode : kOtherModes) {
    SCOPED_TRACE(testing::Message() << "mode " << mode);
    Destination d(r.h);
    InternalNet old = {1, 1};
    d.h._internets = &old;
    prune(r.h, d, 3, mode);

    EXPECT_EQ(d.h._ninternets, 2);
    EXPECT_EQ(d.h._internets, nullptr);
    EXPECT_THAT(of_cells(d.h, &Cell::inw), ElementsAre(1000, 2000, 3000, 4000));
    EXPECT_EQ(d.h._totinw, 10000);
    EXPECT_EQ(d.h._virtualnets, 700);
    EXPECT_EQ(d.h._totnw, 170);
    EXPECT_EQ(d.h._p, 4);
    EXPECT_THAT(d.netorder, ElementsAre(kMarker, 5, 2, 4, 3, 6, 1));
  }
}

TEST_F(PruningCopy, AllocatesNothingButThePairsInPoolZero) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_THAT(recorder::requests(), ElementsAre("poolalloc 0 16 CopyConsHypergraph: nh->_internets"));
}

TEST_F(PruningCopy, AllocatesABlockForPairsAlsoWhenThereAreNone) {
  const Record r({.ncells = 2, .pins = {{1, 2}, {}}});
  const Pruned copy(r, 3);

  EXPECT_THAT(recorder::requests(), ElementsAre("poolalloc 0 0 CopyConsHypergraph: nh->_internets"));
  EXPECT_NE(copy.h._internets, nullptr);
  EXPECT_EQ(copy.h._ninternets, 0);
}

TEST_F(PruningCopy, AllocatesNothingInAnyOtherMode) {
  const Record r = six_nets();
  for (const int mode : kOtherModes) Pruned(r, 3, mode);

  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(PruningCopy, EndsTheProgramWhenThereIsNoRoomForThePairs) {
  const Record r = six_nets();
  Destination d(r.h);
  recorder::fail_allocation(1);

  EXPECT_EQ(recorder::fatal_text([&] { prune(r.h, d, 3, kAccount); }), "CopyConsHypergraph: nh->_internets");
}

TEST_F(PruningCopy, CopiesCountsTotalsAndFormat) {
  const Record r = six_nets();
  const Pruned copy(r, 3);

  EXPECT_EQ(copy.h._c, 4);
  EXPECT_EQ(copy.h._totcw, 26);
  EXPECT_EQ(copy.h._fmt, 3);
}

TEST_F(PruningCopy, LeavesEverythingElseOfTheDestinationAsItWas) {
  Record r = six_nets();
  r.h._tag = 12;
  const Pruned copy(r, 3);

  EXPECT_THAT(left_elsewhere(copy.h), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_EQ(copy.h._tag, kMarker);
  EXPECT_EQ(copy.h._clst, copy.d.cells.data());
  EXPECT_EQ(copy.h._nlst, copy.d.nets.data());
  EXPECT_EQ(copy.h._clabel, copy.d.clabel.data());
  EXPECT_EQ(copy.h._nlabel, copy.d.nlabel.data());
}

TEST_F(PruningCopy, DoesNotChangeTheSource) {
  const Record r = six_nets();
  const Record same = six_nets();
  const std::vector<int> before = counts_of(r.h);
  const Pruned copy(r, 3);

  EXPECT_EQ(counts_of(r.h), before);
  EXPECT_EQ(r.cell_list, same.cell_list);
  EXPECT_EQ(r.net_list, same.net_list);
  EXPECT_EQ(of_cells(r.h, &Cell::inw), of_cells(same.h, &Cell::inw));
  EXPECT_EQ(of_nets(r.h, &Net::w), of_nets(same.h, &Net::w));
}

TEST_F(PruningCopy, NeedsNoCellSideInTheSource) {
  const Record both(six_nets());
  Record r = six_nets();
  for (Cell& cell : r.cells) cell.nets = cell.netsend = nullptr;

  EXPECT_EQ(Pruned(r, 3).d.net_list, Pruned(both, 3).d.net_list);
}

TEST_F(PruningCopy, APrunedNetTakesThePlaceOfTheLastUndecidedOne) {
  // Sizes 1, 3, 0: net 1 goes to the end, net 3 before it, net 2 stays.
  const Record r({.ncells = 3, .pins = {{3}, {1, 2, 3}, {}}});
  const Pruned copy(r, 4);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 2, 3, 1));
  EXPECT_THAT(copy.d.nlabel, ElementsAre(kMarker, 2, 3, 1));
  EXPECT_EQ(copy.d.nmulti, 1);
  EXPECT_EQ(copy.h._n, 1);
  EXPECT_EQ(copy.h._ninternets, 1);
}

TEST_F(PruningCopy, ANetSetAsideTakesThePlaceOfTheLastUndecidedOne) {
  const Record r({.ncells = 3, .pins = {{1, 2, 3}, {1, 2}, {2, 3}, {3, 1}}});

  EXPECT_THAT(Pruned(r, 3).d.netorder, ElementsAre(kMarker, 4, 2, 3, 1));
}

TEST_F(PruningCopy, KeepsNetsOfTwoPinsUpToOneLessThanMaxsize) {
  const Record r({.ncells = 5, .pins = {{1}, {1, 2}, {1, 2, 3}, {1, 2, 3, 4}, {1, 2, 3, 4, 5}}});
  const std::vector<int> kept = {0, 0, 0, 1, 2, 3, 4, 4};  // by maxsize
  for (int maxsize = 0; maxsize < 8; ++maxsize) {
    const Pruned copy(r, maxsize);
    EXPECT_EQ(copy.h._n, kept[static_cast<std::size_t>(maxsize)]) << maxsize;
    EXPECT_EQ(copy.d.nmulti, 4) << maxsize;
  }
}

TEST_F(PruningCopy, OfMaxsize2OrLessSetsEveryNetAside) {
  const Record r = six_nets();
  for (const int maxsize : {2, 1, 0, -1, kLeast}) {
    SCOPED_TRACE(testing::Message() << "maxsize " << maxsize);
    const Pruned copy(r, maxsize);

    // Position 1 holds a net to set aside three times: 5 moves to 3, then 4 to 2, then 2 stays.
    EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 2, 4, 5, 3, 6, 1));
    EXPECT_EQ(copy.d.nmulti, 3);
    EXPECT_EQ(copy.h._n, 0);
    EXPECT_EQ(copy.h._p, 0);
    EXPECT_EQ(copy.h._totnw, 70);  // the two one-pin nets
    EXPECT_THAT(nets_of_cells(copy.h), Each(IsEmpty()));
    EXPECT_THAT(set_aside_of_cells(copy.d),
                ElementsAre(ElementsAre(3, 2, 1), ElementsAre(2, 1), ElementsAre(3), ElementsAre(2)));
    EXPECT_THAT(std::vector<int>({copy.h._maxwcd, copy.h._maxcd, copy.h._mincd}), Each(0));
  }
}

TEST_F(PruningCopy, OfAMaxsizeAboveEveryNetSetsNoneAside) {
  const Record r = six_nets();
  for (const int maxsize : {4, kMost}) {
    const Pruned copy(r, maxsize);

    EXPECT_EQ(copy.h._n, 3);
    EXPECT_EQ(copy.d.nmulti, 3);
    EXPECT_EQ(copy.h._p, 7);
    EXPECT_EQ(copy.h._totnw, 180);
    EXPECT_EQ(copy.h._mincd, 1);
    EXPECT_EQ(copy.h._maxwcd, 110);
    EXPECT_THAT(set_aside_of_cells(copy.d), Each(IsEmpty()));
  }
}

TEST_F(PruningCopy, OfNetsOfOnePinKeepsNone) {
  const Record r({.ncells = 2, .pins = {{2}, {1}, {2}}, .net_weights = {3, 4, 5}});
  const Pruned copy(r, 9);

  // Net 1 is exchanged with 3, then 3 with 2; 2 stays.
  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 2, 3, 1));
  EXPECT_EQ(copy.d.nmulti, 0);
  EXPECT_EQ(copy.h._n, 0);
  EXPECT_EQ(copy.h._p, 0);
  EXPECT_THAT(internets(copy.h), ElementsAre(ElementsAre(2, 1), ElementsAre(3, 2), ElementsAre(1, 2)));
  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(4, 8));
  EXPECT_EQ(copy.h._totinw, 12);
  EXPECT_EQ(copy.h._totnw, 12);
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_THAT(copy.d.cell_list, Each(kMarker));
  EXPECT_THAT(copy.d.celldeg, Each(0));
}

TEST_F(PruningCopy, MovesTheWeightOfANetWithoutPinsInMode2Only) {
  const Record r({.ncells = 1, .pins = {{}}, .net_weights = {5}});
  const Pruned accounted(r, 9);
  EXPECT_EQ(accounted.h._virtualnets, 5);
  EXPECT_EQ(accounted.h._totnw, 0);
  EXPECT_EQ(accounted.h._totinw, 0);

  const Pruned other(r, 9, 1);
  EXPECT_EQ(other.h._virtualnets, 0);
  EXPECT_EQ(other.h._totnw, 5);
}

TEST_F(PruningCopy, TreatsANetWithoutAPinListAsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}, .net_weights = {5, 1}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  const Pruned copy(r, 9);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 2, 1));
  EXPECT_EQ(copy.h._ninternets, 0);
  EXPECT_EQ(copy.h._virtualnets, 5);
}

TEST_F(PruningCopy, CountsACellThatANetNamesTwiceTwice) {
  const Record r({.ncells = 2, .pins = {{1, 1}, {2, 1, 2}}, .net_weights = {3, 4}});
  const Pruned copy(r, 3);

  EXPECT_THAT(copy.d.celldeg, ElementsAre(0, 3, 2));
  EXPECT_THAT(copy.d.net_list, ElementsAre(1, 1, 2, 2, 2, kMarker, kMarker));
  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(6, 0));
  EXPECT_EQ(copy.h._p, 2);
}

TEST_F(PruningCopy, WithoutCellsTheSmallestDegreeIsThatOfNone) {
  const Record r({.ncells = 0, .pins = {{}, {}}, .net_weights = {3, 4}});
  const Pruned copy(r, 9);

  EXPECT_EQ(copy.h._mincd, 2000000000);
  EXPECT_EQ(copy.h._maxcd, 0);
  EXPECT_EQ(copy.h._maxwcd, 0);
  EXPECT_EQ(copy.h._virtualnets, 7);
  EXPECT_EQ(copy.h._clst[1].nets, copy.h._net_list);
  EXPECT_THAT(copy.d.celldeg, ElementsAre(0));
  EXPECT_THAT(copy.d.clabel, ElementsAre(kMarker));
}

TEST_F(PruningCopy, WithoutNetsNothingIsLabelled) {
  const Record r({.ncells = 2});
  const Pruned copy(r, 9);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker));
  EXPECT_THAT(copy.d.nlabel, ElementsAre(kMarker));
  EXPECT_EQ(copy.d.nmulti, 0);
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_THAT(copy.d.cellend, ElementsAre(Destination::elsewhere, copy.h._net_list, copy.h._net_list));
  EXPECT_EQ(copy.h._mincd, 0);
}

TEST_F(PruningCopy, OfNothingIsNothing) {
  const Record r(Shape{});
  const Pruned copy(r, 9);

  EXPECT_THAT(std::vector<int>({copy.h._c, copy.h._n, copy.h._p, copy.d.nmulti, copy.h._ninternets}),
              Each(0));
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_EQ(copy.h._clst[1].nets, copy.h._net_list);
}

TEST_F(PruningCopy, SumsWrap) {
  const Record r({.ncells = 2,
                  .pins = {{1}, {1}, {}, {}, {1, 2}, {2, 1}},
                  .net_weights = {kMost, kMost, kMost, kMost, kMost, kMost}});
  const Pruned copy(r, 9);

  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(-2, 0));
  EXPECT_EQ(copy.h._totinw, -2);
  EXPECT_EQ(copy.h._virtualnets, -2);
  EXPECT_EQ(copy.h._totnw, -4);  // six times the largest number is -6
  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(-2, -2));
  EXPECT_EQ(copy.h._maxwcd, 0);
}

TEST_F(PruningCopy, SubtractsTheWeightOfNetsSetAsideAlsoWhenThatWraps) {
  Record r({.ncells = 2, .pins = {{1, 2}, {2, 1}}, .net_weights = {kLeast, 1}});
  const Pruned copy(r, 2);

  EXPECT_EQ(copy.h._totnw, 0);  // the sum was kLeast + 1
  r.h._totnw = 0;
  EXPECT_EQ(Pruned(r, 2).h._totnw, kMost);  // 0 - kLeast - 1
}

TEST_F(PruningCopy, AgreesWithItsTwinOnRandomHypergraphs) {
  for (unsigned seed = 1; seed <= 600; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const bool duplicates = seed % 4 == 0;
    const int maxsize = static_cast<int>(seed % 11);
    const int mode = seed % 5 == 0 ? 1 : kAccount;
    const Record r =
        random_record(seed, {.ncells = 7, .nnets = seed % 20 == 0 ? 120 : 12, .duplicates = duplicates});
    recorder::reset();
    Destination expected(r.h);
    prune_by_oracle(r.h, expected, maxsize, mode);
    const Image expected_image = image_of(expected);
    const std::vector<std::string> expected_requests = recorder::requests();
    recorder::reset();
    const Pruned copy(r, maxsize, mode);

    EXPECT_EQ(image_of(copy.d), expected_image);
    EXPECT_EQ(recorder::requests(), expected_requests);
    if (duplicates) continue;
    EXPECT_EQ(recorder::fatal_text([&] { CheckListsofContinuesHypergraph(&copy.h, copy.d.nmulti); }),
              recorder::kSound);
    if (mode == kAccount) {
      EXPECT_EQ(recorder::fatal_text([&] { CheckListsofHypergraph(&copy.h); }), recorder::kSound);
    }
  }
}

using SetAsideNets = Recorded;

// The set-aside nets of a copy as a record of their own.
struct Aside {
  explicit Aside(const Destination& copy) { CopySetAsideNets(&copy.h, copy.nmulti, &h); }
  ~Aside() { free_hypergraph(&h); }
  Aside(const Aside&) = delete;
  Aside& operator=(const Aside&) = delete;

  Hypergraph h = {};
};

TEST_F(SetAsideNets, AreNumberedFromOneOnTheCellsOfTheCopy) {
  // Copy net 1 is source net 2; 2, 3 and 4 are source nets 3, 4 and 1.
  const Record r({.ncells = 3, .pins = {{1, 2, 3}, {1, 2}, {3, 2, 1}, {1, 3, 2, 1}}});
  const Pruned copy(r, 3);
  const Aside aside(copy.d);

  EXPECT_EQ(aside.h._c, 3);
  EXPECT_EQ(aside.h._n, 3);
  EXPECT_EQ(aside.h._p, 10);
  EXPECT_THAT(pins_of_nets(aside.h),
              ElementsAre(ElementsAre(3, 2, 1), ElementsAre(1, 3, 2, 1), ElementsAre(1, 2, 3)));
  EXPECT_THAT(nets_of_cells(aside.h),
              ElementsAre(ElementsAre(1, 2, 2, 3), ElementsAre(1, 2, 3), ElementsAre(1, 2, 3)));
  EXPECT_EQ(aside.h._nlst[4].pins, aside.h._cell_list + 10);
  EXPECT_EQ(aside.h._clst[4].nets, aside.h._net_list + 10);
}

TEST_F(SetAsideNets, HaveTheirWeightsAndThoseOfTheCells) {
  const Record r = six_nets();
  const Pruned copy(r, 2);  // sets source nets 2, 4 and 5 aside
  const Aside aside(copy.d);

  EXPECT_THAT(of_nets(aside.h, &Net::w), ElementsAre(20, 40, 50));
  EXPECT_THAT(of_cells(aside.h, &Cell::w), ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(of_cells(aside.h, &Cell::pno), ElementsAre(1, 0, 3, 2));
  EXPECT_THAT(of_cells(aside.h, &Cell::inw), Each(0));
  EXPECT_THAT(of_cells(aside.h, &Cell::wdeg), ElementsAre(110, 60, 50, 40));
  EXPECT_THAT(std::vector<int>({aside.h._totcw, aside.h._totnw, aside.h._totinw, aside.h._virtualnets}),
              ElementsAre(26, 110, 0, 0));
  EXPECT_THAT(std::vector<int>({aside.h._fmt, aside.h._maxwcd, aside.h._maxcd, aside.h._mincd}),
              ElementsAre(3, 0, 3, 1));
}

TEST_F(SetAsideNets, MayBeNone) {
  const Record r = six_nets();
  const Pruned copy(r, 4);
  const Aside aside(copy.d);

  EXPECT_EQ(aside.h._n, 0);
  EXPECT_EQ(aside.h._p, 0);
  EXPECT_THAT(nets_of_cells(aside.h), ElementsAre(IsEmpty(), IsEmpty(), IsEmpty(), IsEmpty()));
}

TEST_F(SetAsideNets, HaveTheOrderAndNumbersOfAShuffledCopy) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    Record r = random_record(seed, {.ncells = 7, .nnets = 12});
    Destination copy(r.h);
    recorder::script_random(std::vector<int>(200, 0));
    prune_shuffled(r.h, copy, static_cast<int>(seed % 6), kAccount);
    const Aside aside(copy);

    EXPECT_EQ(pins_of_nets(aside.h), pins_of_nets(copy, copy.h._n + 1, copy.nmulti));
    for (int j = 1; j <= aside.h._n; ++j)
      EXPECT_EQ(aside.h._nlst[j].w, r.h._nlst[copy.nlabel[static_cast<std::size_t>(copy.h._n + j)]].w);
    EXPECT_EQ(recorder::fatal_text([&] { CheckListsofHypergraph(&aside.h); }), recorder::kSound);
  }
}

TEST_F(SetAsideNets, LeaveTheCopyAsItWas) {
  const Record r = six_nets();
  const Pruned copy(r, 3);
  const Pruned same(r, 3);
  const Aside aside(copy.d);

  EXPECT_EQ(counts_of(copy.h), counts_of(same.h));
  EXPECT_EQ(copy.d.cell_list, same.d.cell_list);
  EXPECT_EQ(copy.d.net_list, same.d.net_list);
  EXPECT_EQ(nets_of_cells(copy.h), nets_of_cells(same.h));
  EXPECT_EQ(of_cells(copy.h, &Cell::wdeg), of_cells(same.h, &Cell::wdeg));
  EXPECT_EQ(of_cells(copy.h, &Cell::inw), of_cells(same.h, &Cell::inw));
}

TEST_F(SetAsideNets, KeepFourHeapArraysAndNothingElse) {
  const Record r = six_nets();
  const Pruned copy(r, 3, 0);
  const Aside aside(copy.d);

  EXPECT_THAT(recorder::requests(),
              ElementsAre("umalloc 192 malloc_hypergraph: clst", "umalloc 72 malloc_hypergraph: nlst",
                          "umalloc 20 malloc_hypergraph: cell_list", "umalloc 20 malloc_hypergraph: net_list",
                          "imalloc 5 CopySetAsideNets: work", "free CopySetAsideNets: work"));
  EXPECT_THAT(recorder::held(), SizeIs(4));
}

TEST_F(SetAsideNets, EndTheProgramWhenMemoryIsExhausted) {
  const Record r = six_nets();
  const Pruned copy(r, 3, 0);
  const std::vector<std::string> tags = {"malloc_hypergraph: clst", "malloc_hypergraph: nlst",
                                         "malloc_hypergraph: cell_list", "malloc_hypergraph: net_list",
                                         "CopySetAsideNets: work"};
  for (int n = 1; n <= std::ssize(tags); ++n) {
    Hypergraph aside = {};
    recorder::fail_allocation(n);
    EXPECT_EQ(recorder::fatal_text([&] { CopySetAsideNets(&copy.h, copy.d.nmulti, &aside); }),
              tags[static_cast<std::size_t>(n) - 1]);
  }
}

}  // namespace
}  // namespace quillon
