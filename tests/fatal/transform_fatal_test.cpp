#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/support/destination.h"
#include "tests/support/pool_top.h"
#include "tests/support/records.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::AllOf;
using testing::Gt;
using testing::Lt;

Hypergraph* created_for(const Hypergraph& source) {
  Hypergraph* const h = create_hypergraph(0);
  h->_c = source._c;
  h->_n = source._n;
  h->_p = source._p;
  create_hypergraph_data(h, 1, 0, 1);
  return h;
}

TEST(PruningCopyInThePools, IsReleasedAsAWhole) {
  void* const tops[] = {top_of(0), top_of(1)};
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const Record r = random_record(seed);
    Hypergraph* const nh = created_for(r.h);
    Destination work(r.h);
    CopyConsHypergraph(&r.h, nh, work.netorder.data(), work.celldeg.data(), work.cellend.data(), 5,
                       &work.nmulti, kAccount);
    CheckListsofContinuesHypergraph(nh, work.nmulti);
    destroy_hypergraph_data(nh);

    EXPECT_EQ(destroy_hypergraph(nh), 1);
    EXPECT_EQ(top_of(0), tops[0]);
    EXPECT_EQ(top_of(1), tops[1]);
  }
}

TEST(PruningCopyInThePools, HoldsItsPairsAfterItsArrays) {
  const Record r({.ncells = 2, .pins = {{1}, {1, 2}, {2}}});
  Hypergraph* const nh = created_for(r.h);
  Destination work(r.h);
  CopyConsHypergraph(&r.h, nh, work.netorder.data(), work.celldeg.data(), work.cellend.data(), 5,
                     &work.nmulti, kAccount);

  EXPECT_EQ(internets(*nh), Lists({{3, 2}, {1, 1}}));
  EXPECT_EQ(poolfree_upto(0, nh->_internets, "pairs"), 1);
  nh->_internets = nullptr;
  destroy_hypergraph_data(nh);
  EXPECT_EQ(destroy_hypergraph(nh), 1);
}

TEST(PlainCopyOnTheHeap, OfRandomHypergraphsIsSoundAndMayBeFreedTwice) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    const Shape shape = random_shape(seed);
    const Record r(shape);
    Hypergraph copy;
    CopyHypergraph(&copy, &r.h);
    EXPECT_EQ(pins_of_nets(copy), shape.pins);
    EXPECT_EQ(nets_of_cells(copy), nets_of_cells(shape));
    free_hypergraph(&copy);
    free_hypergraph(&copy);
  }
}

// A shuffled copy from a seed, its source and its destination.
struct Shuffled {
  Shuffled(const Shape& shape, std::uint64_t seed, int maxsize = 9) : r(shape), d(r.h) {
    uSeed(seed);
    prune_shuffled(r.h, d, maxsize, 0);
  }

  Record r;
  Destination d;
};

bool same_orders(const Shuffled& a, const Shuffled& b) {
  return a.d.netorder == b.d.netorder && a.d.cellperm == b.d.cellperm && a.d.cell_list == b.d.cell_list;
}

TEST(ShuffledPruningCopyBySeed, TheSameSeedGivesTheSameBytes) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.ncells = 20, .nnets = 20});
    const Shuffled first(shape, seed, 6), second(shape, seed, 6);

    EXPECT_TRUE(same_orders(first, second));
    EXPECT_EQ(first.r.cell_list, second.r.cell_list);
    EXPECT_EQ(first.d.net_list, second.d.net_list);
    EXPECT_EQ(first.d.clabel, second.d.clabel);
    EXPECT_EQ(first.d.nlabel, second.d.nlabel);
    EXPECT_EQ(first.d.celldeg, second.d.celldeg);
    EXPECT_EQ(of_cells(first.d.h, &Cell::w), of_cells(second.d.h, &Cell::w));
    EXPECT_EQ(of_nets(first.d.h, &Net::w), of_nets(second.d.h, &Net::w));
  }
}

TEST(ShuffledPruningCopyBySeed, DifferentSeedsGiveDifferentOrders) {
  Shape shape = {.ncells = 20};
  for (int j = 1; j <= 20; ++j) shape.pins.push_back({1, 2, 3, 4, 5});
  const Shuffled of_seed_1(shape, 1);
  for (std::uint64_t seed = 2; seed <= 50; ++seed) {
    const Shuffled other(shape, seed);
    EXPECT_NE(other.d.netorder, of_seed_1.d.netorder) << seed;
    EXPECT_NE(other.d.cellperm, of_seed_1.d.cellperm) << seed;
    EXPECT_NE(other.r.cell_list, of_seed_1.r.cell_list) << seed;
  }
}

TEST(ShuffledPruningCopyBySeed, TheStreamContinuesFromOneCopyToTheNext) {
  const Shape shape = {.ncells = 20, .pins = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}}};
  const Shuffled first(shape, 5, 99);
  Record r(shape);
  Destination d(r.h);
  prune_shuffled(r.h, d, 99, 0);

  EXPECT_NE(d.cellperm, first.d.cellperm);
  EXPECT_NE(d.cell_list, first.d.cell_list);
}

