#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/extremes.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ElementsAre;

void expect_sorts_like_the_standard_library(std::vector<std::int32_t> values) {
  std::vector<std::int32_t> sorted = values;
  std::stable_sort(sorted.begin(), sorted.end());

  uqsorti(values.size(), values.data());

  EXPECT_EQ(values, sorted);
}

std::vector<std::int32_t> random_values(unsigned seed, std::size_t count, std::int32_t low,
                                        std::int32_t high) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<std::int32_t> value(low, high);
  std::vector<std::int32_t> values(count);
  for (std::int32_t& entry : values) entry = value(random);
  return values;
}

TEST(Uqsorti, PutsTheSmallestFirst) {
  std::vector<std::int32_t> values = {3, -1, 2, 3, 0};

  uqsorti(5, values.data());

  EXPECT_THAT(values, ElementsAre(-1, 0, 2, 3, 3));
}

TEST(Uqsorti, DoesNothingWithoutEntries) {
  uqsorti(0, nullptr);

  std::int32_t value = 5;
  uqsorti(0, &value);
  EXPECT_EQ(value, 5);
}

TEST(Uqsorti, LeavesASingleEntry) {
  std::int32_t value = -5;
  uqsorti(1, &value);
  EXPECT_EQ(value, -5);
}

TEST(Uqsorti, LeavesEntriesOutsideTheRangeAlone) {
  std::vector<std::int32_t> values = {9, 4, 3, 2, 1, -9};

  uqsorti(4, values.data() + 1);

  EXPECT_THAT(values, ElementsAre(9, 1, 2, 3, 4, -9));
}

TEST(Uqsorti, OrdersExtremeValues) {
  std::vector<std::int32_t> values = {0, kMost, kLeast, -1, kMost, 1, kLeast};

  uqsorti(values.size(), values.data());

  EXPECT_THAT(values, ElementsAre(kLeast, kLeast, -1, 0, 1, kMost, kMost));
}

TEST(Uqsorti, AgreesWithAStableSortOnRandomValues) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    expect_sorts_like_the_standard_library(random_values(seed, seed, kLeast, kMost));
    expect_sorts_like_the_standard_library(random_values(seed, seed, -3, 3));
  }
  expect_sorts_like_the_standard_library(random_values(1, 200'000, kLeast, kMost));
}

TEST(Uqsorti, AgreesWithAStableSortOnSortedReversedAndEqualValues) {
  std::vector<std::int32_t> values = random_values(7, 50'000, -100'000, 100'000);
  std::sort(values.begin(), values.end());
  expect_sorts_like_the_standard_library(values);

  std::reverse(values.begin(), values.end());
  expect_sorts_like_the_standard_library(values);

  expect_sorts_like_the_standard_library(std::vector<std::int32_t>(50'000, 7));
}

}  // namespace
}  // namespace quillon
