#include <gmock/gmock.h>

#include <limits>
#include <numeric>
#include <random>
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

using ShuffledPruningCopy = Recorded;

// The one-pin net contains cell 2.
Shape five_cells() {
  return {.ncells = 5,
          .pins = {{2}, {1, 2, 3}, {4, 5}},
          .net_weights = {9, 20, 30},
          .cell_weights = {11, 12, 13, 14, 15},
          .parts = {1, 2, 3, 4, 5}};
}

// Reverses the nets to the order 3, 2, 1, and gives cells 1 .. 5 the numbers 3, 5, 1, 2, 4.
void script_small_shuffle() {
  recorder::script_permutations({{2, 1, 0}, {2, 4, 0, 1, 3}});
  recorder::script_random({0, 0, 0, 0, 0});
}

// A shuffled copy by the script, its source and its destination.
struct Shuffled {
  Shuffled(const Shape& shape, int maxsize, int mode = kAccount) : r(shape), d(r.h) {
    result = prune_shuffled(r.h, d, maxsize, mode);
  }

  Record r;
  Destination d;
  int result;
  const Hypergraph& h = d.h;
};

TEST_F(ShuffledPruningCopy, DrawsTheNetOrderThenTheCellsThenThePinsOfEachNet) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  EXPECT_EQ(copy.result, 0);
  EXPECT_THAT(recorder::requests(), ElementsAre("PermuteInPlace 3", "PermuteInPlace 5",  //
                                                "uRandom 2", "uRandom 1",                // net 3
                                                "uRandom 3", "uRandom 2", "uRandom 1",   // net 2
                                                "poolalloc 0 8 CopyPermConsHypergraph: nh->_internets"));
}

TEST_F(ShuffledPruningCopy, NumbersNetsAndCellsAsDrawn) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 3, 2, 1));
  EXPECT_THAT(copy.d.nlabel, ElementsAre(kMarker, 3, 2, 1));
  EXPECT_THAT(copy.d.cellperm, ElementsAre(kMarker, 3, 5, 1, 2, 4));
  EXPECT_THAT(copy.d.clabel, ElementsAre(kMarker, 3, 4, 1, 5, 2));
  EXPECT_EQ(copy.d.nmulti, 2);
  EXPECT_EQ(copy.h._n, 2);
}

TEST_F(ShuffledPruningCopy, WritesThePinsAsDrawnUnderTheirNewNumbers) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  // Drawing entry 0 of 4 5 gives 4, then 5; of 1 2 3 it gives 1, then of 3 2 it gives 3, then 2.
  EXPECT_THAT(copy.d.cell_list, ElementsAre(2, 4, 3, 1, 5, kMarker, kMarker, kMarker));
  EXPECT_THAT(pins_of_nets(copy.h), ElementsAre(ElementsAre(2, 4), ElementsAre(3, 1, 5)));
  EXPECT_THAT(of_nets(copy.h, &Net::w), ElementsAre(30, 20));
  EXPECT_EQ(copy.h._nlst[3].pins, copy.h._cell_list + 5);
  EXPECT_EQ(copy.h._nlst[3].pinsend, nullptr);
}

TEST_F(ShuffledPruningCopy, LeavesTheSourcesPinsInTheReverseOfTheOrderDrawn) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  EXPECT_THAT(copy.r.cell_list, ElementsAre(2, 2, 3, 1, 5, 4, kMarker, kMarker));
}

TEST_F(ShuffledPruningCopy, ChangesNothingElseInTheSource) {
  Record r(five_cells());
  Destination d(r.h);
  const Record same(five_cells());
  const std::vector<int> before = counts_of(r.h);
  script_small_shuffle();
  prune_shuffled(r.h, d, 9, kAccount);

  EXPECT_EQ(counts_of(r.h), before);
  EXPECT_EQ(r.h._internets, nullptr);
  EXPECT_EQ(r.h._clabel, nullptr);
  EXPECT_EQ(r.net_list, same.net_list);
  EXPECT_THAT(of_cells(r.h, &Cell::inw), Each(0));
  EXPECT_EQ(of_cells(r.h, &Cell::w), of_cells(same.h, &Cell::w));
  for (int j = 1; j <= 3; ++j) {
    EXPECT_EQ(r.h._nlst[j].pins - r.h._cell_list, same.h._nlst[j].pins - same.h._cell_list);
    EXPECT_EQ(r.h._nlst[j].pinsend - r.h._cell_list, same.h._nlst[j].pinsend - same.h._cell_list);
    EXPECT_EQ(r.h._nlst[j].w, same.h._nlst[j].w);
  }
}