TEST(ShuffledPruningCopyBySeed, RandomHypergraphsKeepTheirNetsUnderTheLabels) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.duplicates = seed % 2 == 0});
    const Shuffled copy(shape, seed, 5);
    std::map<int, std::vector<int>> expected, found;
    int j = 0;
    for (const std::vector<int>& pins : shape.pins)
      if (++j; pins.size() >= 2) expected[j] = pins;
    for (int i = 1; i <= copy.d.nmulti; ++i)
      found[copy.d.nlabel[static_cast<std::size_t>(i)]] = source_pins(copy.d, i);
    for (auto& [net, pins] : expected) std::sort(pins.begin(), pins.end());
    for (auto& [net, pins] : found) std::sort(pins.begin(), pins.end());

    EXPECT_EQ(found, expected);
  }
}

// Chi-square statistic of 24000 draws over the 24 orders of four items; `order_of` returns the order in a
// copy. For uniform draws it is about 23, and below 4.0 or above 60.0 with a probability of less than
// 1/50000.
double chi_square(const std::function<std::vector<int>(const Shuffled&)>& order_of) {
  constexpr int kOrders = 24, kEach = 1000;
  const Shape shape = {.ncells = 4, .pins = {{1, 2, 3, 4}, {1, 2}, {1, 2}, {1, 2}}};
  std::map<std::vector<int>, int> seen;
  for (int draw = 0; draw < kOrders * kEach; ++draw)
    ++seen[order_of(Shuffled(shape, static_cast<std::uint64_t>(draw)))];
  EXPECT_EQ(seen.size(), kOrders);
  double sum = 0;
  for (const auto& [order, count] : seen) sum += (count - kEach) * (count - kEach) / double{kEach};
  return sum;
}

// The net of four pins may have any number in the copy.
std::vector<int> order_of_pins(const Shuffled& copy) {
  int i = 1;
  while (copy.d.nlabel[static_cast<std::size_t>(i)] != 1) ++i;
  return source_pins(copy.d, i);
}

TEST(ShuffledPruningCopyBySeed, EveryOrderOfPinsIsAsLikelyAsTheOthers) {
  EXPECT_THAT(chi_square(order_of_pins), AllOf(Gt(4.0), Lt(60.0)));
}

TEST(ShuffledPruningCopyBySeed, EveryNumberingOfCellsIsAsLikelyAsTheOthers) {
  EXPECT_THAT(chi_square([](const Shuffled& copy) { return copy.d.cellperm; }), AllOf(Gt(4.0), Lt(60.0)));
}

TEST(ShuffledPruningCopyBySeed, EveryOrderOfNetsIsAsLikelyAsTheOthers) {
  EXPECT_THAT(chi_square([](const Shuffled& copy) { return copy.d.netorder; }), AllOf(Gt(4.0), Lt(60.0)));
}

TEST(PermuteByPart, OtherNumbersOfNetsThanOfCellsAreErrors) {
  const Record r({.ncells = 4, .pins = {{}, {}, {}, {}, {}}, .parts = {0, 0, 0, 0}});
  Destination d(r.h);

  EXPECT_EQ(fatal_text([&] { SymmetricPermute(&r.h, 1, &d.h); }),
            "SymmetricPermute only run in symmetric hypergraphs (#C:4 #N:5)");
}

TEST(PermuteByPart, SortsWithTheScratchOfTheRealHeap) {
  const Record r({.ncells = 3, .pins = {{1, 2}, {2}, {3, 1}}, .parts = {1, 0, 1}});
  Destination d(r.h);
  SymmetricPermute(&r.h, 2, &d.h);

  EXPECT_EQ(pins_of_nets(d.h), Lists({{1}, {2, 1}, {3, 2}}));
}

TEST(Writer, AFormatOrNumberingOutOfRangeIsAnError) {
  const Record r({.ncells = 2, .pins = {{1, 2}}});

  EXPECT_EQ(fatal_text([&] { write_hypergraph2File(&r.h, stdout, 1, 4); }),
            "write_hypergraph : invalid fmt parameter [4]");
  EXPECT_EQ(fatal_text([&] { write_hypergraph2File(&r.h, stdout, 2, -1); }),
            "write_hypergraph : invalid fmt parameter [-1]");
  EXPECT_EQ(fatal_text([&] { write_hypergraph2File(&r.h, stdout, 2, 0); }),
            "write_hypergraph : invalid numbering parameter [2]");
  EXPECT_EQ(fatal_text([&] { write_hypergraph2File(&r.h, stdout, -1, 3); }),
            "write_hypergraph : invalid numbering parameter [-1]");
}

TEST(Writer, AFolderThatIsNotThereIsAnErrorNamingFileModeAndTag) {
  const Record r({.ncells = 2, .pins = {{1, 2}}});

  EXPECT_EQ(fatal_text([&] { write_hypergraph(&r.h, "no/such/file", 1, 0); }),
            "ufopen: cannot open 'no/such/file' with mode \"w\" for \"write_hypergraph\": "
            "No such file or directory");
}

TEST(Writer, AFullDiskIsAnError) {
  const Record small({.ncells = 2, .pins = {{1, 2}}});
  EXPECT_EQ(fatal_text([&] { write_hypergraph(&small.h, "/dev/full", 1, 0); }),
            "ufclose: '/dev/full' is not whole, data was lost: No space left on device");
}

TEST(WriteHypergraphToStream, DoesNotLookAtTheErrorsOfItsStream) {
  const Record r({.ncells = 2, .pins = {{1, 2}}});
  std::FILE* const full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  std::setvbuf(full, nullptr, _IONBF, 0);

  EXPECT_EQ(write_hypergraph2File(&r.h, full, 1, 0), 0);
  EXPECT_NE(std::ferror(full), 0);
  std::fclose(full);
}

}  // namespace
}  // namespace quillon
