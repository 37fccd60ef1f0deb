#include <gmock/gmock.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/destination.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using ConstructNetList = Recorded;
using ConstructCellList = Recorded;
using SortPinsOfNets = Recorded;
using BothSides = Recorded;

constexpr unsigned kRecords = 400;

std::vector<int> work_for(int count) {
  return std::vector<int>(static_cast<std::size_t>(count) + 2, kMarker);
}

// The summaries that no construction sets, each with a different value.
void mark_summaries(Hypergraph& h) {
  h._maxwcd = 901;
  h._maxcd = 902;
  h._mincd = 903;
  h._totcw = 904;
  h._totinw = 905;
  h._totnw = 906;
  h._virtualnets = 907;
  h._fmt = 908;
  h._ninternets = 909;
  h._tag = 910;
}

// Four cells, the third on no net; the pins are unsorted.
Shape four_nets() {
  return {.ncells = 4,
          .pins = {{4, 1}, {2, 4, 1}, {}, {4}},
          .net_weights = {10, 200, 3000, 40000},
          .cell_weights = {5, 6, 7, 8}};
}

TEST_F(ConstructNetList, GivesEachCellItsNetsInIncreasingNumber) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);

  EXPECT_EQ(construct_net_list(&r.h, work.data()), 0);
  EXPECT_THAT(nets_of_cells(r.h),
              ElementsAre(ElementsAre(1, 2), ElementsAre(2), IsEmpty(), ElementsAre(1, 2, 4)));
}

TEST_F(ConstructNetList, LaysTheListsOutInARowAndSetsTheSentinel) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(r.net_list, ElementsAre(1, 2, 2, 1, 2, 4, kMarker, kMarker));
  EXPECT_EQ(r.cells[1].nets, r.h._net_list);
  EXPECT_EQ(r.cells[1].netsend, r.h._net_list + 1);
  EXPECT_EQ(r.cells[2].nets, r.h._net_list + 2);
  EXPECT_EQ(r.cells[2].netsend, r.h._net_list + 2);
  EXPECT_EQ(r.cells[4].nets, r.h._net_list + 3);
  EXPECT_EQ(r.cells[4].netsend, r.h._net_list + 5);
  EXPECT_EQ(r.cells[5].nets, r.h._net_list + 6);
}

TEST_F(ConstructNetList, GivesACellWithoutNetsAnEmptyList) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_EQ(r.cells[3].nets, r.h._net_list + 3);
  EXPECT_EQ(r.cells[3].netsend, r.cells[3].nets - 1);
  EXPECT_EQ(r.cells[3].wdeg, 0);
  EXPECT_EQ(r.h._mincd, 0);
}

TEST_F(ConstructNetList, SumsTheWeightsOfTheNetsOfEachCell) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(210, 200, 0, 40210));
}

TEST_F(ConstructNetList, ReturnsTheDegreesInTheWorkArray) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(work, ElementsAre(0, 2, 1, 0, 3, kMarker));  // entries after the last cell are unchanged
}

TEST_F(ConstructNetList, SetsTheExtremeDegreesAndClearsTheWeightedOne) {
  Record r({.ncells = 3, .pins = {{1, 2}, {1, 3}, {1}}, .net_weights = {9, 9, 9}}, Side::kNets);
  std::vector<int> work = work_for(3);
  mark_summaries(r.h);
  construct_net_list(&r.h, work.data());

  EXPECT_EQ(r.h._maxwcd, 0);
  EXPECT_EQ(r.h._maxcd, 3);
  EXPECT_EQ(r.h._mincd, 1);
}

TEST_F(ConstructNetList, OneCellIsBothExtremes) {
  Record r({.ncells = 1, .pins = {{1}, {1}}}, Side::kNets);
  std::vector<int> work = work_for(1);
  construct_net_list(&r.h, work.data());

  EXPECT_EQ(r.h._maxcd, 2);
  EXPECT_EQ(r.h._mincd, 2);
}

TEST_F(ConstructNetList, TouchesNoOtherSummaryAndNoWeight) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  mark_summaries(r.h);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(std::vector<int>({r.h._c, r.h._n, r.h._p, r.h._totcw, r.h._totinw, r.h._totnw, r.h._virtualnets,
                                r.h._fmt, r.h._ninternets, r.h._tag}),
              ElementsAre(4, 4, 6, 904, 905, 906, 907, 908, 909, 910));
  EXPECT_THAT(of_cells(r.h, &Cell::w), ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(of_cells(r.h, &Cell::inw), Each(0));
  EXPECT_THAT(of_cells(r.h, &Cell::pno), Each(-1));
  EXPECT_THAT(of_nets(r.h, &Net::w), ElementsAre(10, 200, 3000, 40000));
}

