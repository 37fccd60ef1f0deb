#include <gmock/gmock.h>

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

using SetHypergraphInfos = Recorded;
using ClearWeights = Recorded;
using HygrInfoText = Recorded;

// Cells of degree 2, 1, 0 and 3.
Shape three_nets() {
  return {.ncells = 4,
          .pins = {{4, 1}, {2, 4, 1}, {4}},
          .net_weights = {10, 200, 3000},
          .cell_weights = {5, 1, 0, 1}};
}

TEST_F(SetHypergraphInfos, RecomputesWhatTheCellsTell) {
  Record r(three_nets());
  r.h._totcw = kMarker;
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._maxwcd, 3210);
  EXPECT_EQ(r.h._maxcd, 3);
  EXPECT_EQ(r.h._mincd, 0);
  EXPECT_EQ(r.h._totcw, 7);
  EXPECT_EQ(r.h._fmt, 1);
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(210, 200, 0, 3210));
}

// As after a caller has restored the nets that a pruning copy set aside.
TEST_F(SetHypergraphInfos, CountsListedNetsAfterTheLastOneToo) {
  Record r({.ncells = 2, .pins = {{1, 2}, {1}, {1}}, .net_weights = {3, 3, 40}});
  r.h._n = 2;
  set_hypergraph_infos(&r.h);

  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(46, 3));
}

TEST_F(SetHypergraphInfos, TheSmallestDegreeIsThatOfTheCellWithFewestNets) {
  Record r({.ncells = 3, .pins = {{1, 2, 3}, {2, 3}, {2, 3}, {3}}});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._mincd, 1);
  EXPECT_EQ(r.h._maxcd, 4);
}

TEST_F(SetHypergraphInfos, ResetsWhatWasFoldedIntoEachCell) {
  Record r(three_nets());
  for (Cell& cell : r.cells) cell.inw = 70;
  set_hypergraph_infos(&r.h);

  EXPECT_THAT(of_cells(r.h, &Cell::inw), Each(0));
  EXPECT_EQ(r.cells[0].inw, 70);  // not a cell
  EXPECT_EQ(r.cells[5].inw, 70);
}

TEST_F(SetHypergraphInfos, UnitWeightsAreNoWeights) {
  Record r({.ncells = 3, .pins = {{1, 2}, {2, 3}}});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._fmt, 0);
  EXPECT_EQ(r.h._totcw, 3);
}

TEST_F(SetHypergraphInfos, OneCellOfWeightTwoMakesTheCellsWeighted) {
  for (const int position : {0, 1, 2}) {
    std::vector<int> weights = {1, 1, 1};
    weights[static_cast<std::size_t>(position)] = 2;
    Record r({.ncells = 3, .pins = {{1, 2, 3}}, .cell_weights = weights});
    set_hypergraph_infos(&r.h);

    EXPECT_EQ(r.h._fmt, 1) << "cell " << position + 1;
  }
}

TEST_F(SetHypergraphInfos, ZeroAndNegativeCellWeightsAloneAreNoWeights) {
  Record r({.ncells = 3, .pins = {{1, 2, 3}}, .cell_weights = {0, -5, 1}});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._fmt, 0);
  EXPECT_EQ(r.h._totcw, -4);
}

TEST_F(SetHypergraphInfos, DropsTheBitOfTheNetsEvenWhenTheyCarryWeights) {
  Record unit({.ncells = 2, .pins = {{1, 2}}, .net_weights = {6}});
  unit.h._fmt = 3;
  set_hypergraph_infos(&unit.h);
  EXPECT_EQ(unit.h._fmt, 0);

  Record weighted({.ncells = 2, .pins = {{1, 2}}, .net_weights = {6}, .cell_weights = {1, 5}});
  weighted.h._fmt = 3;
  set_hypergraph_infos(&weighted.h);
  EXPECT_EQ(weighted.h._fmt, 1);
}

TEST_F(SetHypergraphInfos, OneCellWithoutNetsStillHasALargestWeightedDegreeOfOne) {
  Record r({.ncells = 1});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._mincd, 0);
  EXPECT_EQ(r.h._maxcd, 0);
  EXPECT_EQ(r.h._maxwcd, 1);
  EXPECT_EQ(r.cells[1].wdeg, 0);
}

