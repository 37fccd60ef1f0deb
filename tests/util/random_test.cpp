#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <numeric>
#include <utility>
#include <vector>

#include "tests/support/extremes.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::ExitedWithCode;
using testing::StrEq;

struct Draws {
  std::uint64_t seed;
  int m;
  std::array<int, 8> values;
};

// Computed from the published algorithms in exact integer arithmetic: the upper half x of a 64-bit number
// gives floor(m x / 2^32), unless m x mod 2^32 is below 2^32 mod m; then the next number is used.
constexpr Draws kDraws[] = {
    {0, 1, {0, 0, 0, 0, 0, 0, 0, 0}},
    {0, 2, {1, 1, 0, 0, 1, 1, 0, 1}},
    {0, 3, {1, 2, 0, 1, 2, 2, 1, 1}},
    {0, 7, {4, 5, 0, 2, 5, 6, 2, 3}},
    {0, 10, {6, 7, 1, 4, 7, 9, 4, 5}},
    {0, 1000, {601, 747, 103, 416, 732, 999, 422, 535}},
    {0, 1073741825, {802916318, 110616871, 447309116, 453346171, 575155033, 918604547, 986616279, 122725967}},
    {0,
     1610612736,
     {968401844, 165925306, 670963674, 1180573947, 1610207563, 680019257, 862732549, 1479924417}},
    {0,
     2147483647,
     {1291202458, 1605832635, 221233742, 894618232, 1574098596, 2146943417, 906692342, 1150310065}},
    {1, 3, {2, 1, 1, 1, 2, 0, 0, 1}},
    {1, 10, {7, 5, 5, 3, 6, 1, 0, 3}},
    {1, 1073741825, {754756571, 154159300, 76284219, 409293683, 931097891, 592393955, 1001342035, 718437199}},
    {1,
     2147483647,
     {1509513141, 1117629130, 1232882602, 840371773, 1497179248, 308318600, 152568439, 818587365}},
    {1234567, 1, {0, 0, 0, 0, 0, 0, 0, 0}},
    {1234567, 2, {0, 0, 0, 1, 1, 0, 1, 0}},
    {1234567, 3, {0, 0, 0, 2, 1, 1, 2, 1}},
    {1234567, 7, {1, 0, 0, 6, 4, 3, 6, 2}},
    {1234567, 10, {1, 0, 0, 9, 6, 4, 8, 3}},
    {1234567, 1000, {189, 98, 67, 918, 628, 440, 895, 362}},
    {1234567,
     1073741825,
     {204007536, 105912259, 986051261, 674386936, 473484441, 961756706, 388908419, 374197628}},
    {1234567,
     1610612736,
     {158868389, 109213696, 1479076891, 1011580404, 710226661, 1442635058, 583362628, 561296442}},
    {1234567,
     2147483647,
     {408015073, 211824519, 145618261, 1972102521, 1348773871, 946968882, 1923513410, 777816838}},
    {~std::uint64_t{0}, 3, {1, 2, 1, 2, 1, 2, 1, 2}},
    {~std::uint64_t{0}, 10, {5, 7, 5, 7, 5, 7, 3, 7}},
    {~std::uint64_t{0},
     1073741825,
     {601180213, 824027142, 544705648, 609051903, 785700773, 397633797, 824299108, 672780727}},
    {~std::uint64_t{0},
     2147483647,
     {1202360425, 1648054283, 1089411295, 1605551806, 1218103805, 1571401544, 795267594, 1648598214}},
};

std::vector<int> draws(int m, int count) {
  std::vector<int> values(count);
  for (int& value : values) value = uRandom(m);
  return values;
}

// Pearson's statistic for counts that should be equal.
double chi_square(const std::vector<int>& counts) {
  const double mean = std::accumulate(counts.begin(), counts.end(), 0.0) / static_cast<double>(counts.size());
  double sum = 0;
  for (const int count : counts) sum += (count - mean) * (count - mean) / mean;
  return sum;
}

