#include "measures/quantiles.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace quillon::measures {
namespace {

// The smallest value with at least so many percent of all that are not larger.
int percentile(const std::vector<int>& values, int percent) {
  for (const int value : values) {
    const auto nup_to = std::count_if(values.begin(), values.end(), [value](int v) { return v <= value; });
    if (100 * nup_to >= percent * std::ssize(values)) return value;
  }
  return 0;
}

TEST(QuantilesOf, CountsValues) {
  const Quantiles q = quantiles_of({{2, 6}, {3, 1}, {10, 3}});
  EXPECT_EQ(q.count, 10);
  EXPECT_EQ(q.min, 2);
  EXPECT_EQ(q.lower_quartile, 2);
  EXPECT_EQ(q.median, 2);
  EXPECT_EQ(q.upper_quartile, 10);
  EXPECT_EQ(q.percentile_90, 10);
  EXPECT_EQ(q.max, 10);
  EXPECT_DOUBLE_EQ(q.mean, 4.5);
  EXPECT_DOUBLE_EQ(q.deviation, std::sqrt((6 * 6.25 + 2.25 + 3 * 30.25) / 10));
}

TEST(QuantilesOf, AreZeroOfNothing) {
  const Quantiles q = quantiles_of({});
  EXPECT_EQ(q.count, 0);
  EXPECT_EQ(q.max, 0);
  EXPECT_EQ(q.mean, 0);
  EXPECT_EQ(q.deviation, 0);
}

TEST(QuantilesOf, AgreesWithSortedValues) {
  std::mt19937 generator(1);
  for (int size = 1; size < 200; ++size) {
    std::vector<int> values;
    for (int k = 0; k < size; ++k) values.push_back(static_cast<int>(generator() % 50) - 10);
    std::sort(values.begin(), values.end());
    Distribution distribution;
    for (const int value : values) {
      if (distribution.empty() || distribution.back().first != value) distribution.emplace_back(value, 0);
      ++distribution.back().second;
    }
    const Quantiles q = quantiles_of(distribution);
    EXPECT_EQ(q.min, values.front());
    EXPECT_EQ(q.lower_quartile, percentile(values, 25));
    EXPECT_EQ(q.median, percentile(values, 50));
    EXPECT_EQ(q.upper_quartile, percentile(values, 75));
    EXPECT_EQ(q.percentile_90, percentile(values, 90));
    EXPECT_EQ(q.percentile_99, percentile(values, 99));
    EXPECT_EQ(q.max, values.back());
  }
}

}  // namespace
}  // namespace quillon::measures
