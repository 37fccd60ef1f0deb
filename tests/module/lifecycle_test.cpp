#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using HypergraphLayout = Recorded;
using CreateHypergraph = Recorded;
using DestroyHypergraph = Recorded;
using CreateHypergraphData = Recorded;
using DestroyHypergraphData = Recorded;
using MallocHypergraph = Recorded;
using FreeHypergraph = Recorded;

// A record in which no byte is zero: tests see which fields an initialiser sets.
Hypergraph filled_record() {
  Hypergraph h;
  std::memset(static_cast<void*>(&h), 0x5a, sizeof h);
  return h;
}

constexpr int kFilled = 0x5a5a5a5a;
int* const filled_pointer = filled_record()._iprm;

Hypergraph* created(int ncells, int nnets, int npins) {
  Hypergraph* const h = create_hypergraph(0);
  h->_c = ncells;
  h->_n = nnets;
  h->_p = npins;
  return h;
}

template <typename T>
T* block(int pool, const char* tag) {
  return static_cast<T*>(poolalloc(pool, 64, tag));
}

void expect_zero_summaries(const Hypergraph& h) {
  EXPECT_EQ(h._maxwcd, 0);
  EXPECT_EQ(h._maxcd, 0);
  EXPECT_EQ(h._mincd, 0);
  EXPECT_EQ(h._totcw, 0);
  EXPECT_EQ(h._totinw, 0);
  EXPECT_EQ(h._totnw, 0);
  EXPECT_EQ(h._virtualnets, 0);
}

void expect_no_main_arrays(const Hypergraph& h) {
  EXPECT_EQ(h._clst, nullptr);
  EXPECT_EQ(h._nlst, nullptr);
  EXPECT_EQ(h._net_list, nullptr);
  EXPECT_EQ(h._cell_list, nullptr);
}

void expect_no_other_arrays(const Hypergraph& h) {
  EXPECT_EQ(h._aux1, nullptr);
  EXPECT_EQ(h._aux2, nullptr);
  EXPECT_EQ(h._iprm, nullptr);
  EXPECT_EQ(h._iprmi, nullptr);
  EXPECT_EQ(h._netmap, nullptr);
  EXPECT_EQ(h._clabel, nullptr);
  EXPECT_EQ(h._nlabel, nullptr);
  EXPECT_EQ(h._ninternets, 0);
  EXPECT_EQ(h._internets, nullptr);
  EXPECT_EQ(h._fixedAtPart, nullptr);
}

TEST_F(HypergraphLayout, TheRecordBeginsWithElevenCountsInTheirOrder) {
  static_assert(std::is_standard_layout_v<Hypergraph> && std::is_trivial_v<Hypergraph>);
  EXPECT_THAT(std::vector<std::size_t>(
                  {offsetof(Hypergraph, _c), offsetof(Hypergraph, _n), offsetof(Hypergraph, _p),
                   offsetof(Hypergraph, _maxwcd), offsetof(Hypergraph, _maxcd), offsetof(Hypergraph, _mincd),
                   offsetof(Hypergraph, _totcw), offsetof(Hypergraph, _totinw), offsetof(Hypergraph, _totnw),
                   offsetof(Hypergraph, _virtualnets), offsetof(Hypergraph, _fmt)}),
              ElementsAre(0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40));
}

TEST_F(HypergraphLayout, TheArraysFollowTheCountsInTheirOrder) {
  EXPECT_THAT(std::vector<std::size_t>(
                  {offsetof(Hypergraph, _clst), offsetof(Hypergraph, _nlst), offsetof(Hypergraph, _net_list),
                   offsetof(Hypergraph, _cell_list), offsetof(Hypergraph, _aux1), offsetof(Hypergraph, _aux2),
                   offsetof(Hypergraph, _iprm), offsetof(Hypergraph, _iprmi), offsetof(Hypergraph, _netmap),
                   offsetof(Hypergraph, _clabel), offsetof(Hypergraph, _nlabel)}),
              ElementsAre(48, 56, 64, 72, 80, 88, 96, 104, 112, 120, 128));
  EXPECT_THAT(std::vector<std::size_t>({offsetof(Hypergraph, _ninternets), offsetof(Hypergraph, _internets),
                                        offsetof(Hypergraph, _fixedAtPart), offsetof(Hypergraph, _tag),
                                        sizeof(Hypergraph)}),
              ElementsAre(136, 144, 152, 160, 168));
}

