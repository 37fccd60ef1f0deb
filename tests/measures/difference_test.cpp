#include "measures/difference.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

#include "measures/net_keys.h"
#include "oracle/nets.h"
#include "tests/support/records.h"

namespace quillon::measures {

void PrintTo(const NetPair& pair, std::ostream* out) { *out << pair.first << " -> " << pair.second; }

namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

constexpr Tolerance kAnyOrder{true, true};

Difference difference_of(const Lists& first, const Lists& second, const Tolerance& tolerance = {}) {
  return difference(Record({.ncells = 9, .pins = first}).h, Record({.ncells = 9, .pins = second}).h,
                    tolerance);
}

TEST(Difference, IsEmptyForEqualHypergraphs) {
  const Lists nets{{1, 2}, {}, {3, 3, 4}};
  EXPECT_TRUE(difference_of(nets, nets).is_empty());
  EXPECT_TRUE(difference_of({}, {}).is_empty());
}

TEST(Difference, CountsCellsAndComparesTheirWeights) {
  const Record first({.ncells = 3, .cell_weights = {5, 6, 7}});
  const Record second({.ncells = 4, .cell_weights = {5, 8, 7, 1}});
  const Difference found = difference(first.h, second.h);
  EXPECT_EQ(found.ncells_added, 1);
  EXPECT_THAT(found.weights, ElementsAre(2));
  EXPECT_FALSE(found.is_order_only());
}

TEST(Difference, TellsHowANetChanged) {
  const Record first(
      {.ncells = 4, .pins = {{1, 2, 3}, {1, 2}, {3, 4}, {2, 3, 4}}, .net_weights = {1, 2, 3, 4}});
  const Record second(
      {.ncells = 4, .pins = {{1, 3, 2}, {1, 2}, {3, 1}, {2, 3, 4}}, .net_weights = {1, 9, 3, 4}});
  const Difference found = difference(first.h, second.h);
  EXPECT_THAT(found.changed, ElementsAre(FieldsAre(1, 1, PinChange::kReordered, false),
                                         FieldsAre(2, 2, PinChange::kNone, true),
                                         FieldsAre(3, 3, PinChange::kOther, false)));
  EXPECT_THAT(found.only_first, IsEmpty());
  EXPECT_THAT(found.only_second, IsEmpty());
}

TEST(Difference, FindsTheNetsOfOneSideOnly) {
  const Difference found = difference_of({{1, 2}, {3, 4}, {5, 6}}, {{1, 2}, {5, 6}, {7, 8}, {9}});
  EXPECT_THAT(found.only_first, ElementsAre(2));
  EXPECT_THAT(found.only_second, ElementsAre(3, 4));
  EXPECT_THAT(found.changed, IsEmpty());
  EXPECT_THAT(found.moved, IsEmpty());
}

TEST(Difference, FindsAnInsertedNetAmongEqualOnes) {
  const Difference found = difference_of({{1, 2}, {1, 2}, {3}}, {{1, 2}, {1, 2}, {1, 2}, {3}});
  EXPECT_THAT(found.only_second, ElementsAre(3));
  EXPECT_TRUE(found.moved.empty());
}

TEST(Difference, MovesAsFewNetsAsPossible) {
  const Difference found = difference_of({{1}, {2}, {3}, {4}, {5}}, {{5}, {1}, {2}, {4}, {3}});
  EXPECT_THAT(found.moved, ElementsAre(FieldsAre(3, 5), FieldsAre(5, 1)));
  EXPECT_TRUE(found.is_order_only());
  EXPECT_FALSE(found.is_empty());
  EXPECT_TRUE(difference_of({{1}, {2}, {3}}, {{3}, {1}, {2}}, {.net_order = true}).is_empty());
}

TEST(Difference, IgnoresTheOrderOfPinsOnRequest) {
  const Lists first{{1, 2, 2}, {3, 4}};
  EXPECT_TRUE(difference_of(first, {{2, 1, 2}, {4, 3}}, {.pin_order = true}).is_empty());
  EXPECT_FALSE(difference_of(first, {{2, 1, 1}, {4, 3}}, {.pin_order = true}).is_empty());
  EXPECT_FALSE(difference_of(first, {{2, 1}, {4, 3}}, {.pin_order = true}).is_empty());
}

TEST(Difference, FindsAChangedNetInAnyOrder) {
  // Net 2 loses cell 6; the nets around it are elsewhere.
  const Difference found =
      difference_of({{1, 7}, {2, 3, 4, 5, 6}, {8, 9}}, {{8, 9}, {1, 7}, {2, 3, 4, 5}}, kAnyOrder);
  EXPECT_THAT(found.changed, ElementsAre(FieldsAre(2, 3, PinChange::kOther, false)));
}

// A shape with a net removed, one inserted, one replaced, one of another weight, and in another order.
Shape edited(Shape shape, unsigned seed) {
  std::mt19937 random(seed);
  const auto place = [&] {
    return shape.pins.begin() + static_cast<std::ptrdiff_t>(random() % (shape.pins.size() + 1));
  };
  if (!shape.pins.empty() && random() % 2 == 0) shape.pins.erase(shape.pins.begin());
  if (random() % 2 == 0) shape.pins.insert(place(), {1, 2});
  if (!shape.pins.empty() && random() % 2 == 0) shape.pins[random() % shape.pins.size()] = {1};
  if (!shape.pins.empty() && random() % 2 == 0)
    for (int k = 0; k < 3; ++k)
      std::swap(shape.pins[random() % shape.pins.size()], shape.pins[random() % shape.pins.size()]);
  for (auto& pins : shape.pins)
    if (random() % 4 == 0) std::reverse(pins.begin(), pins.end());
  shape.net_weights.assign(shape.pins.size(), 1);
  if (!shape.pins.empty() && random() % 2 == 0) shape.net_weights[random() % shape.pins.size()] = 2;
  return shape;
}

// Two random hypergraphs, the second an edited copy of the first or not related to it.
struct TwoRecords {
  explicit TwoRecords(unsigned seed)
      : first(shape(seed)), second(seed % 5 == 0 ? shape(seed + 1) : edited(shape(seed), seed)) {}

