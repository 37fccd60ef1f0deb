#include <gmock/gmock.h>

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

using PlainCopy = Recorded;

// The recorder's pattern of an uninitialised block.
constexpr int kUncleared = static_cast<int>(0xa5a5a5a5u);
const void* const kUnclearedPointer = reinterpret_cast<const void*>(0xa5a5a5a5a5a5a5a5u);

// A copy, freed at the end of its test.
struct Copy {
  explicit Copy(const Hypergraph& source) : result(CopyHypergraph(&h, &source)) {}
  ~Copy() { free_hypergraph(&h); }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  Hypergraph h = {};
  int result;
};

std::vector<int> ints(const int* first, int count) { return {first, first + count}; }

// Three cells; net 2 is empty, and so is the list of cell 3.
Shape three_cells() {
  return {.ncells = 3,
          .pins = {{2, 1}, {}, {1, 2}},
          .net_weights = {10, 20, 30},
          .cell_weights = {4, 5, 6},
          .parts = {2, 0, 1}};
}

// Net 1 and cell 2 have one entry more in their arrays than in their lists.
Record record_with_gaps() {
  Record r({.ncells = 3, .pins = {{1, 3, 2}, {2, 3}}});
  --r.nets[1].pinsend;   // without cell 2
  --r.cells[2].netsend;  // without net 2
  r.h._p = 4;
  return r;
}

TEST_F(PlainCopy, AllocatesItsFourArraysInOrderAndNothingElse) {
  const Record r({.ncells = 3, .pins = {{1, 2}, {2, 3}}});
  const Copy copy(r.h);

  EXPECT_THAT(recorder::requests(), ElementsAre("umalloc 160 malloc_hypergraph: clst",      //
                                                "umalloc 96 malloc_hypergraph: nlst",       //
                                                "umalloc 24 malloc_hypergraph: cell_list",  //
                                                "umalloc 24 malloc_hypergraph: net_list"));
}

TEST_F(PlainCopy, Returns0) {
  const Record r(three_cells());
  EXPECT_EQ(Copy(r.h).result, 0);
}

TEST_F(PlainCopy, IsReleasedAsAHeapRecord) {
  const Record r(three_cells());
  { const Copy copy(r.h); }

  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(PlainCopy, HasTheCountsAndListsOfTheSource) {
  const Record r(three_cells());
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._c, 3);
  EXPECT_EQ(copy.h._n, 3);
  EXPECT_EQ(copy.h._p, 4);
  EXPECT_THAT(pins_of_nets(copy.h), ElementsAre(ElementsAre(2, 1), IsEmpty(), ElementsAre(1, 2)));
  EXPECT_THAT(nets_of_cells(copy.h), ElementsAre(ElementsAre(1, 3), ElementsAre(1, 3), IsEmpty()));
}

TEST_F(PlainCopy, HasEveryFieldOfTheCellsAndNets) {
  Record r(three_cells());
  for (int i = 1; i <= 3; ++i) {
    r.h._clst[i].inw = 100 + i;
    r.h._clst[i].wdeg = 200 + i;
  }
  const Copy copy(r.h);

  EXPECT_THAT(of_cells(copy.h, &Cell::w), ElementsAre(4, 5, 6));
  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(101, 102, 103));
  EXPECT_THAT(of_cells(copy.h, &Cell::pno), ElementsAre(2, 0, 1));
  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(201, 202, 203));
  EXPECT_THAT(of_nets(copy.h, &Net::w), ElementsAre(10, 20, 30));
}