TEST_F(ConstructNetList, LeavesTheNetSideAndTheUnusedEntriesAlone) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(r.cell_list, ElementsAre(4, 1, 2, 4, 1, 4, kMarker, kMarker));
  EXPECT_THAT(pins_of_nets(r.h),
              ElementsAre(ElementsAre(4, 1), ElementsAre(2, 4, 1), IsEmpty(), ElementsAre(4)));
  EXPECT_EQ(r.cells[0].nets, nullptr);
  EXPECT_EQ(r.cells[0].wdeg, kMarker);
  EXPECT_EQ(r.cells[5].wdeg, kMarker);
  EXPECT_EQ(r.cells[5].netsend, nullptr);
}

TEST_F(ConstructNetList, SkipsNetsThatHaveNoPinList) {
  Record r({.ncells = 2, .pins = {{1}, {}, {1, 2}}, .net_weights = {1, 50, 2}}, Side::kNets);
  r.nets[2].pins = nullptr;
  r.nets[2].pinsend = r.h._cell_list;  // not read
  std::vector<int> work = work_for(2);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(nets_of_cells(r.h), ElementsAre(ElementsAre(1, 3), ElementsAre(3)));
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(3, 2));
  EXPECT_THAT(work, ElementsAre(0, 2, 1, kMarker));
}

TEST_F(ConstructNetList, AcceptsNetsWhoseListsLieInAnyOrder) {
  Record r({.ncells = 6, .pins = {{1, 2}, {3, 4}, {5, 6}}}, Side::kNets);
  std::swap(r.nets[1], r.nets[3]);
  std::vector<int> work = work_for(6);

  construct_net_list(&r.h, work.data());
  EXPECT_THAT(nets_of_cells(r.h), ElementsAre(ElementsAre(3), ElementsAre(3), ElementsAre(2), ElementsAre(2),
                                              ElementsAre(1), ElementsAre(1)));
}

TEST_F(ConstructNetList, KeepsBothEntriesOfACellThatANetListsTwice) {
  Record r({.ncells = 2, .pins = {{2, 1, 2}}, .net_weights = {7}}, Side::kNets);
  std::vector<int> work = work_for(2);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(nets_of_cells(r.h), ElementsAre(ElementsAre(1), ElementsAre(1, 1)));
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(7, 14));
  EXPECT_EQ(r.h._maxcd, 2);
}

TEST_F(ConstructNetList, WithoutCellsOnlyTheSentinelIsSet) {
  Record r({.ncells = 0, .pins = {{}, {}}}, Side::kNets);
  std::vector<int> work = work_for(0);
  mark_summaries(r.h);

  EXPECT_EQ(construct_net_list(&r.h, work.data()), 0);
  EXPECT_EQ(r.cells[1].nets, r.h._net_list);
  EXPECT_EQ(r.h._maxwcd, 0);
  EXPECT_EQ(r.h._maxcd, 0);
  EXPECT_EQ(r.h._mincd, 2000000000);
  EXPECT_THAT(work, ElementsAre(0, kMarker));
}

TEST_F(ConstructNetList, WithoutNetsEveryListIsEmpty) {
  Record r({.ncells = 2}, Side::kNets);
  std::vector<int> work = work_for(2);
  construct_net_list(&r.h, work.data());

  for (const std::size_t i : {1u, 2u, 3u}) EXPECT_EQ(r.cells[i].nets, r.h._net_list);
  EXPECT_EQ(r.cells[1].netsend, r.h._net_list - 1);
  EXPECT_EQ(r.cells[2].netsend, r.h._net_list - 1);
  EXPECT_EQ(r.h._maxcd, 0);
  EXPECT_EQ(r.h._mincd, 0);
  EXPECT_THAT(work, ElementsAre(0, 0, 0, kMarker));
}

TEST_F(ConstructNetList, WeightedDegreesWrapAround) {
  Record r({.ncells = 2, .pins = {{1, 2}, {1}}, .net_weights = {2147483647, 2}}, Side::kNets);
  std::vector<int> work = work_for(2);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(-2147483647, 2147483647));
}

TEST_F(ConstructNetList, ReplacesListsBuiltBefore) {
  Record r(four_nets(), Side::kBoth);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());
  r.nets[2].pinsend -= 2;  // only cell 2 remains
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(nets_of_cells(r.h), ElementsAre(ElementsAre(1), ElementsAre(2), IsEmpty(), ElementsAre(1, 4)));
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(10, 200, 0, 40010));
}