TEST_F(HypergraphLayout, CellsNetsAndInternalNetsHaveTheirFieldsInOrder) {
  EXPECT_THAT(std::vector<std::size_t>({offsetof(Cell, w), offsetof(Cell, inw), offsetof(Cell, pno),
                                        offsetof(Cell, wdeg), offsetof(Cell, nets), offsetof(Cell, netsend),
                                        sizeof(Cell)}),
              ElementsAre(0, 4, 8, 12, 16, 24, 32));
  EXPECT_THAT(
      std::vector<std::size_t>({offsetof(Net, w), offsetof(Net, pins), offsetof(Net, pinsend), sizeof(Net)}),
      ElementsAre(0, 8, 16, 24));
  EXPECT_THAT(std::vector<std::size_t>(
                  {offsetof(InternalNet, net), offsetof(InternalNet, cell), sizeof(InternalNet)}),
              ElementsAre(0, 4, 8));
}

TEST_F(CreateHypergraph, AllocatesOneBlockOfPoolZero) {
  create_hypergraph(0);

  EXPECT_THAT(recorder::requests(), ElementsAre("poolalloc 0 168 create_hypergraph: h"));
}

TEST_F(CreateHypergraph, ClearsSummariesAndPointersAndStoresTheTag) {
  const Hypergraph* const h = create_hypergraph(-31);

  expect_zero_summaries(*h);
  expect_no_main_arrays(*h);
  expect_no_other_arrays(*h);
  EXPECT_EQ(h->_tag, -31);
}

TEST_F(CreateHypergraph, LeavesCountsAndFormatAsThePoolHeldThem) {
  const Hypergraph* const h = create_hypergraph(1);
  int uncleared;
  std::memset(&uncleared, 0xa5, sizeof uncleared);

  EXPECT_EQ(h->_c, uncleared);
  EXPECT_EQ(h->_n, uncleared);
  EXPECT_EQ(h->_p, uncleared);
  EXPECT_EQ(h->_fmt, uncleared);
}

TEST_F(CreateHypergraph, EndsTheProgramWhenThePoolIsFull) {
  recorder::fail_allocation(1);

  EXPECT_EQ(recorder::fatal_text([] { create_hypergraph(0); }), "create_hypergraph: h");
}

TEST_F(DestroyHypergraph, ReleasesTheRecordAndReturnsWhatThePoolReturns) {
  Hypergraph* const h = create_hypergraph(0);

  EXPECT_EQ(destroy_hypergraph(h), 1);
  EXPECT_THAT(recorder::requests({"poolfree"}),
              ElementsAre("poolfree 0 destroy_hypergraph: hygre <- create_hypergraph: h"));
  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(DestroyHypergraph, AlsoReleasesYoungerBlocksOfPoolZeroAndLeavesTheRest) {
  block<int>(0, "older");
  block<int>(1, "older in pool 1");
  Hypergraph* const h = create_hypergraph(0);
  block<int>(0, "younger");
  block<int>(1, "younger in pool 1");
  block<int>(0, "youngest");

  EXPECT_EQ(destroy_hypergraph(h), 3);
  EXPECT_THAT(recorder::held(), ElementsAre("older", "older in pool 1", "younger in pool 1"));
}

TEST_F(DestroyHypergraph, HandsARecordThatIsNotHeldToThePoolToReport) {
  Hypergraph* const h = create_hypergraph(0);
  destroy_hypergraph(h);

  EXPECT_EQ(recorder::fatal_text([h] { destroy_hypergraph(h); }),
            "poolfree_upto of a block that is not held: destroy_hypergraph: hygre");
}

TEST_F(CreateHypergraphData, WithoutOptionsAllocatesSixBlocks) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 0, 0, 0);

  EXPECT_THAT(recorder::requests(),
              ElementsAre("poolalloc 0 168 create_hypergraph: h",           //
                          "poolalloc 0 160 create_hypergraph_data: clst",   //
                          "poolalloc 0 20 create_hypergraph_data: iprm",    //
                          "poolalloc 0 20 create_hypergraph_data: iprmi",   //
                          "poolalloc 0 12 create_hypergraph_data: netmap",  //
                          "poolalloc 0 96 create_hypergraph_data: nlst",    //
                          "poolalloc 1 28 create_hypergraph_data: cell_list"));
  EXPECT_EQ(h->_net_list, nullptr);
}