TEST_F(PlainCopy, LaysTheListsOutInARowWhateverGapsTheSourceHas) {
  const Record r = record_with_gaps();
  const Copy copy(r.h);

  EXPECT_THAT(ints(copy.h._cell_list, 6), ElementsAre(1, 3, 2, 3, kUncleared, kUncleared));
  EXPECT_THAT(ints(copy.h._net_list, 6), ElementsAre(1, 1, 1, 2, kUncleared, kUncleared));
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_EQ(copy.h._nlst[1].pinsend, copy.h._cell_list + 1);
  EXPECT_EQ(copy.h._nlst[2].pins, copy.h._cell_list + 2);
  EXPECT_EQ(copy.h._nlst[2].pinsend, copy.h._cell_list + 3);
  EXPECT_EQ(copy.h._clst[2].nets, copy.h._net_list + 1);
  EXPECT_EQ(copy.h._clst[2].netsend, copy.h._net_list + 1);
  EXPECT_EQ(copy.h._clst[3].nets, copy.h._net_list + 2);
  EXPECT_EQ(copy.h._clst[3].netsend, copy.h._net_list + 3);
}

TEST_F(PlainCopy, GivesAnEmptyNetThePlaceWhereTheNextNetBegins) {
  const Record r(three_cells());
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._nlst[2].pins, copy.h._cell_list + 2);
  EXPECT_EQ(copy.h._nlst[2].pinsend, copy.h._cell_list + 1);
  EXPECT_EQ(copy.h._nlst[3].pins, copy.h._cell_list + 2);
}

TEST_F(PlainCopy, GivesACellWithoutNetsAnEmptyListAtItsPlace) {
  const Record r(three_cells());
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._clst[3].nets, copy.h._net_list + 4);
  EXPECT_EQ(copy.h._clst[3].netsend, copy.h._net_list + 3);
}

TEST_F(PlainCopy, EndsThePinsInTheSentinelNetsPinsendAndLeavesItsPinsUnset) {
  const Record r(three_cells());
  const Copy copy(r.h);
  const Net& sentinel = copy.h._nlst[4];

  EXPECT_EQ(sentinel.pinsend, copy.h._cell_list + 4);
  EXPECT_EQ(sentinel.pins, kUnclearedPointer);
  EXPECT_EQ(sentinel.w, kUncleared);
}

TEST_F(PlainCopy, EndsTheNetListsInTheSentinelCellsNets) {
  const Record r(three_cells());
  const Copy copy(r.h);
  const Cell& sentinel = copy.h._clst[4];

  EXPECT_EQ(sentinel.nets, copy.h._net_list + 4);
  EXPECT_EQ(sentinel.netsend, kUnclearedPointer);
  EXPECT_THAT(std::vector<int>({sentinel.w, sentinel.inw, sentinel.pno, sentinel.wdeg}), Each(kUncleared));
}

TEST_F(PlainCopy, LeavesEntry0OfCellsAndNetsAsAllocated) {
  const Record r(three_cells());
  const Copy copy(r.h);

  EXPECT_THAT(std::vector<int>({copy.h._clst[0].w, copy.h._clst[0].wdeg, copy.h._nlst[0].w}),
              Each(kUncleared));
  EXPECT_EQ(copy.h._nlst[0].pins, kUnclearedPointer);
  EXPECT_EQ(copy.h._clst[0].nets, kUnclearedPointer);
}

TEST_F(PlainCopy, KeepsTheTotalsAndClearsTheExtremes) {
  Record r(three_cells());
  r.h._maxwcd = 1;
  r.h._maxcd = 2;
  r.h._mincd = 3;
  r.h._totcw = 4;
  r.h._totinw = kLeast;
  r.h._totnw = kMost;
  r.h._virtualnets = 7;
  r.h._fmt = 2;
  r.h._ninternets = 9;
  const Copy copy(r.h);

  EXPECT_THAT(std::vector<int>({copy.h._maxwcd, copy.h._maxcd, copy.h._mincd}), Each(0));
  EXPECT_EQ(copy.h._totcw, 4);
  EXPECT_EQ(copy.h._totinw, kLeast);
  EXPECT_EQ(copy.h._totnw, kMost);
  EXPECT_EQ(copy.h._virtualnets, 7);
  EXPECT_EQ(copy.h._fmt, 2);
  EXPECT_EQ(copy.h._ninternets, 9);
}

