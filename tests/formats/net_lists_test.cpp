// Growing arrays, and the record made of net lists against the obvious way and against the module's readers.

#include "formats/net_lists.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "formats/net_lines.h"
#include "hypergraph/hypergraph.h"
#include "tests/formats/finding_of.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"
#include "tests/util/variant.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Ints, GrowLikeAVector) {
  Ints ints;
  std::vector<int> expected;
  for (int k = 0; k < 1000; ++k) {
    ints.push_back(k);
    expected.push_back(k);
  }
  EXPECT_EQ(ints, expected);
  EXPECT_EQ(ints.back(), 999);

  ints.resize(1002, -7);
  expected.resize(1002, -7);
  EXPECT_EQ(ints, expected);
  ints.resize(2);
  EXPECT_THAT(ints, ElementsAre(0, 1));
  ints.assign(3, 5);
  EXPECT_THAT(ints, ElementsAre(5, 5, 5));
  ints.assign({8, 9});
  EXPECT_THAT(ints, ElementsAre(8, 9));
  *ints.extend(1) = 4;
  EXPECT_THAT(ints, ElementsAre(8, 9, 4));
  ints.clear();
  EXPECT_THAT(ints, IsEmpty());
}

TEST(Ints, ReserveAsMuchAsTheyAreAskedFor) {
  Ints ints;
  ints.reserve(100);
  EXPECT_EQ(ints.capacity(), 100u);
  const int* const block = ints.data();
  ints.resize(100, 1);
  EXPECT_EQ(ints.data(), block);
  ints.reserve(10);
  EXPECT_EQ(ints.capacity(), 100u);
}

TEST(Ints, HandOverTheirBlock) {
  Ints ints;
  ints.assign({1, 2, 3});
  Ints moved = std::move(ints);
  int* const block = moved.release(2);
  EXPECT_THAT(std::vector<int>(block, block + 3), ElementsAre(1, 2, 3));
  EXPECT_TRUE(moved.empty());
  _usfree(block);

  int* const none = moved.release(0);
  EXPECT_NE(none, nullptr);
  _usfree(none);
}

NetLists lists_of(const Shape& shape) {
  NetLists lists;
  lists.ncells = shape.ncells;
  begin_nets(lists, static_cast<int>(shape.pins.size()));
  for (const std::vector<int>& pins : shape.pins) {
    for (const int pin : pins) lists.nadj.push_back(pin);
    end_net(lists);
  }
  const auto with_entry_0 = [](std::vector<int> weights) {
    if (!weights.empty()) weights.insert(weights.begin(), 0);
    return weights;
  };
  lists.cell_weights = with_entry_0(shape.cell_weights);
  lists.net_weights = with_entry_0(shape.net_weights);
  return lists;
}

Shape shape_for(unsigned seed) {
  Shape shape = random_shape(seed, {.duplicates = true});
  if (seed % 3 == 0) shape.net_weights.clear();
  if (seed % 4 == 0) shape.cell_weights.clear();
  if (seed % 5 == 0) std::fill(shape.net_weights.begin(), shape.net_weights.end(), 1);
  return shape;
}

bool any_but_one(const std::vector<int>& weights) {
  return std::any_of(weights.begin(), weights.end(), [](int w) { return w != 1; });
}

int fmt_of(const Shape& shape) {
  return (any_but_one(shape.cell_weights) ? 1 : 0) | (any_but_one(shape.net_weights) ? 2 : 0);
}

// By the function of the module that copies net arrays.
void load_slowly(const Shape& shape, const std::vector<int>& diagonal, Hypergraph& h) {
  const NetLists lists = lists_of(shape);
  hypergraph_LoadFromArr(&h, lists.nnets, lists.ncells, lists.xnadj.data(), lists.nadj.data(),
                         diagonal.empty() ? nullptr : diagonal.data());
  for (int i = 1; i <= h._c; ++i) {
    h._clst[i].pno = -1;
    if (!shape.cell_weights.empty()) h._clst[i].w = shape.cell_weights[static_cast<std::size_t>(i) - 1];
  }
  for (int j = 1; j <= h._n; ++j)
    if (!shape.net_weights.empty()) h._nlst[j].w = shape.net_weights[static_cast<std::size_t>(j) - 1];
  set_hypergraph_infos(&h);
  h._totnw = shape.net_weights.empty()
                 ? h._n
                 : std::accumulate(shape.net_weights.begin(), shape.net_weights.end(), 0);
  h._fmt = fmt_of(shape);
}

std::vector<int> summary_of(const Hypergraph& h) {
  return {h._c,     h._n,     h._p,      h._maxwcd, h._maxcd,       h._mincd,
          h._totcw, h._totnw, h._totinw, h._fmt,    h._virtualnets, h._ninternets};
}

void expect_same(const Hypergraph& h, const Hypergraph& expected) {
  EXPECT_EQ(summary_of(h), summary_of(expected));
  EXPECT_EQ(pins_of_nets(h), pins_of_nets(expected));
  EXPECT_EQ(nets_of_cells(h), nets_of_cells(expected));
  EXPECT_EQ(of_nets(h, &Net::w), of_nets(expected, &Net::w));
  for (int Cell::*const field : {&Cell::w, &Cell::inw, &Cell::pno, &Cell::wdeg})
    EXPECT_EQ(of_cells(h, field), of_cells(expected, field));
  EXPECT_EQ(h._nlst[h._n + 1].pins, h._cell_list + h._p);
  EXPECT_EQ(h._clst[h._c + 1].nets, h._net_list + h._p);
}