TEST_F(CreateHypergraphData, EveryChoiceOfOptionsAllocatesItsBlocksInOrder) {
  for (int choice = 0; choice < 8; ++choice) {
    SCOPED_TRACE(testing::Message() << "choice " << choice);
    recorder::reset();
    const bool net_list = (choice & 1) != 0, fixed = (choice & 2) != 0, labels = (choice & 4) != 0;
    create_hypergraph_data(created(3, 2, 5), net_list ? -1 : 0, fixed ? 2 : 0, labels ? 4 : 0);

    std::vector<std::string> expected = {"poolalloc 0 168 create_hypergraph: h"};
    if (labels) {
      expected.push_back("poolalloc 0 12 create_hypergraph_data: nlabel");
      expected.push_back("poolalloc 0 16 create_hypergraph_data: clabel");
    }
    if (fixed) expected.push_back("poolalloc 0 20 create_hypergraph_data: fixedAtPart");
    for (const char* const request :
         {"poolalloc 0 160 create_hypergraph_data: clst", "poolalloc 0 20 create_hypergraph_data: iprm",
          "poolalloc 0 20 create_hypergraph_data: iprmi", "poolalloc 0 12 create_hypergraph_data: netmap",
          "poolalloc 0 96 create_hypergraph_data: nlst", "poolalloc 1 28 create_hypergraph_data: cell_list"})
      expected.push_back(request);
    if (net_list) expected.push_back("poolalloc 1 28 create_hypergraph_data: net_list");
    EXPECT_THAT(recorder::requests(), ElementsAreArray(expected));
  }
}

// A release names its block, which shows the block that a field holds.
std::string tag_of(int pool, void* pointer) {
  poolfree_upto(pool, pointer, "tag_of");
  const std::string request = recorder::requests().back();
  return request.substr(request.find("<- ") + 3);
}

TEST_F(CreateHypergraphData, EachFieldGetsItsOwnBlock) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 1, 1, 1);

  EXPECT_EQ(tag_of(1, h->_net_list), "create_hypergraph_data: net_list");
  EXPECT_EQ(tag_of(1, h->_cell_list), "create_hypergraph_data: cell_list");
  EXPECT_EQ(tag_of(0, h->_nlst), "create_hypergraph_data: nlst");
  EXPECT_EQ(tag_of(0, h->_netmap), "create_hypergraph_data: netmap");
  EXPECT_EQ(tag_of(0, h->_iprmi), "create_hypergraph_data: iprmi");
  EXPECT_EQ(tag_of(0, h->_iprm), "create_hypergraph_data: iprm");
  EXPECT_EQ(tag_of(0, h->_clst), "create_hypergraph_data: clst");
  EXPECT_EQ(tag_of(0, h->_fixedAtPart), "create_hypergraph_data: fixedAtPart");
  EXPECT_EQ(tag_of(0, h->_clabel), "create_hypergraph_data: clabel");
  EXPECT_EQ(tag_of(0, h->_nlabel), "create_hypergraph_data: nlabel");
}