TEST_F(PlainCopy, CopiesNeitherTheOptionalArraysNorTheTag) {
  Record r(three_cells());
  InternalNet internet = {1, 1};
  int* const set = Destination::elsewhere;
  r.h._aux1 = r.h._aux2 = set;
  r.h._iprm = r.h._iprmi = r.h._netmap = r.h._clabel = r.h._nlabel = r.h._fixedAtPart = set;
  r.h._internets = &internet;
  r.h._ninternets = 1;
  r.h._tag = 31;
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._aux1, nullptr);
  EXPECT_EQ(copy.h._aux2, nullptr);
  EXPECT_THAT(std::vector<int*>({copy.h._iprm, copy.h._iprmi, copy.h._netmap, copy.h._clabel, copy.h._nlabel,
                                 copy.h._fixedAtPart}),
              Each(nullptr));
  EXPECT_EQ(copy.h._internets, nullptr);
  EXPECT_EQ(copy.h._tag, 0);
}

TEST_F(PlainCopy, OverwritesTheDestinationWithoutReleasingAnything) {
  const Record first(three_cells());
  const Record second({.ncells = 1, .pins = {{1}}});
  Hypergraph h;
  CopyHypergraph(&h, &first.h);
  Hypergraph lost = h;
  CopyHypergraph(&h, &second.h);

  EXPECT_THAT(recorder::requests({"free", "urealloc"}), IsEmpty());
  EXPECT_EQ(recorder::held().size(), 8u);
  EXPECT_THAT(pins_of_nets(h), ElementsAre(ElementsAre(1)));
  EXPECT_THAT(pins_of_nets(lost), ElementsAre(ElementsAre(2, 1), IsEmpty(), ElementsAre(1, 2)));
}

TEST_F(PlainCopy, DoesNotChangeTheSource) {
  const Record r(three_cells());
  const Record same(three_cells());
  const std::vector<int> before = counts_of(r.h);
  const Copy copy(r.h);

  EXPECT_EQ(counts_of(r.h), before);
  EXPECT_EQ(r.cell_list, same.cell_list);
  EXPECT_EQ(r.net_list, same.net_list);
  EXPECT_EQ(of_cells(r.h, &Cell::w), of_cells(same.h, &Cell::w));
  EXPECT_EQ(of_nets(r.h, &Net::w), of_nets(same.h, &Net::w));
}

TEST_F(PlainCopy, SharesNoListWithTheSource) {
  const Record r(three_cells());
  const Copy copy(r.h);
  for (int i = 0; i < 4; ++i) copy.h._cell_list[i] = copy.h._net_list[i] = 99;

  EXPECT_THAT(pins_of_nets(r.h), ElementsAre(ElementsAre(2, 1), IsEmpty(), ElementsAre(1, 2)));
  EXPECT_THAT(nets_of_cells(r.h), ElementsAre(ElementsAre(1, 3), ElementsAre(1, 3), IsEmpty()));
}

TEST_F(PlainCopy, WithoutNetsTheFirstOneIsTheSentinel) {
  const Record r({.ncells = 2});
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._nlst[1].pinsend, copy.h._cell_list);
  EXPECT_EQ(copy.h._nlst[1].pins, kUnclearedPointer);
  EXPECT_THAT(ints(copy.h._cell_list, 2), Each(kUncleared));
  EXPECT_EQ(copy.h._clst[3].nets, copy.h._net_list);
}

TEST_F(PlainCopy, WithoutCellsTheFirstOneIsTheSentinel) {
  const Record r({.ncells = 0, .pins = {{}, {}}});
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._clst[1].nets, copy.h._net_list);
  EXPECT_EQ(copy.h._clst[1].netsend, kUnclearedPointer);
  EXPECT_EQ(copy.h._nlst[3].pinsend, copy.h._cell_list);
}

