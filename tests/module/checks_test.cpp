#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using CheckLists = Recorded;
using CheckListsOfContinues = Recorded;
using CheckSymmetry = Recorded;

// Cells 1 .. 3 in a row, of weights 1, 2 and 4; the nets weigh 10 and 20.
Shape row_of_cells() {
  return {.ncells = 3, .pins = {{1, 2}, {2, 3}}, .net_weights = {10, 20}, .cell_weights = {1, 2, 4}};
}

// Gives cells 1, 2, .. these lists, whatever the nets contain.
void give_cells(Record& r, const Lists& lists) {
  r.net_list.clear();
  for (const std::vector<int>& list : lists) r.net_list.insert(r.net_list.end(), list.begin(), list.end());
  r.h._net_list = r.net_list.data();
  int* next = r.h._net_list;
  std::size_t i = 1;
  for (const std::vector<int>& list : lists) {
    Cell& cell = r.cells.at(i++);
    cell.nets = next;
    next += list.size();
    cell.netsend = next - 1;
  }
  r.cells.at(i).nets = next;
}

// A record whose cell side may not match its net side.
Record mismatched(const Shape& shape, const Lists& nets_of_each_cell) {
  Record r(shape);
  give_cells(r, nets_of_each_cell);
  return r;
}

std::string check(const Record& r) {
  return recorder::fatal_text([&r] { CheckListsofHypergraph(&r.h); });
}

constexpr const char* kRowHeader =
    "\n CheckListsofHypergraph: Checking Hypergraph H=(    3,     2,       4) TNW=30 TINW=0 VirtNets=0";

TEST_F(CheckLists, ASoundRecordIsAnnouncedAndDone) {
  EXPECT_EQ(check(Record(row_of_cells())), recorder::kSound);
  EXPECT_EQ(recorder::printed(), std::string(kRowHeader) + "\n Checking DONE....\n");
  EXPECT_THAT(recorder::warnings(), IsEmpty());
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(CheckLists, ARecordWithoutAnythingIsSound) {
  EXPECT_EQ(check(Record({})), recorder::kSound);
  EXPECT_EQ(recorder::printed(),
            "\n CheckListsofHypergraph: Checking Hypergraph H=(    0,     0,       0) TNW=0 TINW=0 VirtNets=0"
            "\n Checking DONE....\n");
}

TEST_F(CheckLists, TheHeaderShowsWideAndNegativeNumbersWhole) {
  Record r({});
  r.h._c = r.h._n = r.h._p = kLeast;
  r.h._totnw = -1;
  r.h._totinw = -2;
  r.h._virtualnets = kMost;
  check(r);

  EXPECT_EQ(recorder::printed(),
            "\n CheckListsofHypergraph: Checking Hypergraph H=(-2147483648, -2147483648, -2147483648) "
            "TNW=-1 TINW=-2 VirtNets=2147483647");
}

TEST_F(CheckLists, ANetThatItsCellDoesNotNameIsFatal) {
  EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {1, 2}, {1}})),
            " CheckListsofHypergraph: net 2 occurs 0 times in the net list of cell 3");
}

TEST_F(CheckLists, ANetThatACellWithoutNetsShouldNameIsFatal) {
  EXPECT_EQ(check(mismatched(row_of_cells(), {{}, {1, 2}, {2}})),
            " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 1");
}

TEST_F(CheckLists, ANetThatItsCellNamesMoreThanOnceIsFatal) {
  EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {1, 2}, {2, 1, 2, 2}})),
            " CheckListsofHypergraph: net 2 occurs 3 times in the net list of cell 3");
}

TEST_F(CheckLists, ACellThatANetListsTwiceIsFatalOnTheNetSideWhenBothSidesAreBuilt) {
  Record r({.ncells = 2, .pins = {{2, 1, 2}}}, Side::kNets);
  std::vector<int> work(3);
  construct_net_list(&r.h, work.data());

  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 1 occurs 2 times in the net list of cell 2");
}

TEST_F(CheckLists, ACellThatANetListsTwiceIsFatalOnTheCellSideWhenItNamesTheNetOnce) {
  EXPECT_EQ(check(mismatched({.ncells = 2, .pins = {{2, 1, 2}}}, {{1}, {1}})),
            " CheckListsofHypergraph: cell 2 occurs 2 times in the cell list of net 1");
}