TEST_F(CreateHypergraphData, DoesNotClearTheArrays) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 1, 1, 1);

  const auto byte = [](const void* at) { return static_cast<int>(*static_cast<const unsigned char*>(at)); };
  EXPECT_THAT(std::vector<int>({byte(h->_clst), byte(h->_nlst), byte(h->_net_list), byte(h->_cell_list),
                                byte(h->_iprm), byte(h->_iprmi), byte(h->_netmap), byte(h->_clabel),
                                byte(h->_nlabel), byte(h->_fixedAtPart)}),
              testing::Each(0xa5));
}

TEST_F(CreateHypergraphData, LeavesLabelsAndFixedPartsAsTheyWereUnlessAskedFor) {
  Hypergraph h = filled_record();
  h._c = h._n = h._p = 1;
  create_hypergraph_data(&h, 0, 0, 0);

  EXPECT_EQ(h._clabel, filled_pointer);
  EXPECT_EQ(h._nlabel, filled_pointer);
  EXPECT_EQ(h._fixedAtPart, filled_pointer);
  EXPECT_EQ(h._net_list, nullptr);
}

TEST_F(CreateHypergraphData, TouchesNothingButTheArrays) {
  Hypergraph h = filled_record();
  h._c = 1;
  h._n = 2;
  h._p = 3;
  create_hypergraph_data(&h, 1, 1, 1);

  EXPECT_THAT(std::vector<int>({h._c, h._n, h._p}), ElementsAre(1, 2, 3));
  EXPECT_THAT(std::vector<int>({h._maxwcd, h._maxcd, h._mincd, h._totcw, h._totinw, h._totnw, h._virtualnets,
                                h._fmt, h._ninternets, h._tag}),
              testing::Each(kFilled));
  EXPECT_EQ(h._aux1, filled_pointer);
  EXPECT_EQ(h._aux2, filled_pointer);
  EXPECT_EQ(static_cast<void*>(h._internets), filled_pointer);
}

TEST_F(CreateHypergraphData, WithoutCellsNetsAndPinsThereIsRoomForTheSpareEntries) {
  create_hypergraph_data(created(0, 0, 0), 1, 1, 1);

  EXPECT_THAT(recorder::requests(),
              ElementsAre("poolalloc 0 168 create_hypergraph: h",               //
                          "poolalloc 0 4 create_hypergraph_data: nlabel",       //
                          "poolalloc 0 4 create_hypergraph_data: clabel",       //
                          "poolalloc 0 8 create_hypergraph_data: fixedAtPart",  //
                          "poolalloc 0 64 create_hypergraph_data: clst",        //
                          "poolalloc 0 8 create_hypergraph_data: iprm",         //
                          "poolalloc 0 8 create_hypergraph_data: iprmi",        //
                          "poolalloc 0 4 create_hypergraph_data: netmap",       //
                          "poolalloc 0 48 create_hypergraph_data: nlst",        //
                          "poolalloc 1 8 create_hypergraph_data: cell_list",    //
                          "poolalloc 1 8 create_hypergraph_data: net_list"));
}

// Runs until the n-th request, which fails: no memory of that size is allocated.
std::string request_that_fails(Hypergraph* h, int n) {
  recorder::fail_allocation(n);
  recorder::fatal_text([h] { create_hypergraph_data(h, 0, 1, 1); });
  return recorder::requests().back();
}