TEST_F(ShuffledPruningCopy, GivesTheCopysCellTheFieldsOfItsSourceCell) {
  Record r(five_cells());
  for (int i = 1; i <= 5; ++i) r.h._clst[i].inw = 100 * i;
  Destination d(r.h);
  script_small_shuffle();
  prune_shuffled(r.h, d, 9, 0);

  EXPECT_THAT(of_cells(d.h, &Cell::w), ElementsAre(13, 14, 11, 15, 12));
  EXPECT_THAT(of_cells(d.h, &Cell::inw), ElementsAre(300, 400, 100, 500, 200));
  EXPECT_THAT(of_cells(d.h, &Cell::pno), ElementsAre(3, 4, 1, 5, 2));
}

TEST_F(ShuffledPruningCopy, DegreesAndListsGoByTheCopysNumbers) {
  script_small_shuffle();
  Shape shape = five_cells();
  shape.pins[1] = {1, 2, 4};  // so that source cell 4, the copy's cell 2, is on both nets
  const Shuffled copy(shape, 3);

  // The net of three pins is set aside: 1, 2 and 4 are 3, 5 and 2 in the copy.
  EXPECT_THAT(copy.d.celldeg, ElementsAre(0, 0, 2, 1, 1, 1));
  EXPECT_THAT(nets_of_cells(copy.h),
              ElementsAre(IsEmpty(), ElementsAre(1), IsEmpty(), ElementsAre(1), IsEmpty()));
  EXPECT_THAT(set_aside_of_cells(copy.d),
              ElementsAre(IsEmpty(), ElementsAre(2), ElementsAre(2), IsEmpty(), ElementsAre(2)));
  EXPECT_THAT(copy.d.net_list, ElementsAre(1, 2, 2, 1, 2, kMarker, kMarker, kMarker));
  EXPECT_EQ(copy.d.cellend[0], Destination::elsewhere);
  EXPECT_EQ(copy.d.cells[6].nets, copy.h._net_list + 5);
  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(0, 30, 0, 30, 0));
  EXPECT_THAT(std::vector<int>({copy.h._maxwcd, copy.h._maxcd, copy.h._mincd}), ElementsAre(30, 1, 0));
}

TEST_F(ShuffledPruningCopy, APairNamesTheCopysCellWhileTheWeightGoesToTheSourcesNumber) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  EXPECT_THAT(internets(copy.h), ElementsAre(ElementsAre(1, 5)));
  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(0, 9, 0, 0, 0));
  EXPECT_EQ(copy.d.clabel[2], 4);
  EXPECT_EQ(copy.h._totinw, 9);
  EXPECT_EQ(copy.h._totnw, 59);
  EXPECT_EQ(copy.h._p, 5);
}

TEST_F(ShuffledPruningCopy, KeepsTheWeightOfNetsSetAsideInTheTotal) {
  const Shape shape = {.ncells = 3, .pins = {{1, 2, 3}, {1, 2}, {}}, .net_weights = {100, 20, 3}};
  const Shuffled copy(shape, 3);
  EXPECT_EQ(copy.h._n, 1);
  EXPECT_EQ(copy.h._p, 2);
  EXPECT_EQ(copy.h._totnw, 120);  // without the weight of the net that has no pins
  EXPECT_EQ(copy.h._virtualnets, 3);

  EXPECT_EQ(Shuffled(shape, 3, 0).h._totnw, 123);
}