TEST_F(CheckLists, ACellThatItsNetDoesNotNameIsFatal) {
  EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {1, 2}, {1, 2}})),
            " CheckListsofHypergraph: cell 3 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckLists, ACellThatAnEmptyNetShouldNameIsFatal) {
  EXPECT_EQ(check(mismatched({.ncells = 1, .pins = {{}}}, {{1}})),
            " CheckListsofHypergraph: cell 1 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckLists, CellsThatHaveNoListsNameNothing) {
  EXPECT_EQ(check(Record(row_of_cells(), Side::kNets)),
            " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 1");
}

TEST_F(CheckLists, NetsThatHaveNoListsNameNothing) {
  Record r(row_of_cells(), Side::kCells);
  r.h._p = 0;

  EXPECT_EQ(check(r), " CheckListsofHypergraph: cell 1 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckLists, NoticesAnyChangeOfAnEntryOfEitherSide) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed);
    ASSERT_EQ(check(r), recorder::kSound);
    for (std::vector<int>* const list : {&r.cell_list, &r.net_list}) {
      for (int k = 0; k < r.h._p; ++k) {
        int& entry = (*list)[static_cast<std::size_t>(k)];
        const int sound = entry;
        entry = sound % 9 + 1;
        EXPECT_NE(check(r), recorder::kSound) << "entry " << k << " is " << entry;
        entry = sound;
      }
    }
  }
}

TEST_F(CheckLists, CellNumbersOutOfRangeAreCellsThatNameNothing) {
  for (const int i : {0, -1, 4, 5, kMost, kLeast}) {
    Record r(row_of_cells());
    r.cell_list[2] = i;

    EXPECT_EQ(check(r),
              " CheckListsofHypergraph: net 2 occurs 0 times in the net list of cell " + std::to_string(i));
  }
}

TEST_F(CheckLists, NetNumbersOutOfRangeAreNetsThatNameNothing) {
  for (const int j : {0, -1, 3, 4, kMost, kLeast})
    EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {1, 2}, {2, j}})),
              " CheckListsofHypergraph: cell 3 occurs 0 times in the cell list of net " + std::to_string(j));
}

TEST_F(CheckLists, ASpareCellMayNameTheNetBackButItsPinsAreNotCounted) {
  for (const int spare : {0, 2}) {
    Record r({.ncells = 1, .pins = {{1}}});
    r.cell_list[0] = spare;
    Cell& cell = r.h._clst[spare];
    cell.nets = cell.netsend = r.h._net_list;
    r.cells[1].netsend = r.cells[1].nets - 1;

    EXPECT_EQ(check(r), "CheckListsofHypergraph pp(0)!-=h->_p(1) in nets of cells eptr-start=[-1]");
  }
}

TEST_F(CheckLists, TheListOfASpareCellMayBeAnywhereInTheArray) {
  Record r(row_of_cells());
  r.cell_list[2] = 4;  // net 2 names cells 4 and 3
  --r.cells[2].netsend;
  Cell& spare = r.h._clst[4];
  spare.nets = spare.netsend = &r.net_list[3];

  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(3)!-=h->_p(4) in nets of cells eptr-start=[3]");
}

TEST_F(CheckLists, WithoutCellsThePinsAreMissedOnTheCellSide) {
  Record r({.ncells = 1, .pins = {{1}}});
  r.h._c = 0;
  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(0)!-=h->_p(1) in nets of cells eptr-start=[-1]");
}

TEST_F(CheckLists, ASpareNetMayNameTheCellBackButIsOnePinTooMany) {
  for (const int spare : {0, 2}) {
    Record r = mismatched({.ncells = 1, .pins = {{1}}}, {{1, spare}});
    Net& net = r.h._nlst[spare];
    net.pins = net.pinsend = r.h._cell_list;

    EXPECT_EQ(check(r), "CheckListsofHypergraph pp(2)!-=h->_p(1) in nets of cells eptr-start=[1]");
  }
}

TEST_F(CheckLists, ListsOfItemsMayLieOutsideTheArrays) {
  Record r(row_of_cells());
  r.h._net_list = nullptr;
  r.h._cell_list = nullptr;
  --r.cells[3].netsend;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 2 occurs 0 times in the net list of cell 3");

  ++r.cells[3].netsend;
  --r.nets[2].pinsend;
  r.h._p = 3;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: cell 3 occurs 0 times in the cell list of net 2");
}