TEST_F(PlainCopy, OfNothingAllocatesTheSpareEntriesOnly) {
  const Record r(Shape{});
  const Copy copy(r.h);

  EXPECT_THAT(recorder::requests(), ElementsAre("umalloc 64 malloc_hypergraph: clst",      //
                                                "umalloc 48 malloc_hypergraph: nlst",      //
                                                "umalloc 8 malloc_hypergraph: cell_list",  //
                                                "umalloc 8 malloc_hypergraph: net_list"));
  EXPECT_EQ(copy.h._nlst[1].pinsend, copy.h._cell_list);
  EXPECT_EQ(copy.h._clst[1].nets, copy.h._net_list);
}

TEST_F(PlainCopy, TreatsANetWithoutAPinListAsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  const Copy copy(r.h);

  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_EQ(copy.h._nlst[1].pinsend, copy.h._cell_list - 1);
  EXPECT_THAT(pins_of_nets(copy.h), ElementsAre(IsEmpty(), ElementsAre(1, 2)));
}

TEST_F(PlainCopy, KeepsACellThatANetNamesTwice) {
  const Record r({.ncells = 2, .pins = {{2, 1, 2}}});
  const Copy copy(r.h);

  EXPECT_THAT(pins_of_nets(copy.h), ElementsAre(ElementsAre(2, 1, 2)));
  EXPECT_THAT(nets_of_cells(copy.h), ElementsAre(ElementsAre(1), ElementsAre(1, 1)));
}

TEST_F(PlainCopy, LeavesTheSetAsideNetsOfAPruningCopyOut) {
  const Record r({.ncells = 3, .pins = {{1, 2, 3}, {3, 2}}});
  Destination pruned(r.h);
  prune(r.h, pruned, 3, 0);
  const Copy copy(pruned.h);

  EXPECT_EQ(copy.h._n, 1);
  EXPECT_EQ(copy.h._p, 2);
  EXPECT_THAT(ints(copy.h._cell_list, 4), ElementsAre(3, 2, kUncleared, kUncleared));
  EXPECT_THAT(ints(copy.h._net_list, 4), ElementsAre(1, 1, kUncleared, kUncleared));
  EXPECT_EQ(copy.h._nlst[2].pinsend, copy.h._cell_list + 2);
  EXPECT_EQ(copy.h._clst[4].nets, copy.h._net_list + 2);
}

TEST_F(PlainCopy, EndsTheProgramWithTheTagOfTheArrayThatFails) {
  const Record r(three_cells());
  const std::vector<std::string> tags = {"malloc_hypergraph: clst", "malloc_hypergraph: nlst",
                                         "malloc_hypergraph: cell_list", "malloc_hypergraph: net_list"};
  int n = 0;
  for (const std::string& tag : tags) {
    recorder::reset();
    recorder::fail_allocation(++n);
    Hypergraph h;
    EXPECT_EQ(recorder::fatal_text([&] { CopyHypergraph(&h, &r.h); }), tag);
  }
}

TEST_F(PlainCopy, OfRandomHypergraphsIsSoundAndAgreesWithItsTwin) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Record r = random_record(seed);
    Hypergraph expected;
    recorder::reset();
    EXPECT_EQ(oracle::CopyHypergraph(&expected, &r.h), 0);
    const std::vector<std::string> expected_requests = recorder::requests();
    const Copy copy(r.h);

    EXPECT_EQ(recorder::requests().size(), 2 * expected_requests.size());
    EXPECT_EQ(counts_of(copy.h), counts_of(expected));
    EXPECT_EQ(pins_of_nets(copy.h), pins_of_nets(expected));
    EXPECT_EQ(nets_of_cells(copy.h), nets_of_cells(expected));
    EXPECT_EQ(of_nets(copy.h, &Net::w), of_nets(expected, &Net::w));
    for (int Cell::*const field : {&Cell::w, &Cell::inw, &Cell::pno, &Cell::wdeg})
      EXPECT_EQ(of_cells(copy.h, field), of_cells(expected, field));
    EXPECT_EQ(recorder::fatal_text([&] { CheckListsofHypergraph(&copy.h); }), recorder::kSound);
    oracle::free_hypergraph(&expected);
  }
}

}  // namespace
}  // namespace quillon