TEST_F(ShuffledPruningCopy, PrunesAndSetsAsideByTheShuffledOrder) {
  // Nets of sizes 1, 3, 2, 0, 3 in the shuffled order 2 1 5 4 3. The first pass changes it to 2 3 5 4 1, of
  // which 2 3 5 remain; the second pass changes these to 5 3 2, then to 3 5 2.
  recorder::script_permutations({{1, 0, 4, 3, 2}});
  const Shuffled copy({.ncells = 3, .pins = {{1}, {1, 2, 3}, {1, 2}, {}, {3, 2, 1}}}, 3);

  EXPECT_THAT(copy.d.netorder, ElementsAre(kMarker, 3, 5, 2, 4, 1));
  EXPECT_EQ(copy.d.nmulti, 3);
  EXPECT_EQ(copy.h._n, 1);
}

TEST_F(ShuffledPruningCopy, AllocatesABlockForPairsAlsoWhenThereAreNone) {
  const Shuffled copy({.ncells = 2, .pins = {{}}}, 9);

  EXPECT_THAT(recorder::requests(), ElementsAre("PermuteInPlace 1", "PermuteInPlace 2",
                                                "poolalloc 0 0 CopyPermConsHypergraph: nh->_internets"));
}

TEST_F(ShuffledPruningCopy, CountsThePrunedNetsButMovesNoWeightInAnyOtherMode) {
  for (const int mode : {std::numeric_limits<int>::min(), -2, -1, 0, 1, 3, kMost}) {
    SCOPED_TRACE(testing::Message() << "mode " << mode);
    recorder::reset();
    Record r(five_cells());
    Destination d(r.h);
    InternalNet old = {1, 1};
    d.h._internets = &old;
    prune_shuffled(r.h, d, 9, mode);

    EXPECT_EQ(d.h._ninternets, 1);
    EXPECT_EQ(d.h._internets, nullptr);
    EXPECT_THAT(of_cells(d.h, &Cell::inw), Each(0));
    EXPECT_EQ(d.h._totinw, 0);
    EXPECT_EQ(d.h._totnw, 59);
    EXPECT_EQ(d.h._p, 5);
    EXPECT_THAT(recorder::requests({"poolalloc", "umalloc", "imalloc"}), IsEmpty());
  }
}

TEST_F(ShuffledPruningCopy, EndsTheProgramWhenThereIsNoRoomForThePairs) {
  Record r(five_cells());
  Destination d(r.h);
  recorder::fail_allocation(1);

  EXPECT_EQ(recorder::fatal_text([&] { prune_shuffled(r.h, d, 9, kAccount); }),
            "CopyPermConsHypergraph: nh->_internets");
}

TEST_F(ShuffledPruningCopy, LeavesEverythingElseOfTheDestinationAsItWas) {
  script_small_shuffle();
  const Shuffled copy(five_cells(), 9);

  EXPECT_THAT(left_elsewhere(copy.h), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_EQ(copy.h._tag, kMarker);
  EXPECT_EQ(copy.d.cells[0].w, kMarker);
  EXPECT_EQ(copy.d.cells[6].w, kMarker);
  EXPECT_EQ(copy.d.nets[0].w, kMarker);
}

TEST_F(ShuffledPruningCopy, DrawsNothingForNetsOfOnePinOrNone) {
  const Shuffled copy({.ncells = 3, .pins = {{1}, {3}, {}}}, 9, 0);

  EXPECT_THAT(recorder::requests(), ElementsAre("PermuteInPlace 3", "PermuteInPlace 3"));
}

TEST_F(ShuffledPruningCopy, DrawsAlsoForNetsSetAside) {
  const Shuffled copy({.ncells = 2, .pins = {{1, 2}}}, 0, 0);

  EXPECT_THAT(recorder::requests(),
              ElementsAre("PermuteInPlace 1", "PermuteInPlace 2", "uRandom 2", "uRandom 1"));
}

TEST_F(ShuffledPruningCopy, ShufflesNoNetsAndNoCellsToo) {
  const Shuffled no_nets({.ncells = 2}, 9, 0);
  const Shuffled no_cells({.ncells = 0, .pins = {{}}}, 9, 0);
  const Shuffled copy(Shape{}, 9, 0);

  EXPECT_THAT(recorder::requests(), ElementsAre("PermuteInPlace 0", "PermuteInPlace 2",  //
                                                "PermuteInPlace 1", "PermuteInPlace 0",  //
                                                "PermuteInPlace 0", "PermuteInPlace 0"));
  EXPECT_EQ(copy.h._mincd, 2000000000);
  EXPECT_EQ(copy.h._nlst[1].pins, copy.h._cell_list);
  EXPECT_EQ(copy.h._clst[1].nets, copy.h._net_list);
  EXPECT_THAT(copy.d.cellperm, ElementsAre(kMarker));
}

TEST_F(ShuffledPruningCopy, TreatsANetWithoutAPinListAsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}, .net_weights = {5, 1}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  Destination d(r.h);
  prune_shuffled(r.h, d, 9, kAccount);

  EXPECT_THAT(d.netorder, ElementsAre(kMarker, 2, 1));
  EXPECT_EQ(d.h._ninternets, 0);
  EXPECT_EQ(d.h._virtualnets, 5);
}