TEST_F(CheckLists, ASpareRecordThatNobodyHasSetNamesNothing) {
  std::vector<int> elsewhere{1, 1, 1};
  Record r({.ncells = 1, .pins = {{1}}});
  r.cell_list[0] = 2;
  Cell& cell = r.h._clst[2];
  int* const list = r.h._net_list;
  int* const end = list + r.h._p + 2;
  const std::pair<int*, int*> wild[] = {{elsewhere.data(), elsewhere.data()},
                                        {list, end},
                                        {list, list - 1},
                                        {nullptr, nullptr},
                                        {nullptr, list},
                                        {list, nullptr}};
  for (const auto& [first, last] : wild) {
    cell.nets = first;
    cell.netsend = last;
    EXPECT_EQ(check(r), " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 2");
  }
  cell.nets = cell.netsend = list;
  r.h._net_list = nullptr;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 2");
  r.h._c = 0;
  r.h._clst = nullptr;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 2");
}

TEST_F(CheckLists, ANumberOfPinsOtherThanListedIsFatal) {
  Record r(row_of_cells());
  r.h._p = 5;
  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(4)!-=h->_p(5) in cells of nets");

  r.h._p = -1;
  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(4)!-=h->_p(-1) in cells of nets");
}

TEST_F(CheckLists, PinsWithoutCellsAreMissedOnTheNetSide) {
  Record r({.ncells = 0, .pins = {{}}});
  r.h._p = 2;

  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(0)!-=h->_p(2) in cells of nets");
}

TEST_F(CheckLists, AStaleCellTotalIsFatal) {
  Record r(row_of_cells());
  r.h._totcw = 8;

  EXPECT_EQ(check(r), "CheckListsofHypergraph: computed totcw=7 but h->_totcw = 8");
}

TEST_F(CheckLists, TheNetTotalIsNotLookedAtWhileTheInternalWeightsAgree) {
  Record r(row_of_cells());
  r.h._totnw = 999;
  r.h._virtualnets = 5;
  EXPECT_EQ(check(r), recorder::kSound);

  r.cells[1].inw = 3;
  r.cells[3].inw = 4;
  r.h._totinw = 7;
  EXPECT_EQ(check(r), recorder::kSound);
}

TEST_F(CheckLists, InternalWeightsThatDisagreeAreSoundWhenTheNetTotalCountsThem) {
  Record r(row_of_cells());
  r.cells[1].inw = 3;
  r.cells[3].inw = 4;
  r.h._totinw = 100;
  r.h._virtualnets = 50;
  r.h._totnw = 10 + 20 + 7 + 50;

  EXPECT_EQ(check(r), recorder::kSound);
}

TEST_F(CheckLists, InternalWeightsThatDisagreeAreFatalWhenTheNetTotalDoesNotCountThem) {
  Record r({.ncells = 2, .pins = {{1, 2}, {}}, .net_weights = {10, 6}});
  r.cells[2].inw = 3;
  r.h._totinw = 100;
  r.h._virtualnets = 50;
  r.h._totnw = 70;

  EXPECT_EQ(check(r),
            "CheckListsofHypergraph: totnw=19 but h->_totnw = 70 OR virtn=6 and h->_virtualnets=50 "
            "BTW totinw=3 and h->totinw=100");
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

TEST_F(CheckLists, TotalsWrapAround) {
  Record r({.ncells = 2, .pins = {{1, 2}, {1}}, .net_weights = {kMost, kMost}});
  r.cells[1].w = r.cells[2].w = kMost;
  r.h._totcw = -2;
  r.cells[1].inw = kMost;
  r.cells[2].inw = 2;
  r.h._totinw = 0;  // the sum is -kMost
  r.h._virtualnets = kMost;
  r.h._totnw = -2;
  EXPECT_EQ(check(r), recorder::kSound);

  r.h._totnw = 0;
  EXPECT_EQ(
      check(r),
      "CheckListsofHypergraph: totnw=2147483647 but h->_totnw = 0 OR virtn=0 and h->_virtualnets=2147483647 "
      "BTW totinw=-2147483647 and h->totinw=0");
}

TEST_F(CheckLists, ANetWithoutPinsThatHasAWeightDrawsAWarning) {
  for (const int weight : {1, 4, -1}) {
    recorder::reset();
    EXPECT_EQ(check(Record({.ncells = 2, .pins = {{}, {1, 2}}, .net_weights = {weight, 1}})),
              recorder::kSound);
    EXPECT_THAT(recorder::warnings(), ElementsAre("hypergraph has nets with no pins")) << "weight " << weight;
    EXPECT_THAT(recorder::printed(), testing::EndsWith(" VirtNets=0\n Checking DONE....\n"));
  }
}

TEST_F(CheckLists, AWeightedNetWithoutAPinListDrawsTheSameWarning) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}, .net_weights = {4, 1}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;

  EXPECT_EQ(check(r), recorder::kSound);
  EXPECT_THAT(recorder::warnings(), ElementsAre("hypergraph has nets with no pins"));
}