TEST_F(CreateHypergraphData, CountsBytesInSixtyFourBits) {
  EXPECT_EQ(request_that_fails(created(0, kMost, 0), 1),
            "poolalloc 0 8589934592 create_hypergraph_data: nlabel");
  EXPECT_EQ(request_that_fails(created(kMost, 0, 0), 2),
            "poolalloc 0 8589934592 create_hypergraph_data: clabel");
  Hypergraph many_cells = *created(kMost, 0, 0);
  recorder::fail_allocation(1);
  recorder::fatal_text([&] { create_hypergraph_data(&many_cells, 0, 1, 0); });
  EXPECT_EQ(recorder::requests().back(), "poolalloc 0 8589934596 create_hypergraph_data: fixedAtPart");
  recorder::fail_allocation(1);
  recorder::fatal_text([&] { create_hypergraph_data(&many_cells, 0, 0, 0); });
  EXPECT_EQ(recorder::requests().back(), "poolalloc 0 68719476768 create_hypergraph_data: clst");
  EXPECT_EQ(request_that_fails(created(0, 100000000, 0), 1),
            "poolalloc 0 400000004 create_hypergraph_data: nlabel");
}

TEST_F(CreateHypergraphData, CountsBytesOfNetsAndPinsInSixtyFourBits) {
  Hypergraph many_pins = *created(0, 0, 2147483647);
  recorder::fail_allocation(6);
  recorder::fatal_text([&] { create_hypergraph_data(&many_pins, 1, 0, 0); });
  EXPECT_EQ(recorder::requests().back(), "poolalloc 1 8589934596 create_hypergraph_data: cell_list");

  Hypergraph many_nets = *created(0, 2147483647, 0);
  recorder::fail_allocation(4);
  recorder::fatal_text([&] { create_hypergraph_data(&many_nets, 1, 0, 0); });
  EXPECT_EQ(recorder::requests().back(), "poolalloc 0 8589934592 create_hypergraph_data: netmap");
}

TEST_F(CreateHypergraphData, EachFailingRequestNamesItsBlock) {
  std::vector<std::string> tags;
  for (int n = 1; n <= 11; ++n) {
    recorder::reset();
    Hypergraph* const h = created(3, 2, 5);
    recorder::fail_allocation(n);
    tags.push_back(recorder::fatal_text([h] { create_hypergraph_data(h, 1, 1, 1); }));
  }

  EXPECT_THAT(tags, ElementsAre("create_hypergraph_data: nlabel", "create_hypergraph_data: clabel",
                                "create_hypergraph_data: fixedAtPart", "create_hypergraph_data: clst",
                                "create_hypergraph_data: iprm", "create_hypergraph_data: iprmi",
                                "create_hypergraph_data: netmap", "create_hypergraph_data: nlst",
                                "create_hypergraph_data: cell_list", "create_hypergraph_data: net_list",
                                recorder::kSound));
}

TEST_F(DestroyHypergraphData, WithoutOptionsMakesSixReleases) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 0, 0, 0);
  destroy_hypergraph_data(h);

  EXPECT_THAT(
      recorder::requests({"poolfree"}),
      ElementsAre("poolfree 1 destroy_hypergraph_data: cell_list <- create_hypergraph_data: cell_list",
                  "poolfree 0 destroy_hypergraph_data: nlst <- create_hypergraph_data: nlst",
                  "poolfree 0 destroy_hypergraph_data: netmap <- create_hypergraph_data: netmap",
                  "poolfree 0 destroy_hypergraph_data: iprmi <- create_hypergraph_data: iprmi",
                  "poolfree 0 destroy_hypergraph_data: iprm <- create_hypergraph_data: iprm",
                  "poolfree 0 destroy_hypergraph_data: clst <- create_hypergraph_data: clst"));
  EXPECT_THAT(recorder::held(), ElementsAre("create_hypergraph: h"));
}