void print_draws_and_exit() {
  for (const int value : draws(1000, 8)) std::fprintf(stderr, "%d ", value);
  std::exit(0);
}

TEST(URandom, GivesThePublishedStream) {
  for (const Draws& expected : kDraws) {
    uSeed(expected.seed);
    EXPECT_THAT(draws(expected.m, 8), ElementsAreArray(expected.values))
        << "seed " << expected.seed << ", m " << expected.m;
  }
}

TEST(URandom, GivesThePublishedStreamFarFromItsStart) {
  uSeed(42);
  for (int i = 0; i < 1'000'000; ++i) uRandom(kMost);
  EXPECT_THAT(draws(kMost, 4), ElementsAre(1789334810, 1514539812, 1210305162, 1673317005));

  // With this bound one number in four is skipped.
  uSeed(42);
  for (int i = 0; i < 100'000; ++i) uRandom((1 << 30) + 1);
  EXPECT_THAT(draws((1 << 30) + 1, 4), ElementsAre(407761514, 752425596, 967124973, 998810));
}

TEST(URandom, StartsWithTheStreamOfSeed0) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a new process, in which nothing was drawn before
  EXPECT_EXIT(print_draws_and_exit(), ExitedWithCode(0), StrEq("601 747 103 416 732 999 422 535 "));
}

TEST(URandom, RepeatsTheStreamOfASeed) {
  uSeed(99);
  const std::vector<int> first = draws(1'000'000, 100);
  const std::vector<int> second = draws(1'000'000, 100);
  EXPECT_NE(first, second);

  uSeed(99);
  EXPECT_EQ(draws(1'000'000, 100), first);
  uSeed(98);
  EXPECT_NE(draws(1'000'000, 100), first);
}

