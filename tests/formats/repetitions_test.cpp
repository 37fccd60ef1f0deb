// Pins that repeat others, against the obvious comparison of each with all before it.

#include "formats/repetitions.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

namespace quillon::formats {
namespace {

using Pin = std::pair<int, int>;  // net and cell

class Text {
 public:
  Text(const std::vector<Pin>& pins, int largest, bool is_mirrored)
      : largest_(largest), is_mirrored_(is_mirrored) {
    for (const auto& [net, cell] : pins) numbers_.insert(numbers_.end(), {net, cell});
  }

  [[nodiscard]] PinList pins() const { return {numbers_, largest_, largest_, is_mirrored_}; }

 private:
  std::vector<int> numbers_;
  int largest_;
  bool is_mirrored_;
};

PinPairs repeated_by_comparison(const std::vector<Pin>& pins, const std::vector<int>& damaged,
                                bool is_mirrored) {
  const auto is_damaged = [&](std::size_t k) {
    return std::find(damaged.begin(), damaged.end(), static_cast<int>(k) + 1) != damaged.end();
  };
  const auto are_same = [is_mirrored](const Pin& a, const Pin& b) {
    return a == b || (is_mirrored && a == Pin{b.second, b.first});
  };
  PinPairs repeated;
  for (std::size_t k = 0; k < pins.size(); ++k) {
    for (std::size_t first = 0; first < k && !is_damaged(k); ++first) {
      if (is_damaged(first) || !are_same(pins[first], pins[k])) continue;
      repeated.emplace_back(first, k);
      break;
    }
  }
  return repeated;
}

std::vector<Pin> random_pins(std::mt19937& random, int largest) {
  std::vector<Pin> pins(random() % 200);
  for (auto& [net, cell] : pins) {
    net = static_cast<int>(random() % static_cast<unsigned>(largest)) + 1;
    cell = static_cast<int>(random() % static_cast<unsigned>(largest)) + 1;
  }
  return pins;
}

std::vector<int> random_numbers(std::mt19937& random, std::size_t most) {
  std::vector<int> numbers;
  for (std::size_t k = 1; k <= most; ++k)
    if (random() % 8 == 0) numbers.push_back(static_cast<int>(k));
  return numbers;
}

TEST(Repetitions, AreThoseOfTheComparisonOfAllPins) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const int largest = random() % 2 == 0 ? 5 : 40;
    const bool is_mirrored = random() % 2 == 0;
    const std::vector<Pin> pins = random_pins(random, largest);
    const std::vector<int> damaged = random_numbers(random, pins.size());
    const PinPairs expected = repeated_by_comparison(pins, damaged, is_mirrored);
    const Text text(pins, largest, is_mirrored);
    ASSERT_EQ(find_repeated(text.pins(), damaged, false), expected);
    ASSERT_EQ(find_repeated(text.pins(), damaged, true), expected);
  }
}

TEST(Repetitions, AreFoundByALookAtNetsOrCellsInOrder) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::vector<Pin> pins = random_pins(random, random() % 2 == 0 ? 12 : 600);
    const bool by_net = random() % 2 == 0;
    std::stable_sort(pins.begin(), pins.end(), [by_net](const Pin& a, const Pin& b) {
      return by_net ? a.first < b.first : a.second < b.second;
    });
    const bool is_without = repeated_by_comparison(pins, {}, false).empty();
    ASSERT_EQ(is_without_repetitions(Text(pins, 600, false).pins()), is_without);
  }
}

// More nets than are looked at together, and a long one.
TEST(Repetitions, AreFoundInAnyOfManyNets) {
  std::vector<Pin> pins;
  for (int net = 1; net <= 2000; ++net)
    for (int cell = net == 700 ? 90 : 3; cell >= 1; --cell) pins.emplace_back(net, cell);
  EXPECT_TRUE(is_without_repetitions(Text(pins, 2000, false).pins()));
  for (const std::size_t k : {std::size_t{1}, std::size_t{2150}, pins.size() - 1}) {
    std::vector<Pin> bad = pins;
    bad[k] = bad[k - 1];
    EXPECT_FALSE(is_without_repetitions(Text(bad, 2000, false).pins())) << k;
  }
}

TEST(Repetitions, AreNotDeniedIfPinsComeInNoOrder) {
  EXPECT_FALSE(is_without_repetitions(Text({{2, 2}, {1, 1}, {2, 1}}, 2, false).pins()));
}

TEST(Repetitions, AreNotThereWithoutPins) { EXPECT_TRUE(is_without_repetitions(Text({}, 2, false).pins())); }

}  // namespace
}  // namespace quillon::formats