  static Shape shape(unsigned seed) {
    RandomLimits limits;
    limits.duplicates = true;
    Shape made = random_shape(seed, limits);
    made.ncells = 9;
    made.cell_weights.clear();
    made.parts.clear();
    made.net_weights.assign(made.pins.size(), 1);
    return made;
  }

  Record first;
  Record second;
};

class AnyDifference : public testing::TestWithParam<Tolerance> {
 protected:
  static constexpr unsigned kRounds = 3000;
};

TEST_P(AnyDifference, MatchesAsManyNetsAsSetsDo) {
  for (unsigned seed = 0; seed < kRounds; ++seed) {
    const TwoRecords two(seed);
    const auto a = oracle::nets_of(two.first.h, GetParam().pin_order);
    const auto b = oracle::nets_of(two.second.h, GetParam().pin_order);
    const Difference found = difference(two.first.h, two.second.h, GetParam());
    ASSERT_EQ(found.changed.size() + found.only_first.size(), oracle::count_missing(a, b)) << seed;
    ASSERT_EQ(found.changed.size() + found.only_second.size(), oracle::count_missing(b, a)) << seed;
    const bool is_same =
        GetParam().net_order ? oracle::count_missing(a, b) == 0 && a.size() == b.size() : a == b;
    ASSERT_EQ(found.is_empty(), is_same) << seed;
  }
}

TEST_P(AnyDifference, NamesEachNetOnceAndPairsRightly) {
  for (unsigned seed = 0; seed < kRounds; ++seed) {
    const TwoRecords two(seed);
    const auto a = oracle::nets_of(two.first.h, true);
    const auto b = oracle::nets_of(two.second.h, true);
    const Difference found = difference(two.first.h, two.second.h, GetParam());
    std::vector<int> first = found.only_first;
    std::vector<int> second = found.only_second;
    for (const ChangedNet& net : found.changed) {
      first.push_back(net.first);
      second.push_back(net.second);
      const auto& pins1 = a[static_cast<std::size_t>(net.first) - 1].second;
      const auto& pins2 = b[static_cast<std::size_t>(net.second) - 1].second;
      std::vector<int> common;
      std::set_intersection(pins1.begin(), pins1.end(), pins2.begin(), pins2.end(),
                            std::back_inserter(common));
      ASSERT_EQ(net.pins == PinChange::kOther, pins1 != pins2) << seed;
      ASSERT_TRUE(net.pins != PinChange::kOther || !common.empty()) << seed;
    }
    for (const NetPair& pair : found.moved) {
      first.push_back(pair.first);
      second.push_back(pair.second);
      ASSERT_EQ(a[static_cast<std::size_t>(pair.first) - 1], b[static_cast<std::size_t>(pair.second) - 1])
          << seed;
    }
    for (std::vector<int>* const nets : {&first, &second}) {
      std::sort(nets->begin(), nets->end());
      ASSERT_EQ(std::adjacent_find(nets->begin(), nets->end()), nets->end()) << seed;
    }
  }
}

TEST(Difference, KeepsTheLongestCommonOrderOfDistinctNets) {
  const auto has_twins = [](std::vector<oracle::NetValue> nets) {
    std::sort(nets.begin(), nets.end());
    return std::adjacent_find(nets.begin(), nets.end()) != nets.end();
  };
  int nchecked = 0;
  for (unsigned seed = 0; seed < 3000; ++seed) {
    const TwoRecords two(seed);
    const bool any_pin_order = seed % 2 == 0;
    const auto a = oracle::nets_of(two.first.h, any_pin_order);
    const auto b = oracle::nets_of(two.second.h, any_pin_order);
    if (has_twins(a) || has_twins(b)) continue;
    ++nchecked;
    const Difference found = difference(two.first.h, two.second.h, {.pin_order = any_pin_order});
    const std::size_t nequal = a.size() - found.changed.size() - found.only_first.size();
    ASSERT_EQ(nequal - found.moved.size(), oracle::longest_common(a, b)) << seed;
  }
  EXPECT_GT(nchecked, 100);
}

std::string name_of(const testing::TestParamInfo<Tolerance>& tolerance) {
  return std::string(tolerance.param.pin_order ? "AnyPins" : "Pins") +
         (tolerance.param.net_order ? "AnyNets" : "Nets");
}

INSTANTIATE_TEST_SUITE_P(Tolerances, AnyDifference,
                         testing::Values(Tolerance{}, Tolerance{true, false}, Tolerance{false, true},
                                         kAnyOrder),
                         name_of);

TEST(NetsByKey, FindsOnlyNetsThatMatchAmongThoseOfAKey) {
  NetsByKey nets(3);
  nets.add(7, 1);
  nets.add(7, 2);
  nets.add(7, 3);
  EXPECT_EQ(nets.take(7, [](int net) { return net == 2; }), 2);
  EXPECT_EQ(nets.find(7, [](int net) { return net == 2; }), 0);
  EXPECT_EQ(nets.find(8, [](int) { return true; }), 0);
  EXPECT_EQ(nets.take(7, [](int) { return true; }), 1);
  EXPECT_EQ(nets.take(7, [](int) { return true; }), 3);
  EXPECT_EQ(nets.take(7, [](int) { return true; }), 0);
}

TEST(NetsByKey, AddsANetAfterTheLastOfItsKeyIsGone) {
  for (const int last : {2, 1}) {
    NetsByKey again(3);
    again.add(5, 1);
    again.add(5, 2);
    EXPECT_EQ(again.take(5, [last](int net) { return net == last; }), last);
    again.add(5, 3);
    EXPECT_EQ(again.take(5, [](int) { return true; }), 3 - last);
    EXPECT_EQ(again.take(5, [](int) { return true; }), 3);
  }
}

}  // namespace
}  // namespace quillon::measures