TEST(URandom, StaysBelowTheBound) {
  uSeed(3);
  for (const int m : {1, 2, 3, 4, 5, 6, 7, 1 << 30, (1 << 30) + 1, kMost - 1, kMost}) {
    for (const int value : draws(m, 2'000)) {
      ASSERT_GE(value, 0) << "m " << m;
      ASSERT_LT(value, m);
    }
  }
}

TEST(URandom, AdvancesTheStreamAlsoWhenThereIsOneResultOnly) {
  uSeed(5);
  const std::vector<int> plain = draws(1'000'000, 3);

  uSeed(5);
  EXPECT_THAT(draws(1, 2), ElementsAre(0, 0));
  EXPECT_EQ(uRandom(1'000'000), plain[2]);
}

TEST(URandom, RefusesABoundBelow1) {
  EXPECT_EQ(fatal_text([&] { uRandom(0); }), "uRandom: bound 0 is below 1");
  EXPECT_EQ(fatal_text([&] { uRandom(-1); }), "uRandom: bound -1 is below 1");
  EXPECT_EQ(fatal_text([&] { uRandom(std::numeric_limits<int>::min()); }),
            "uRandom: bound -2147483648 is below 1");
}

// The bounds in the following tests are the 99.9 % quantiles of the chi-square distributions.

TEST(URandom, FavoursNoValueOfASmallRange) {
  const std::map<int, double> quantiles = {{2, 10.83}, {3, 13.82}, {7, 22.46}, {10, 27.88}, {24, 49.73}};
  for (const auto& [m, quantile] : quantiles) {
    uSeed(2024);
    std::vector<int> counts(m);
    for (int i = 0; i < 10'000 * m; ++i) ++counts[uRandom(m)];
    EXPECT_LT(chi_square(counts), quantile) << "m " << m;
  }
}

TEST(URandom, FavoursNoThirdAndNoResidueOfALargeRange) {
  // 2^32 is 8/3 of this bound. A plain remainder would map two 32-bit numbers to each value of the upper
  // third and three to all others; a plain multiplication, two to each value of residue 2 and three to all
  // others.
  constexpr int kBound = 3 * (1 << 29);
  uSeed(2024);
  std::vector<int> thirds(3);
  std::vector<int> residues(3);
  for (int i = 0; i < 30'000; ++i) {
    const int value = uRandom(kBound);
    ++thirds[value / (kBound / 3)];
    ++residues[value % 3];
  }
  EXPECT_LT(chi_square(thirds), 13.82);
  EXPECT_LT(chi_square(residues), 13.82);
}

TEST(URandom, FavoursNoPairOfFollowingValues) {
  uSeed(2024);
  std::vector<int> counts(25);
  for (int i = 0; i < 100'000; ++i) {
    const int first = uRandom(5);
    ++counts[5 * first + uRandom(5)];
  }
  EXPECT_LT(chi_square(counts), 51.18);
}

std::vector<std::int32_t> numbered(int count) {
  std::vector<std::int32_t> values(count);
  std::iota(values.begin(), values.end(), 1);
  return values;
}

TEST(PermuteInPlace, GivesTheOrderOfTheSeed) {
  std::vector<std::int32_t> values = numbered(10);
  uSeed(0);
  PermuteInPlace(values.data(), 10);
  EXPECT_THAT(values, ElementsAre(8, 9, 4, 2, 6, 5, 3, 1, 10, 7));

  values = numbered(10);
  uSeed(7);
  PermuteInPlace(values.data(), 10);
  EXPECT_THAT(values, ElementsAre(2, 9, 4, 1, 5, 6, 10, 7, 3, 8));
}

TEST(PermuteInPlace, KeepsEveryEntry) {
  uSeed(11);
  for (const int count : {2, 3, 10, 1000, 100'000}) {
    std::vector<std::int32_t> values = numbered(count);
    PermuteInPlace(values.data(), count);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, numbered(count));
  }
}

TEST(PermuteInPlace, SwapsFromTheLastEntryDown) {
  for (int count = 0; count < 50; ++count) {
    std::vector<std::int32_t> swapped = numbered(count);
    uSeed(1000 + count);
    for (int i = count; i >= 2; --i) std::swap(swapped.at(i - 1), swapped.at(uRandom(i)));
    const int next = uRandom(kMost);

    std::vector<std::int32_t> values = numbered(count);
    uSeed(1000 + count);
    PermuteInPlace(values.data(), count);
    EXPECT_EQ(values, swapped);
    EXPECT_EQ(uRandom(kMost), next) << "the draws of " << count << " entries";
  }
}

TEST(PermuteInPlace, LeavesEntriesOutsideTheRangeAlone) {
  std::vector<std::int32_t> values = {-1, 1, 2, 3, 4, 5, -2};
  uSeed(1);
  PermuteInPlace(values.data() + 1, 5);
  EXPECT_EQ(values.front(), -1);
  EXPECT_EQ(values.back(), -2);
}

TEST(PermuteInPlace, DrawsNothingForFewerThanTwoEntries) {
  uSeed(0);
  std::int32_t value = 5;
  PermuteInPlace(&value, 1);
  PermuteInPlace(&value, 0);
  PermuteInPlace(&value, -1);
  PermuteInPlace(&value, std::numeric_limits<int>::min());
  PermuteInPlace(nullptr, 0);

  EXPECT_EQ(value, 5);
  EXPECT_EQ(uRandom(1000), 601);  // the first draw of seed 0
}

TEST(PermuteInPlace, FavoursNoOrder) {
  uSeed(2024);
  std::map<std::vector<std::int32_t>, int> orders;
  for (int i = 0; i < 24'000; ++i) {
    std::vector<std::int32_t> values = numbered(4);
    PermuteInPlace(values.data(), 4);
    ++orders[values];
  }

  std::vector<int> counts;
  counts.reserve(orders.size());
  for (const auto& [order, count] : orders) counts.push_back(count);
  EXPECT_EQ(counts.size(), 24U);
  EXPECT_LT(chi_square(counts), 49.73);
}

}  // namespace
}  // namespace quillon