TEST_F(ShuffledPruningCopy, DrawsEachEntryOfACellThatANetNamesTwice) {
  recorder::script_random({1, 0, 0});
  const Shuffled copy({.ncells = 2, .pins = {{2, 1, 2}}}, 9);

  // Entry 1 of 2 1 2, then entry 0 of 2 2.
  EXPECT_THAT(pins_of_nets(copy.h), ElementsAre(ElementsAre(1, 2, 2)));
  EXPECT_THAT(copy.d.celldeg, ElementsAre(0, 1, 2));
  EXPECT_THAT(copy.r.cell_list, ElementsAre(2, 2, 1, kMarker, kMarker));
}

TEST_F(ShuffledPruningCopy, SumsWrap) {
  const Shape shape = {
      .ncells = 2, .pins = {{1}, {1}, {}, {}, {1, 2}, {2, 1}}, .net_weights = std::vector<int>(6, kMost)};
  const Shuffled copy(shape, 9);

  EXPECT_THAT(of_cells(copy.h, &Cell::inw), ElementsAre(-2, 0));
  EXPECT_EQ(copy.h._totinw, -2);
  EXPECT_EQ(copy.h._virtualnets, -2);
  EXPECT_EQ(copy.h._totnw, -4);
  EXPECT_THAT(of_cells(copy.h, &Cell::wdeg), ElementsAre(-2, -2));
}

std::vector<int> random_permutation(std::mt19937& generator, int count) {
  std::vector<int> permutation(at(count));
  std::iota(permutation.begin(), permutation.end(), 0);
  for (std::size_t i = permutation.size(); i > 1; --i)
    std::swap(permutation[i - 1], permutation[generator() % i]);
  return permutation;
}

void script_random_orders(unsigned seed, const Shape& shape) {
  std::mt19937 generator(seed);
  const int nnets = static_cast<int>(shape.pins.size());
  const std::vector<int> nets = random_permutation(generator, nnets);
  recorder::script_permutations({nets, random_permutation(generator, shape.ncells)});
  recorder::script_random(std::vector<int>(200, 0));  // 200 times the first remaining entry, then the last
}

TEST_F(ShuffledPruningCopy, AgreesWithItsTwinInRandomOrders) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const bool duplicates = seed % 4 == 0;
    const Shape shape =
        random_shape(seed, {.ncells = 7, .nnets = seed % 20 == 0 ? 120 : 12, .duplicates = duplicates});
    const int maxsize = static_cast<int>(seed % 9);
    const int mode = static_cast<int>(seed % 3);
    Record r(shape);
    Destination expected(r.h);
    recorder::reset();
    script_random_orders(seed, shape);
    prune_shuffled_by_oracle(r.h, expected, maxsize, mode);
    const Image expected_image = image_of(expected);
    const std::vector<std::string> expected_requests = recorder::requests();
    recorder::reset();
    script_random_orders(seed, shape);
    const Shuffled copy(shape, maxsize, mode);

    EXPECT_EQ(image_of(copy.d), expected_image);
    EXPECT_EQ(image_of(copy.r), image_of(r));  // the pins of the source change their order
    EXPECT_EQ(recorder::requests(), expected_requests);
    if (duplicates) continue;
    EXPECT_EQ(recorder::fatal_text([&] { CheckListsofContinuesHypergraph(&copy.h, copy.d.nmulti); }),
              recorder::kSound);
  }
}

}  // namespace
}  // namespace quillon