TEST_F(DestroyHypergraphData, EveryChoiceOfOptionsIsReleasedNewestFirst) {
  for (int choice = 0; choice < 8; ++choice) {
    SCOPED_TRACE(testing::Message() << "choice " << choice);
    recorder::reset();
    const bool net_list = (choice & 1) != 0, fixed = (choice & 2) != 0, labels = (choice & 4) != 0;
    Hypergraph* const h = created(3, 2, 5);
    create_hypergraph_data(h, net_list ? 1 : 0, fixed ? 1 : 0, labels ? 1 : 0);
    destroy_hypergraph_data(h);

    std::vector<std::string> blocks = {"cell_list", "nlst", "netmap", "iprmi", "iprm", "clst"};
    if (net_list) blocks.insert(blocks.begin(), "net_list");
    if (fixed) blocks.push_back("fixedAtPart");
    if (labels) {
      blocks.push_back("clabel");
      blocks.push_back("nlabel");
    }
    std::vector<std::string> expected;
    for (const std::string& name : blocks)
      expected.push_back(std::string("poolfree ") + (name == "net_list" || name == "cell_list" ? "1" : "0") +
                         " destroy_hypergraph_data: " + name + " <- create_hypergraph_data: " + name);
    EXPECT_THAT(recorder::requests({"poolfree"}), ElementsAreArray(expected));
    EXPECT_EQ(destroy_hypergraph(h), 1);
    EXPECT_THAT(recorder::held(), IsEmpty());
  }
}

TEST_F(DestroyHypergraphData, InternalNetsAllocatedAfterTheNetsAreReleasedFirst) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 0, 0, 0);
  h->_internets = block<InternalNet>(0, "internal nets");
  destroy_hypergraph_data(h);

  EXPECT_THAT(
      recorder::requests({"poolfree"}),
      ElementsAre("poolfree 1 destroy_hypergraph_data: cell_list <- create_hypergraph_data: cell_list",
                  "poolfree 0 destroy_hypergraph_data: internnets <- internal nets",
                  "poolfree 0 destroy_hypergraph_data: nlst <- create_hypergraph_data: nlst",
                  "poolfree 0 destroy_hypergraph_data: netmap <- create_hypergraph_data: netmap",
                  "poolfree 0 destroy_hypergraph_data: iprmi <- create_hypergraph_data: iprmi",
                  "poolfree 0 destroy_hypergraph_data: iprm <- create_hypergraph_data: iprm",
                  "poolfree 0 destroy_hypergraph_data: clst <- create_hypergraph_data: clst"));
  EXPECT_THAT(recorder::held(), ElementsAre("create_hypergraph: h"));
}

TEST_F(DestroyHypergraphData, NetsAllocatedAfterTheInternalNetsAreReleasedFirst) {
  Hypergraph* const h = created(3, 2, 5);
  h->_clst = block<Cell>(0, "cells");
  h->_iprm = block<int>(0, "permutation");
  h->_iprmi = block<int>(0, "inverse");
  h->_netmap = block<int>(0, "map");
  h->_internets = block<InternalNet>(0, "internal nets");
  h->_nlst = block<Net>(0, "nets");
  h->_cell_list = block<int>(1, "pins");
  destroy_hypergraph_data(h);

  EXPECT_THAT(recorder::requests({"poolfree"}),
              ElementsAre("poolfree 1 destroy_hypergraph_data: cell_list <- pins",            //
                          "poolfree 0 destroy_hypergraph_data: nlst <- nets",                 //
                          "poolfree 0 destroy_hypergraph_data: internnets <- internal nets",  //
                          "poolfree 0 destroy_hypergraph_data: netmap <- map",                //
                          "poolfree 0 destroy_hypergraph_data: iprmi <- inverse",             //
                          "poolfree 0 destroy_hypergraph_data: iprm <- permutation",          //
                          "poolfree 0 destroy_hypergraph_data: clst <- cells"));
}

