#include "tools/report/charts.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace quillon::tool_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

testing::Matcher<tool::Bin> is_bin(int lo, int hi, std::int64_t count) {
  return AllOf(testing::Field(&tool::Bin::lo, lo), testing::Field(&tool::Bin::hi, hi),
               testing::Field(&tool::Bin::count, count));
}

TEST(LogarithmicBins, HoldOneValueEachWhereThereAreFew) {
  EXPECT_TRUE(tool::logarithmic_bins({}).empty());
  EXPECT_THAT(tool::logarithmic_bins({{0, 5}, {39, 2}, {40, 1}}),
              ElementsAre(is_bin(0, 0, 5), is_bin(39, 39, 2), is_bin(40, 40, 1)));
}

TEST(LogarithmicBins, HoldAnEighthOfADecadeOtherwise) {
  // Borders at 1, 2, 3, 4, 5, 6, 8, 10, 14, .. 75, 100: 10 to the power of k / 8, rounded up.
  EXPECT_THAT(tool::logarithmic_bins({{0, 9}, {1, 1}, {6, 1}, {7, 1}, {10, 1}, {13, 1}, {14, 1}, {80, 4}}),
              ElementsAre(is_bin(0, 0, 9), is_bin(1, 1, 1), is_bin(6, 7, 2), is_bin(10, 13, 2),
                          is_bin(14, 17, 1), is_bin(75, 80, 4)));
}

TEST(LogarithmicBins, LoseNothingUpToTheLargestNumber) {
  std::vector<std::pair<int, int>> distribution;
  for (std::int64_t value = 1; value <= std::numeric_limits<int>::max(); value = value * 3 / 2 + 1)
    distribution.emplace_back(static_cast<int>(value), 1);
  distribution.emplace_back(std::numeric_limits<int>::max(), 1);
  std::int64_t count = 0;
  std::int64_t previous = 0;
  for (const tool::Bin& bin : tool::logarithmic_bins(distribution)) {
    EXPECT_GT(bin.lo, previous);
    EXPECT_GE(bin.hi, bin.lo);
    previous = bin.hi;
    count += bin.count;
  }
  EXPECT_EQ(count, std::ssize(distribution));
}

TEST(DistributionChart, DrawsABarForEachBinUpToItsCount) {
  const std::string svg =
      tool::distribution_chart({{0, 0, 3}, {1, 1, 10}, {2, 9, 1000}}, "degree", "cells", {"id", "T<", "D&"});
  EXPECT_THAT(
      svg,
      AllOf(StartsWith("<svg viewBox=\"0 0 400 260\" role=\"img\" "
                       "aria-labelledby=\"id-title id-desc\">\n"
                       "<title id=\"id-title\">T&lt;</title>\n<desc id=\"id-desc\">D&amp;</desc>\n"),
            HasSubstr("<title>degree 0: 3 cells</title>"), HasSubstr("<title>degree 1: 10 cells</title>"),
            HasSubstr("<title>degree 2 to 9: 1,000 cells</title>"), HasSubstr(">1,000</text>"),
            EndsWith("</svg>\n")));
}

}  // namespace
}  // namespace quillon::tool_test
