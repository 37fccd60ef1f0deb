#include "formats/number_set.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace quillon::formats {
namespace {

TEST(NumberSet, AgreesWithASetOfNumbersNearAndFar) {
  for (const std::size_t nready : {0U, 100U}) {
    std::mt19937 random(1);
    NumberSet numbers(nready);
    std::set<int> expected;
    for (int k = 0; k < 20000; ++k) {
      const int most = 1 << (5 + random() % 26);
      const int number = static_cast<int>(random() % static_cast<unsigned>(most));
      ASSERT_EQ(numbers.contains(number), expected.contains(number)) << number;
      if (expected.contains(number) && random() % 4 == 0) {
        numbers.remove(number);
        expected.erase(number);
      } else {
        ASSERT_EQ(numbers.add(number), expected.insert(number).second) << number;
      }
      ASSERT_EQ(numbers.size(), expected.size());
    }
  }
}

TEST(NumberSet, AddsAllNumbersOrNone) {
  for (const std::size_t nready : {0U, 10U}) {
    NumberSet numbers(nready);
    EXPECT_TRUE(numbers.add_all(std::vector<int>{3, 9, 1}, 9));
    EXPECT_FALSE(numbers.add_all(std::vector<int>{4, 5, 9, 6}, 9));
    EXPECT_FALSE(numbers.add_all(std::vector<int>{7, 8, 7}, 9));
    EXPECT_EQ(numbers.size(), 3U);
    for (int number = 0; number <= 9; ++number)
      EXPECT_EQ(numbers.contains(number), number == 3 || number == 9 || number == 1) << number;
  }
}

TEST(NumberSet, FindsANumberAgainThatTheGrowingArrayReaches) {
  NumberSet numbers;
  constexpr int kFar = 1000000;
  EXPECT_TRUE(numbers.add(kFar));
  for (int number = 0; number < 100000; ++number) ASSERT_TRUE(numbers.add(number));
  EXPECT_FALSE(numbers.add(kFar));
  EXPECT_TRUE(numbers.add(kFar + 1));
  EXPECT_TRUE(numbers.contains(kFar));
  numbers.remove(kFar);
  EXPECT_FALSE(numbers.contains(kFar));
  EXPECT_TRUE(numbers.add(kFar));
  EXPECT_EQ(numbers.size(), 100002U);
}

}  // namespace
}  // namespace quillon::formats