TEST_F(ConstructNetList, MakesNoRequest) {
  Record r(four_nets(), Side::kNets);
  std::vector<int> work = work_for(4);
  construct_net_list(&r.h, work.data());

  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(ConstructNetList, AgreesWithItsTwinOnRandomRecords) {
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed, {.duplicates = seed % 2 == 0}, Side::kNets);
    Record expected = random_record(seed, {.duplicates = seed % 2 == 0}, Side::kNets);
    std::vector<int> work = work_for(r.h._c);
    std::vector<int> expected_work = work;

    EXPECT_EQ(construct_net_list(&r.h, work.data()),
              oracle::construct_net_list(&expected.h, expected_work.data()));
    EXPECT_EQ(image_of(r), image_of(expected));
    EXPECT_EQ(work, expected_work);
  }
}

TEST_F(ConstructCellList, GivesEachNetItsCellsInIncreasingNumber) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);

  EXPECT_EQ(construct_cell_list(&r.h, work.data()), 0);
  EXPECT_THAT(pins_of_nets(r.h),
              ElementsAre(ElementsAre(1, 4), ElementsAre(1, 2, 4), IsEmpty(), ElementsAre(4)));
}

TEST_F(ConstructCellList, LaysTheListsOutInARowAndSetsTheSentinel) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(r.cell_list, ElementsAre(1, 4, 1, 2, 4, 4, kMarker, kMarker));
  EXPECT_EQ(r.nets[1].pins, r.h._cell_list);
  EXPECT_EQ(r.nets[1].pinsend, r.h._cell_list + 1);
  EXPECT_EQ(r.nets[2].pins, r.h._cell_list + 2);
  EXPECT_EQ(r.nets[2].pinsend, r.h._cell_list + 4);
  EXPECT_EQ(r.nets[3].pins, r.h._cell_list + 5);
  EXPECT_EQ(r.nets[3].pinsend, r.h._cell_list + 4);
  EXPECT_EQ(r.nets[4].pins, r.h._cell_list + 5);
  EXPECT_EQ(r.nets[4].pinsend, r.h._cell_list + 5);
  EXPECT_EQ(r.nets[5].pins, r.h._cell_list + 6);
}

TEST_F(ConstructCellList, ReturnsTheSizesInTheWorkArray) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(work, ElementsAre(0, 2, 3, 0, 1, kMarker));
}

TEST_F(ConstructCellList, TouchesNoSummaryAndNoWeight) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);
  mark_summaries(r.h);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(
      std::vector<int>({r.h._c, r.h._n, r.h._p, r.h._maxwcd, r.h._maxcd, r.h._mincd, r.h._totcw, r.h._totinw,
                        r.h._totnw, r.h._virtualnets, r.h._fmt, r.h._ninternets, r.h._tag}),
      ElementsAre(4, 4, 6, 901, 902, 903, 904, 905, 906, 907, 908, 909, 910));
  EXPECT_THAT(of_cells(r.h, &Cell::w), ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), Each(kMarker));
  EXPECT_THAT(of_nets(r.h, &Net::w), ElementsAre(10, 200, 3000, 40000));
}

TEST_F(ConstructCellList, LeavesTheCellSideAndTheUnusedEntriesAlone) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(nets_of_cells(r.h),
              ElementsAre(ElementsAre(1, 2), ElementsAre(2), IsEmpty(), ElementsAre(1, 2, 4)));
  EXPECT_THAT(r.net_list, ElementsAre(1, 2, 2, 1, 2, 4, kMarker, kMarker));
  EXPECT_EQ(r.nets[0].pins, nullptr);
  EXPECT_EQ(r.nets[5].w, kMarker);
  EXPECT_EQ(r.nets[5].pinsend, nullptr);
}

TEST_F(ConstructCellList, KeepsBothEntriesOfANetThatACellListsTwice) {
  Record r({.ncells = 2, .pins = {{2, 1, 2}}}, Side::kCells);
  std::vector<int> work = work_for(1);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(pins_of_nets(r.h), ElementsAre(ElementsAre(1, 2, 2)));
}

TEST_F(ConstructCellList, WithoutNetsTheSentinelIsAtTheStart) {
  Record r({.ncells = 2}, Side::kCells);
  std::vector<int> work = work_for(0);

  EXPECT_EQ(construct_cell_list(&r.h, work.data()), 0);
  EXPECT_EQ(r.nets[1].pins, r.h._cell_list);
  EXPECT_THAT(work, ElementsAre(0, kMarker));
}

TEST_F(ConstructCellList, WithoutCellsEveryNetIsEmpty) {
  Record r({.ncells = 0, .pins = {{}, {}}}, Side::kCells);
  std::vector<int> work = work_for(2);
  construct_cell_list(&r.h, work.data());

  for (const std::size_t j : {1u, 2u, 3u}) EXPECT_EQ(r.nets[j].pins, r.h._cell_list);
  EXPECT_EQ(r.nets[1].pinsend, r.h._cell_list - 1);
  EXPECT_EQ(r.nets[2].pinsend, r.h._cell_list - 1);
  EXPECT_THAT(work, ElementsAre(0, 0, 0, kMarker));
}