TEST_F(CheckLists, NetsWithoutPinsWhoseWeightsAddUpToNothingDrawNoWarning) {
  EXPECT_EQ(check(Record({.ncells = 1, .pins = {{}, {1}}, .net_weights = {0, 1}})), recorder::kSound);
  EXPECT_EQ(check(Record({.ncells = 1, .pins = {{}, {}}, .net_weights = {3, -3}})), recorder::kSound);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

TEST_F(CheckLists, RulesAreMetInOrder) {
  // Everything is wrong at first; each step corrects the reported error.
  Record r = mismatched({.ncells = 2, .pins = {{1}, {}}, .net_weights = {1, 4}}, {{}, {1}});
  r.h._p = 9;
  r.h._totcw = 70;
  r.h._totinw = 80;
  r.h._totnw = 90;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 1");
  give_cells(r, {{1}, {1}});
  EXPECT_EQ(check(r), "CheckListsofHypergraph pp(1)!-=h->_p(9) in cells of nets");
  r.h._p = 1;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: cell 2 occurs 0 times in the cell list of net 1");
  give_cells(r, {{1}, {}});
  EXPECT_EQ(check(r), "CheckListsofHypergraph: computed totcw=2 but h->_totcw = 70");
  r.h._totcw = 2;
  EXPECT_EQ(check(r),
            "CheckListsofHypergraph: totnw=5 but h->_totnw = 90 OR virtn=4 and h->_virtualnets=0 "
            "BTW totinw=0 and h->totinw=80");
  EXPECT_THAT(recorder::warnings(), IsEmpty());
  r.h._totnw = 5;
  EXPECT_EQ(check(r), recorder::kSound);
  EXPECT_THAT(recorder::warnings(), ElementsAre("hypergraph has nets with no pins"));
}

TEST_F(CheckLists, LowerNumbersAreLookedAtFirst) {
  EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {2}, {}})),
            " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 2");
  EXPECT_EQ(check(mismatched(row_of_cells(), {{1}, {1, 2, 3}, {2, 1}})),
            " CheckListsofHypergraph: cell 2 occurs 0 times in the cell list of net 3");
}

TEST_F(CheckLists, AfterAFatalErrorNothingMoreIsPrinted) {
  Record r(row_of_cells());
  r.h._totcw = 8;
  check(r);

  EXPECT_EQ(recorder::printed(), kRowHeader);
}

TEST_F(CheckLists, TheEndPointersDecideWhereAListEnds) {
  Record r(row_of_cells());
  r.cells[4].nets = nullptr;
  r.nets[3].pins = nullptr;
  EXPECT_EQ(check(r), recorder::kSound);

  --r.cells[2].netsend;
  EXPECT_EQ(check(r), " CheckListsofHypergraph: net 2 occurs 0 times in the net list of cell 2");
}

std::string check_continues(const Record& r, int nnets) {
  return recorder::fatal_text([&r, nnets] { CheckListsofContinuesHypergraph(&r.h, nnets); });
}