TEST(ToRecord, MakesTheRecordThatTheModuleMakesOfArrays) {
  for (unsigned seed = 1; seed <= 500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = shape_for(seed);
    Record expected;
    load_slowly(shape, {}, expected.h);

    Record record;
    NetLists lists = lists_of(shape);
    const int* const pins = lists.nadj.data();
    // The address sanitizer moves every block that is resized.
    const bool stays = lists.nadj.capacity() == lists.nadj.size() + 2 && !kAddressSanitizer;
    to_record(std::move(lists), record);

    expect_same(record.h, expected.h);
    EXPECT_EQ(record.nfolded, 0);
    EXPECT_TRUE(!stays || record.h._cell_list == pins);
    if (HasFailure()) return;
  }
}

TEST(ToNetSide, LeavesTheCellSideToAddCellSide) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = shape_for(seed);
    Record expected;
    load_slowly(shape, {}, expected.h);

    Record record;
    to_net_side(lists_of(shape), record);
    EXPECT_EQ(pins_of_nets(record.h), pins_of_nets(expected.h));
    EXPECT_EQ(nets_of_cells(record.h), Lists(static_cast<std::size_t>(shape.ncells)));
    EXPECT_EQ(record.h._net_list, nullptr);
    EXPECT_EQ(record.h._fmt, fmt_of(shape));

    add_cell_side(record);
    expect_same(record.h, expected.h);
    if (HasFailure()) return;
  }
}

TEST(ToRecord, AddsAnyMissingDiagonal) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = shape_for(seed);
    std::vector<int> diagonal(shape.pins.size() + 1);
    for (std::size_t j = 1; j < diagonal.size(); ++j) diagonal[j] = (seed >> (j % 8)) & 1;
    if (static_cast<int>(shape.pins.size()) > shape.ncells) continue;
    Record expected;
    load_slowly(shape, diagonal, expected.h);

    Record record;
    NetLists lists = lists_of(shape);
    lists.diagonal = diagonal;
    to_record(std::move(lists), record);

    expect_same(record.h, expected.h);
    if (HasFailure()) return;
  }
}

TEST(ToRecord, FoldsSmallNetsAsTheReaderOfTheModuleDoes) {
  int nfolded = 0;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Shape shape = shape_for(seed);
    for (std::size_t j = 0; j < shape.net_weights.size(); ++j)  // heavier ones are refused
      if (shape.pins[j].empty()) shape.net_weights[j] %= 2;
    Record kept;
    to_record(lists_of(shape), kept);
    const TempFile file;
    write_hypergraph(&kept.h, file.name(), 1, kept.h._fmt);
    Record expected;
    expected.nfolded = read_hypergraph(&expected.h, file.name(), 0);
    expected.h._net_list = imalloc(std::int64_t{expected.h._p} + 2, "test: net_list");
    std::vector<int> work(static_cast<std::size_t>(shape.ncells) + 1);
    construct_net_list(&expected.h, work.data());

    Record record;
    to_record(lists_of(shape), record, SmallNets::kFold);

    expect_same(record.h, expected.h);
    EXPECT_EQ(record.nfolded, expected.nfolded);
    nfolded += record.nfolded;
    if (HasFailure()) return;
  }
  EXPECT_GT(nfolded, 0);
}

TEST(ToRecord, FoldsNetsWithTheirNames) {
  NetLists lists = lists_of({.ncells = 3, .pins = {{2, 3}, {1}, {1, 2}, {}, {3, 2, 1}}});
  lists.net_names = {"", "a", "b", "c", "d", "e"};
  Record record;
  to_record(std::move(lists), record, SmallNets::kFold);
  EXPECT_THAT(lists.net_names,
              ElementsAre("", "a", "c", "e"));  // NOLINT(bugprone-use-after-move): names stay
  EXPECT_EQ(pins_of_nets(record.h), (Lists{{2, 3}, {1, 2}, {3, 2, 1}}));
}

TEST(ToRecord, RefusesToFoldAHeavyNetWithoutPins) {
  Record record;
  const Finding finding = finding_of([&] {
    to_record(lists_of({.ncells = 1, .pins = {{1}, {}}, .net_weights = {2, 2}}), record, SmallNets::kFold);
  });
  EXPECT_EQ(finding,
            error_of_file("heavy-pinless-net", "", "net 2 has weight 2 but no pins, so it cannot be folded"));
  EXPECT_EQ(record.h._clst, nullptr);
}

TEST(RoomForAll, IsThatOfTheWholeTextWithinAMultiple) {
  EXPECT_EQ(room_for_all(160, 10, 100), 1700U);              // a sixteenth more than ten times as much
  EXPECT_EQ(room_for_all(160, 100, 100), 320U);              // at least twice
  EXPECT_EQ(room_for_all(160, 1, 2000000000), 1024U * 160);  // whatever is announced
  EXPECT_EQ(room_for_all(0, 1, 100), 0U);
}

}  // namespace
}  // namespace quillon::formats