TEST_F(DestroyHypergraphData, InternalNetsOlderThanAllDataReleaseItTooAndThePoolReportsTheNextRelease) {
  Hypergraph* const h = created(3, 2, 5);
  h->_internets = block<InternalNet>(0, "internal nets");
  create_hypergraph_data(h, 0, 0, 0);

  EXPECT_EQ(recorder::fatal_text([h] { destroy_hypergraph_data(h); }),
            "poolfree_upto of a block that is not held: destroy_hypergraph_data: netmap");
  EXPECT_THAT(
      recorder::requests({"poolfree"}),
      ElementsAre("poolfree 1 destroy_hypergraph_data: cell_list <- create_hypergraph_data: cell_list",
                  "poolfree 0 destroy_hypergraph_data: nlst <- create_hypergraph_data: nlst",
                  "poolfree 0 destroy_hypergraph_data: internnets <- internal nets"));
}

TEST_F(DestroyHypergraphData, OnlyTheNetLabelsDecideWhetherThereAreLabels) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 0, 0, 1);
  h->_nlabel = nullptr;
  destroy_hypergraph_data(h);

  EXPECT_EQ(recorder::requests().back(),
            "poolfree 0 destroy_hypergraph_data: clst <- create_hypergraph_data: clst");
}

TEST_F(DestroyHypergraphData, LeavesTheRecordAsItWas) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 1, 1, 1);
  h->_internets = block<InternalNet>(0, "internal nets");
  Hypergraph before;
  std::memcpy(&before, h, sizeof before);
  destroy_hypergraph_data(h);

  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the padding was copied with the rest
  EXPECT_EQ(std::memcmp(h, &before, sizeof before), 0);
}