TEST_F(ConstructCellList, MakesNoRequest) {
  Record r(four_nets(), Side::kCells);
  std::vector<int> work = work_for(4);
  construct_cell_list(&r.h, work.data());

  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(ConstructCellList, AgreesWithItsTwinOnRandomRecords) {
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed, {.duplicates = seed % 2 == 0}, Side::kCells);
    Record expected = random_record(seed, {.duplicates = seed % 2 == 0}, Side::kCells);
    std::vector<int> work = work_for(r.h._n);
    std::vector<int> expected_work = work;

    EXPECT_EQ(construct_cell_list(&r.h, work.data()),
              oracle::construct_cell_list(&expected.h, expected_work.data()));
    EXPECT_EQ(image_of(r), image_of(expected));
    EXPECT_EQ(work, expected_work);
  }
}

TEST_F(BothSides, AreBuiltFromEachOtherWithoutLoss) {
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.duplicates = seed % 2 == 0});
    Record r(shape, Side::kCells);
    const Lists nets = nets_of_cells(r.h);
    const std::vector<int> net_list = r.net_list;
    std::vector<int> work = work_for(std::max(r.h._c, r.h._n));

    construct_cell_list(&r.h, work.data());
    std::fill(r.net_list.begin(), r.net_list.end(), kMarker);
    construct_net_list(&r.h, work.data());
    EXPECT_EQ(nets_of_cells(r.h), nets);
    EXPECT_EQ(r.net_list, net_list);

    const Lists pins = pins_of_nets(r.h);
    construct_cell_list(&r.h, work.data());
    EXPECT_EQ(pins_of_nets(r.h), pins);
  }
}

TEST_F(SortPinsOfNets, PutsTheCellsOfEachNetInIncreasingNumber) {
  Record r({.ncells = 4, .pins = {{4, 1, 3}, {2}, {3, 2, 3, 1}}}, Side::kNets);
  SortPins(&r.h);

  EXPECT_THAT(r.cell_list, ElementsAre(1, 3, 4, 2, 1, 2, 3, 3, kMarker, kMarker));
}

TEST_F(SortPinsOfNets, SortsEachNetByItselfAndEmptyOnesToo) {
  Record r({.ncells = 3, .pins = {{3, 1}, {}, {2}}}, Side::kNets);
  SortPins(&r.h);

  EXPECT_THAT(recorder::requests(), ElementsAre("uqsorti 2", "uqsorti 0", "uqsorti 1"));
}

TEST_F(SortPinsOfNets, PassesOverANetWithoutAPinList) {
  Record r({.ncells = 2, .pins = {{}, {2, 1}}}, Side::kNets);
  r.nets[1].pins = nullptr;
  r.nets[1].pinsend = nullptr;
  SortPins(&r.h);

  EXPECT_THAT(recorder::requests(), ElementsAre("uqsorti 2"));
  EXPECT_THAT(pins_of_nets(r.h), ElementsAre(IsEmpty(), ElementsAre(1, 2)));
}

TEST_F(SortPinsOfNets, WithoutNetsDoesNothing) {
  Record r({.ncells = 2}, Side::kNets);
  SortPins(&r.h);

  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(SortPinsOfNets, LeavesTheCellSideThePointersAndTheSummariesAlone) {
  Record r({.ncells = 3, .pins = {{3, 1}, {2, 1}}});
  const Record before({.ncells = 3, .pins = {{3, 1}, {2, 1}}});
  mark_summaries(r.h);
  SortPins(&r.h);

  EXPECT_EQ(r.net_list, before.net_list);
  EXPECT_EQ(nets_of_cells(r.h), nets_of_cells(before.h));
  EXPECT_EQ(r.nets[2].pins, r.h._cell_list + 2);
  EXPECT_EQ(r.nets[2].pinsend, r.h._cell_list + 3);
  EXPECT_THAT(std::vector<int>({r.h._maxwcd, r.h._maxcd, r.h._mincd, r.h._totcw, r.h._totinw, r.h._totnw,
                                r.h._virtualnets, r.h._fmt}),
              ElementsAre(901, 902, 903, 904, 905, 906, 907, 908));
}

TEST_F(SortPinsOfNets, AgreesWithSortedCopiesOnRandomRecords) {
  for (unsigned seed = 1; seed <= kRecords; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.duplicates = true});
    Record r(shape);
    SortPins(&r.h);

    Lists sorted = shape.pins;
    for (std::vector<int>& pins : sorted) std::sort(pins.begin(), pins.end());
    EXPECT_EQ(pins_of_nets(r.h), sorted);
    EXPECT_EQ(nets_of_cells(r.h), nets_of_cells(shape));
  }
}

}  // namespace
}  // namespace quillon