TEST_F(SetHypergraphInfos, TheLargestWeightedDegreeIsNeverBelowOne) {
  Record r({.ncells = 2, .pins = {{1}, {2}}, .net_weights = {0, -8}});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._maxwcd, 1);
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(0, -8));
}

TEST_F(SetHypergraphInfos, WithoutCellsTheStartValuesStay) {
  Record r({.ncells = 0, .pins = {{}}});
  r.h._totcw = kMarker;
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._maxwcd, 1);
  EXPECT_EQ(r.h._maxcd, 0);
  EXPECT_EQ(r.h._mincd, 2000000000);
  EXPECT_EQ(r.h._totcw, 0);
  EXPECT_EQ(r.h._fmt, 0);
}

TEST_F(SetHypergraphInfos, WithoutCellsTheNetsAreNotLookedAt) {
  Hypergraph h{};
  h._n = 3;
  set_hypergraph_infos(&h);

  EXPECT_EQ(h._maxwcd, 1);
  EXPECT_EQ(h._mincd, 2000000000);
}

TEST_F(SetHypergraphInfos, LeavesTheOtherTotalsTheNetsAndTheListsAlone) {
  Record r(three_nets());
  const Record before(three_nets());
  r.h._totinw = 905;
  r.h._totnw = 906;
  r.h._virtualnets = 907;
  r.h._ninternets = 909;
  r.h._tag = 910;
  set_hypergraph_infos(&r.h);

  EXPECT_THAT(std::vector<int>({r.h._c, r.h._n, r.h._p, r.h._totinw, r.h._totnw, r.h._virtualnets,
                                r.h._ninternets, r.h._tag}),
              ElementsAre(4, 3, 6, 905, 906, 907, 909, 910));
  EXPECT_THAT(of_nets(r.h, &Net::w), ElementsAre(10, 200, 3000));
  EXPECT_THAT(of_cells(r.h, &Cell::w), ElementsAre(5, 1, 0, 1));
  EXPECT_THAT(of_cells(r.h, &Cell::pno), Each(-1));
  EXPECT_EQ(r.cell_list, before.cell_list);
  EXPECT_EQ(r.net_list, before.net_list);
  EXPECT_EQ(nets_of_cells(r.h), nets_of_cells(before.h));
}

TEST_F(SetHypergraphInfos, UsesTheCellSideOnly) {
  Record r(three_nets());
  for (Net& net : r.nets) net.pins = net.pinsend = nullptr;
  set_hypergraph_infos(&r.h);

  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(210, 200, 0, 3210));
}

TEST_F(SetHypergraphInfos, SumsWrapAround) {
  Record r({.ncells = 2, .pins = {{1, 2}, {1}}, .net_weights = {kMost, 2}, .cell_weights = {kMost, kMost}});
  set_hypergraph_infos(&r.h);

  EXPECT_EQ(r.h._totcw, -2);
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(-kMost, kMost));
  EXPECT_EQ(r.h._maxwcd, kMost);
}

TEST_F(SetHypergraphInfos, MakesNoRequest) {
  Record r(three_nets());
  set_hypergraph_infos(&r.h);

  EXPECT_THAT(recorder::requests(), IsEmpty());
  EXPECT_EQ(recorder::printed(), "");
}

TEST_F(SetHypergraphInfos, AgreesWithItsTwinOnRandomRecords) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.weight = seed % 3 == 0 ? 1 : 9, .duplicates = seed % 2 == 0});
    Record r(shape);
    Record expected(shape);
    set_hypergraph_infos(&r.h);
    oracle::set_hypergraph_infos(&expected.h);

    EXPECT_EQ(image_of(r), image_of(expected));
  }
}

TEST_F(ClearWeights, SetsEveryWeightToOneAndTheCellTotalToTheirNumber) {
  Record r(three_nets());
  clear_weights(&r.h);

  EXPECT_THAT(of_nets(r.h, &Net::w), Each(1));
  EXPECT_THAT(of_cells(r.h, &Cell::w), Each(1));
  EXPECT_EQ(r.h._totcw, 4);
}