TEST_F(CheckListsOfContinues, ASoundRecordPassesInSilence) {
  const Record r(row_of_cells());

  EXPECT_EQ(check_continues(r, 2), recorder::kSound);
  EXPECT_EQ(check_continues(Record({}), 0), recorder::kSound);
  EXPECT_EQ(recorder::printed(), "");
  EXPECT_THAT(recorder::warnings(), IsEmpty());
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(CheckListsOfContinues, EndPointersAndTotalsAreNotLookedAt) {
  Record r(row_of_cells());
  for (Cell& cell : r.cells) cell.netsend = nullptr;
  for (Net& net : r.nets) net.pinsend = nullptr;
  r.h._p = r.h._totcw = r.h._totnw = r.h._totinw = 77;

  EXPECT_EQ(check_continues(r, 2), recorder::kSound);
}

TEST_F(CheckListsOfContinues, ACellThatItsNetDoesNotNameIsFatal) {
  EXPECT_EQ(check_continues(mismatched(row_of_cells(), {{1}, {1, 2}, {1, 2}}), 2),
            " CheckListsofContinuesHypergraph: cell 3 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckListsOfContinues, ACellThatAnEmptyNetShouldNameIsFatal) {
  EXPECT_EQ(check_continues(mismatched({.ncells = 1, .pins = {{}}}, {{1}}), 1),
            " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckListsOfContinues, ACellThatItsNetNamesTwiceIsFatal) {
  EXPECT_EQ(check_continues(mismatched({.ncells = 2, .pins = {{2, 1, 2}}}, {{1}, {1}}), 1),
            " CheckListsofContinuesHypergraph: cell 2 occurs 2 times in the cell list of net 1");
}

TEST_F(CheckListsOfContinues, ANetThatItsCellDoesNotNameIsFatal) {
  EXPECT_EQ(check_continues(mismatched(row_of_cells(), {{1}, {2}, {2}}), 2),
            " CheckListsofContinuesHypergraph: net 1 occurs 0 times in the net list of cell 2");
}

TEST_F(CheckListsOfContinues, ANetThatItsCellNamesTwiceIsFatal) {
  EXPECT_EQ(check_continues(mismatched(row_of_cells(), {{1}, {1, 2}, {2, 2}}), 2),
            " CheckListsofContinuesHypergraph: net 2 occurs 2 times in the net list of cell 3");
}

TEST_F(CheckListsOfContinues, TheCellsAreLookedAtBeforeTheNets) {
  EXPECT_EQ(check_continues(mismatched(row_of_cells(), {{}, {1, 2}, {2, 1}}), 2),
            " CheckListsofContinuesHypergraph: cell 3 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckListsOfContinues, AnEntryThatNamesNoItemIsNamedBackNoTimes) {
  for (const int wild : {0, -1, 3, 2000000000, -2000000000}) {
    Record r(row_of_cells());
    r.net_list[0] = wild;
    EXPECT_EQ(check_continues(r, 2),
              " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net " +
                  std::to_string(wild));
  }
  for (const int wild : {0, -1, 4, 2000000000, -2000000000}) {
    Record r(mismatched(row_of_cells(), {{}, {}, {}}));
    r.cell_list[0] = wild;
    EXPECT_EQ(check_continues(r, 2),
              " CheckListsofContinuesHypergraph: net 1 occurs 0 times in the net list of cell " +
                  std::to_string(wild));
  }
}

// The cells have more entries than the nets, but the record has no more nets.
TEST_F(CheckListsOfContinues, AnEntryThatNamesNoNetIsNamedBackNoTimesBesideSurplusEntries) {
  for (const int wild : {0, -1, 3, 4, 5, 6, 2000000000}) {
    Record r(mismatched(row_of_cells(), {{1, 1, 1}, {1, 2}, {2, wild, 2, 2}}));
    r.net_list[0] = wild;
    const std::string expected =
        " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net " +
        std::to_string(wild);
    EXPECT_EQ(check_continues(r, 2), expected);

    for (const int uninitialised : {0x3e, 0xbe}) {
      std::memset(&r.nets[3].pinsend, uninitialised, sizeof(int*));
      EXPECT_EQ(check_continues(r, 0), expected);
    }
    r.nets[3].pinsend = r.nets[3].pins;
    EXPECT_EQ(check_continues(r, 0), expected);
  }
}

TEST_F(CheckListsOfContinues, OnlyNetsUpToTheGivenNumberAreLookedAt) {
  const Record r = mismatched(row_of_cells(), {{1}, {1, 2}, {}});  // net 2 names cell 3

  EXPECT_EQ(check_continues(r, 2),
            " CheckListsofContinuesHypergraph: net 2 occurs 0 times in the net list of cell 3");
  EXPECT_EQ(check_continues(r, 1), recorder::kSound);
}

TEST_F(CheckListsOfContinues, WithoutNetsToLookAtOnlyTheCellsAre) {
  const Record unnamed = mismatched(row_of_cells(), {{}, {1}, {}});
  EXPECT_EQ(check_continues(unnamed, 0), recorder::kSound);
  EXPECT_EQ(check_continues(unnamed, -1), recorder::kSound);

  EXPECT_EQ(check_continues(mismatched(row_of_cells(), {{2}, {}, {}}), 0),
            " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net 2");
}

// One net of two cells, followed by a set-aside net of the same cells, which is in the cells' regions after
// the ends of their lists.
Record with_set_aside_net() {
  Record r({.ncells = 2, .pins = {{1, 2}, {2, 1}}});
  r.h._n = 1;
  r.h._p = 2;
  r.h._totnw = 1;
  --r.cells[1].netsend;
  --r.cells[2].netsend;
  return r;
}

TEST_F(CheckListsOfContinues, SetAsideNetsAreLookedAtToo) {
  EXPECT_EQ(check_continues(with_set_aside_net(), 2), recorder::kSound);
  EXPECT_EQ(check(with_set_aside_net()), recorder::kSound);  // this check ends lists at their end pointers
}

TEST_F(CheckListsOfContinues, ASetAsideNetThatItsCellDoesNotNameIsFatal) {
  Record r = with_set_aside_net();
  give_cells(r, {{1}, {1, 2}});

  EXPECT_EQ(check_continues(r, 2),
            " CheckListsofContinuesHypergraph: net 2 occurs 0 times in the net list of cell 1");
  EXPECT_EQ(check_continues(r, r.h._n), recorder::kSound);
}

TEST_F(CheckListsOfContinues, ACellThatItsSetAsideNetDoesNotNameIsFatal) {
  Record r = with_set_aside_net();
  r.cell_list[2] = 1;  // the set-aside net names cell 1 only, twice

  EXPECT_EQ(check_continues(r, 0),
            " CheckListsofContinuesHypergraph: cell 1 occurs 2 times in the cell list of net 2");
}

TEST_F(CheckListsOfContinues, ANetAboveTheLastOfFewerThanTwoOrTooManyPinsIsNone) {
  for (const int size : {-1, 0, 1, 3, 4}) {
    Record r = with_set_aside_net();
    r.nets[2].pinsend = r.nets[2].pins + size - 1;

    EXPECT_EQ(check_continues(r, 0),
              " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net 2");
  }
}

TEST_F(CheckListsOfContinues, ANetAboveTheLastIsNoneIfTheCellsHaveNoRoomForIt) {
  Record r({.ncells = 2, .pins = {{1, 2}, {1}, {2, 1}}});
  r.h._n = 2;
  give_cells(r, {{1, 2}, {3}});

  EXPECT_EQ(check_continues(r, 2),
            " CheckListsofContinuesHypergraph: cell 2 occurs 0 times in the cell list of net 3");
}

TEST_F(CheckListsOfContinues, WithoutAnArrayOfNetsEntriesNameNone) {
  Record r = with_set_aside_net();
  r.h._nlst = nullptr;
  r.h._n = 0;
  EXPECT_EQ(check_continues(r, 0),
            " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net 1");
}

TEST_F(CheckListsOfContinues, AStartThatIsAbsentBelongsToNoList) {
  Record r(row_of_cells());
  r.nets[2].pins = nullptr;
  EXPECT_EQ(check_continues(r, 2),
            " CheckListsofContinuesHypergraph: cell 1 occurs 0 times in the cell list of net 1");

  give_cells(r, {{}, {}, {}});
  EXPECT_EQ(check_continues(r, 2), recorder::kSound);
}

TEST_F(CheckListsOfContinues, NoticesAnyChangeOfAnEntry) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed);
    ASSERT_EQ(check_continues(r, r.h._n), recorder::kSound);
    for (int k = 0; k < r.h._p; ++k) {
      int& cell = r.cell_list[static_cast<std::size_t>(k)];
      const int sound = std::exchange(cell, cell % r.h._c + 1);
      EXPECT_EQ(check_continues(r, r.h._n) == recorder::kSound, cell == sound) << "pin " << k;
      cell = sound;
    }
  }
}

int symmetry(const Record& r, int verbose) { return CheckSymmetryinHypergraph(&r.h, verbose); }

std::string symmetry_text(const Record& r) {
  return recorder::fatal_text([&r] { CheckSymmetryinHypergraph(&r.h, 0); });
}

// Three cells in a row; net i has the neighbours of cell i.
Shape neighbours() { return {.ncells = 3, .pins = {{2}, {3, 1}, {2}}}; }

TEST_F(CheckSymmetry, NeighboursAreSymmetric) {
  EXPECT_EQ(symmetry(Record(neighbours()), 0), 1);
  EXPECT_EQ(recorder::printed(), "");
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(CheckSymmetry, SaysWhatItExaminesWhenAsked) {
  EXPECT_EQ(symmetry(Record(neighbours()), 1), 1);
  EXPECT_EQ(recorder::printed(), "\n Checking Symmetry in Hypergraph H=(    3,     3,       4)");
}

TEST_F(CheckSymmetry, NoCellsAndNoNetsAreSymmetric) {
  EXPECT_EQ(symmetry(Record({}), 0), 1);
  EXPECT_EQ(recorder::printed(), "");

  EXPECT_EQ(symmetry(Record({}), -1), 1);
  EXPECT_EQ(recorder::printed(), "\n Checking Symmetry in Hypergraph H=(    0,     0,       0)");
}

TEST_F(CheckSymmetry, EntriesBeforeTheFirstAreNotLookedAt) {
  Record r(neighbours());
  r.cells[0] = r.cells[2];
  r.nets[0] = r.nets[1];
  EXPECT_EQ(symmetry(r, 0), 1);
}

TEST_F(CheckSymmetry, EmptyListsAreSymmetric) {
  EXPECT_EQ(symmetry(Record({.ncells = 2, .pins = {{}, {}}}), 0), 1);
}

TEST_F(CheckSymmetry, DifferentNumbersOfCellsAndNetsAreNotSymmetric) {
  const Record r({.ncells = 3, .pins = {{1}, {2}, {3}, {}}});
  EXPECT_EQ(symmetry(r, 0), 0);
  EXPECT_EQ(recorder::printed(), "");

  EXPECT_EQ(symmetry(r, 1), 0);
  EXPECT_EQ(recorder::printed(),
            "\n Checking Symmetry in Hypergraph H=(    3,     4,       3)"
            "\n NOT Symmetric because of #cells(3) != #nets(4)");
}

TEST_F(CheckSymmetry, CellsWithoutNetsAreNotSymmetricEither) {
  EXPECT_EQ(symmetry(Record({.ncells = 1}), 0), 0);
  EXPECT_EQ(symmetry(Record({.ncells = 0, .pins = {{}}}), 0), 0);
}

TEST_F(CheckSymmetry, DifferentLengthsAreNotSymmetric) {
  // The text shows the cell, its degree and the cell again: 1, 2, 1 and, where only cell 2 differs, 2, 1, 2.
  const Record first({.ncells = 3, .pins = {{1}, {1, 2, 3}, {3}}});
  const Record second = mismatched({.ncells = 3, .pins = {{1}, {1, 2, 3}, {3}}}, {{1}, {2}, {3}});
  EXPECT_EQ(symmetry(second, 0), 0);
  EXPECT_EQ(recorder::printed(), "");

  EXPECT_EQ(symmetry(second, 1), 0);
  EXPECT_EQ(recorder::printed(),
            "\n Checking Symmetry in Hypergraph H=(    3,     3,       5)"
            "\n NOT Symmetric beacuse deg[d]=2 size[1]=2");

  recorder::reset();
  EXPECT_EQ(symmetry(first, 1), 0);
  EXPECT_EQ(recorder::printed(),
            "\n Checking Symmetry in Hypergraph H=(    3,     3,       5)"
            "\n NOT Symmetric beacuse deg[d]=1 size[2]=1");
}

TEST_F(CheckSymmetry, AMissingNumberIsFatalAfterBothListsArePrinted) {
  const Record cycle({.ncells = 3,
                      .pins = {{2}, {3}, {1}},
                      .net_weights = {1, 1, 42},
                      .cell_weights = {1, 17, 1},
                      .parts = {0, 3, 0}});
  EXPECT_EQ(symmetry_text(cycle), "\n NOT Symmetric cell 3 not occured in cell-list of net 1");
  EXPECT_EQ(recorder::printed(),
            "\n Pins[   1] = {   2(P= 3, W= 17) }\n"
            "\n Nets[   1] = {   3(W= 42), }\n");
}

TEST_F(CheckSymmetry, TheDumpShowsEntriesThatNameNoItemWithoutPartAndWeight) {
  Record r(neighbours());
  r.net_list[0] = 2000000000;
  r.cell_list[0] = -2000000000;
  EXPECT_EQ(symmetry_text(r), "\n NOT Symmetric cell 2000000000 not occured in cell-list of net 1");
  EXPECT_EQ(recorder::printed(),
            "\n Pins[   1] = {-2000000000(P=-1, W=  0) }\n"
            "\n Nets[   1] = {2000000000(W=  0), }\n");
}

TEST_F(CheckSymmetry, TheDumpShowsNothingOfWhatFollowsTheLastSpareItem) {
  Record r({.ncells = 3, .pins = {{2}, {1}, {}}, .net_weights = {1, 1, 9}, .parts = {0, 0, 7}});
  r.h._c = r.h._n = 1;  // cell 2 is the spare one, cell 3 follows it
  r.net_list[0] = r.cell_list[0] = 3;
  r.net_list[0] = -3;
  EXPECT_EQ(symmetry_text(r), "\n NOT Symmetric cell -3 not occured in cell-list of net 1");
  EXPECT_EQ(recorder::printed(),
            "\n Pins[   1] = {   3(P=-1, W=  0) }\n"
            "\n Nets[   1] = {  -3(W=  0), }\n");
}

TEST_F(CheckSymmetry, TheDumpOfAMissingNumberFollowsTheHeaderWhenVerbose) {
  const Record r = mismatched({.ncells = 3, .pins = {{1}, {3, 2}, {}}}, {{1}, {2, 1}, {}});

  EXPECT_EQ(recorder::fatal_text([&r] { CheckSymmetryinHypergraph(&r.h, 1); }),
            "\n NOT Symmetric cell 1 not occured in cell-list of net 2");
  EXPECT_EQ(recorder::printed(),
            "\n Checking Symmetry in Hypergraph H=(    3,     3,       3)"
            "\n Pins[   2] = {   3(P=-1, W=  1),    2(P=-1, W=  1) }\n"
            "\n Nets[   2] = {   2(W=  1),    1(W=  1), }\n");
}

TEST_F(CheckSymmetry, ANumberThatTheNetListsTwiceIsFatal) {
  const Record r = mismatched({.ncells = 2, .pins = {{1, 1}, {}}}, {{1, 2}, {}});

  EXPECT_EQ(symmetry_text(r), "CheckSymmetryinHypergraph: cell 1 occurs 2 times in the cell list of net 1");
  EXPECT_EQ(recorder::printed(), "");
}

TEST_F(CheckSymmetry, EveryRepetitionIsCounted) {
  const Record r = mismatched({.ncells = 2, .pins = {{}, {2, 2, 2}}}, {{}, {2, 2, 2}});

  EXPECT_EQ(symmetry_text(r), "CheckSymmetryinHypergraph: cell 2 occurs 3 times in the cell list of net 2");
}

TEST_F(CheckSymmetry, TheFirstDifferenceDecides) {
  // Item 1 differs in its entries, item 2 in its length.
  const Record entries_first = mismatched({.ncells = 2, .pins = {{1}, {}}}, {{2}, {2}});
  EXPECT_EQ(symmetry_text(entries_first), "\n NOT Symmetric cell 2 not occured in cell-list of net 1");

  const Record length_first = mismatched({.ncells = 2, .pins = {{}, {1}}}, {{1}, {2}});
  EXPECT_EQ(symmetry(length_first, 0), 0);
}

TEST_F(CheckSymmetry, RandomSymmetricRecordsAreSymmetricUntilOnePinIsAdded) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    // For each pin j of net i, adds the pin i of net j.
    const Shape source = random_shape(seed);
    const auto n = static_cast<std::size_t>(source.ncells);
    std::vector<std::vector<bool>> joined(n, std::vector<bool>(n));
    for (std::size_t j = 0; j < std::min(n, source.pins.size()); ++j)
      for (const int i : source.pins[j]) joined[j][static_cast<std::size_t>(i) - 1] = true;
    Shape shape = {.ncells = source.ncells, .pins = Lists(n)};
    for (std::size_t j = 0; j < n; ++j)
      for (std::size_t i = 0; i < n; ++i)
        if (joined[j][i] || joined[i][j]) shape.pins[j].push_back(static_cast<int>(i) + 1);
    EXPECT_EQ(symmetry(Record(shape), 0), 1);

    if (n < 2 || joined[0][1] || joined[1][0]) continue;
    shape.pins[0].push_back(2);
    EXPECT_EQ(symmetry(Record(shape), 0), 0);
  }
}

}  // namespace
}  // namespace quillon