TEST_F(DestroyHypergraphData, TwoRecordsAreReleasedInReverseOrder) {
  Hypergraph* const first = created(3, 2, 5);
  create_hypergraph_data(first, 1, 1, 1);
  Hypergraph* const second = created(1, 1, 1);
  create_hypergraph_data(second, 1, 0, 1);

  destroy_hypergraph_data(second);
  EXPECT_EQ(destroy_hypergraph(second), 1);
  destroy_hypergraph_data(first);
  EXPECT_EQ(destroy_hypergraph(first), 1);
  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(MallocHypergraph, AllocatesTheFourMainArraysOnTheHeap) {
  Hypergraph h = {};
  h._c = 3;
  h._n = 2;
  h._p = 5;
  malloc_hypergraph(&h);

  EXPECT_THAT(
      recorder::requests(),
      ElementsAre("umalloc 160 malloc_hypergraph: clst", "umalloc 96 malloc_hypergraph: nlst",
                  "umalloc 28 malloc_hypergraph: cell_list", "umalloc 28 malloc_hypergraph: net_list"));
  free_hypergraph(&h);
}

TEST_F(MallocHypergraph, InitialisesTheRecordButForCountsAndFormat) {
  Hypergraph h = filled_record();
  h._c = 3;
  h._n = 2;
  h._p = 5;
  malloc_hypergraph(&h);

  EXPECT_THAT(std::vector<int>({h._c, h._n, h._p, h._fmt}), ElementsAre(3, 2, 5, kFilled));
  expect_zero_summaries(h);
  expect_no_other_arrays(h);
  EXPECT_EQ(h._tag, 0);
}

TEST_F(MallocHypergraph, EachFieldGetsItsOwnBlockUncleared) {
  Hypergraph h = {};
  h._c = h._n = h._p = 1;
  malloc_hypergraph(&h);

  EXPECT_EQ(*reinterpret_cast<unsigned char*>(h._clst), 0xa5);
  EXPECT_EQ(*reinterpret_cast<unsigned char*>(h._nlst), 0xa5);
  EXPECT_EQ(*reinterpret_cast<unsigned char*>(h._cell_list), 0xa5);
  EXPECT_EQ(*reinterpret_cast<unsigned char*>(h._net_list), 0xa5);
  for (void* const array : {static_cast<void*>(h._net_list), static_cast<void*>(h._cell_list),
                            static_cast<void*>(h._nlst), static_cast<void*>(h._clst)})
    _usfree(array);
  EXPECT_THAT(recorder::requests({"free"}),
              ElementsAre("free malloc_hypergraph: net_list", "free malloc_hypergraph: cell_list",
                          "free malloc_hypergraph: nlst", "free malloc_hypergraph: clst"));
}

TEST_F(MallocHypergraph, WithoutCellsNetsAndPinsThereIsRoomForTheSpareEntries) {
  Hypergraph h = {};
  malloc_hypergraph(&h);

  EXPECT_THAT(recorder::requests(),
              ElementsAre("umalloc 64 malloc_hypergraph: clst", "umalloc 48 malloc_hypergraph: nlst",
                          "umalloc 8 malloc_hypergraph: cell_list", "umalloc 8 malloc_hypergraph: net_list"));
}

TEST_F(MallocHypergraph, CountsBytesInSixtyFourBits) {
  const auto request = [](int n, int Hypergraph::*count) {
    Hypergraph h = {};
    h.*count = 2147483647;
    recorder::fail_allocation(n);
    recorder::fatal_text([&h] { malloc_hypergraph(&h); });
    return recorder::requests().back();
  };

  EXPECT_EQ(request(1, &Hypergraph::_c), "umalloc 68719476768 malloc_hypergraph: clst");
  EXPECT_EQ(request(2, &Hypergraph::_n), "umalloc 51539607576 malloc_hypergraph: nlst");
  EXPECT_EQ(request(3, &Hypergraph::_p), "umalloc 8589934596 malloc_hypergraph: cell_list");
}

TEST_F(MallocHypergraph, EachFailingRequestNamesItsBlock) {
  std::vector<std::string> tags;
  for (int n = 1; n <= 5; ++n) {
    recorder::reset();
    Hypergraph h = {};
    h._c = h._n = h._p = 1;
    recorder::fail_allocation(n);
    tags.push_back(recorder::fatal_text([&h] { malloc_hypergraph(&h); }));
  }

  EXPECT_THAT(
      tags, ElementsAre("malloc_hypergraph: clst", "malloc_hypergraph: nlst", "malloc_hypergraph: cell_list",
                        "malloc_hypergraph: net_list", recorder::kSound));
}

TEST_F(FreeHypergraph, GivesTheFourArraysBackInOrder) {
  Hypergraph h = {};
  malloc_hypergraph(&h);
  free_hypergraph(&h);

  EXPECT_THAT(recorder::requests({"free"}),
              ElementsAre("free malloc_hypergraph: clst", "free malloc_hypergraph: nlst",
                          "free malloc_hypergraph: cell_list", "free malloc_hypergraph: net_list"));
  expect_no_main_arrays(h);
  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(FreeHypergraph, LeavesTheOtherFieldsAsTheyWere) {
  Hypergraph h = filled_record();
  h._c = h._n = h._p = 1;
  malloc_hypergraph(&h);
  Hypergraph expected = filled_record();
  expected._clst = h._clst = nullptr;
  expected._nlst = h._nlst = nullptr;
  expected._net_list = h._net_list = nullptr;
  expected._cell_list = h._cell_list = nullptr;
  std::memcpy(static_cast<void*>(&h), &expected, sizeof h);
  free_hypergraph(&h);

  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the padding was copied with the rest
  EXPECT_EQ(std::memcmp(&h, &expected, sizeof h), 0);
}

TEST_F(FreeHypergraph, PassesOverArraysThatAreNotThere) {
  Hypergraph h = {};
  h._net_list = imalloc(1, "alone");
  free_hypergraph(&h);

  EXPECT_THAT(recorder::requests({"free"}), ElementsAre("free alone"));
  expect_no_main_arrays(h);
}

TEST_F(FreeHypergraph, MayBeRepeated) {
  Hypergraph h = {};
  malloc_hypergraph(&h);
  free_hypergraph(&h);
  free_hypergraph(&h);

  EXPECT_EQ(recorder::requests({"free"}).size(), 4u);
}

}  // namespace
}  // namespace quillon