TEST_F(ClearWeights, LeavesEverythingElseAsItWas) {
  Record r(three_nets());
  set_hypergraph_infos(&r.h);
  r.cells[1].inw = 70;
  r.h._totinw = 905;
  r.h._totnw = 906;
  r.h._virtualnets = 907;
  r.h._fmt = 3;
  clear_weights(&r.h);

  EXPECT_THAT(std::vector<int>({r.h._maxwcd, r.h._maxcd, r.h._mincd, r.h._totinw, r.h._totnw,
                                r.h._virtualnets, r.h._fmt, r.h._c, r.h._n, r.h._p}),
              ElementsAre(3210, 3, 0, 905, 906, 907, 3, 4, 3, 6));
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), ElementsAre(210, 200, 0, 3210));
  EXPECT_THAT(of_cells(r.h, &Cell::inw), ElementsAre(70, 0, 0, 0));
  EXPECT_THAT(of_cells(r.h, &Cell::pno), Each(-1));
  EXPECT_THAT(nets_of_cells(r.h),
              ElementsAre(ElementsAre(1, 2), ElementsAre(2), IsEmpty(), ElementsAre(1, 2, 3)));
}

TEST_F(ClearWeights, LeavesTheSpareEntriesAlone) {
  Record r(three_nets());
  clear_weights(&r.h);

  EXPECT_EQ(r.cells[0].w, kMarker);
  EXPECT_EQ(r.cells[5].w, kMarker);
  EXPECT_EQ(r.nets[0].w, kMarker);
  EXPECT_EQ(r.nets[4].w, kMarker);
}

TEST_F(ClearWeights, WithoutCellsAndNetsTheTotalIsZero) {
  Record r({});
  r.h._totcw = kMarker;
  clear_weights(&r.h);

  EXPECT_EQ(r.h._totcw, 0);
}

TEST_F(HygrInfoText, ShowsTheSummaryInTwoLines) {
  Hypergraph h = {};
  h._c = 1;
  h._n = 2;
  h._p = 3;
  h._maxwcd = 4;
  h._maxcd = 99;  // not shown
  h._mincd = 5;
  h._totcw = 6;
  h._totnw = 7;
  h._totinw = 8;
  h._virtualnets = 9;

  EXPECT_STREQ(HygrInfo(&h), "\nH(1, 2, 3) MWCD=4 MINCD=5 TOTCW=6\nTOTNW=7 TOTINW=8 VN=9\n");
}

TEST_F(HygrInfoText, ShowsTheStartValueOfTheSmallestDegree) {
  Hypergraph h = {};
  h._c = 3;
  h._n = 2;
  h._p = 4;
  h._mincd = 2000000000;

  EXPECT_STREQ(HygrInfo(&h), "\nH(3, 2, 4) MWCD=0 MINCD=2000000000 TOTCW=0\nTOTNW=0 TOTINW=0 VN=0\n");
}

TEST_F(HygrInfoText, HasRoomForTheLongestNumbers) {
  Hypergraph h = {};
  h._c = h._n = h._p = h._maxwcd = h._mincd = h._totcw = h._totnw = h._totinw = h._virtualnets = kLeast;

  EXPECT_STREQ(HygrInfo(&h),
               "\nH(-2147483648, -2147483648, -2147483648) MWCD=-2147483648 MINCD=-2147483648 "
               "TOTCW=-2147483648\nTOTNW=-2147483648 TOTINW=-2147483648 VN=-2147483648\n");
}

TEST_F(HygrInfoText, OverwritesTheTextOfTheCallBefore) {
  Hypergraph h = {};
  char* const first = HygrInfo(&h);
  h._c = 12;
  char* const second = HygrInfo(&h);

  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "\nH(12, 0, 0) MWCD=0 MINCD=0 TOTCW=0\nTOTNW=0 TOTINW=0 VN=0\n");
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

}  // namespace
}  // namespace quillon
