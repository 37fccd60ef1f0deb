#include "measures/balance.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace quillon::measures {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

Limit limit(BalanceRule rule, const char* value) { return {rule, *decimal_of(value)}; }

PartSizes sizes_of(const std::vector<std::int64_t>& weights) { return {weights, weights}; }

TEST(DecimalOf, ReadsNumbersAsTheyAreWritten) {
  const auto expect = [](const char* text, std::int64_t digits, int places) {
    const std::optional<Decimal> decimal = decimal_of(text);
    ASSERT_TRUE(decimal.has_value()) << text;
    EXPECT_EQ(decimal->digits, digits) << text;
    EXPECT_EQ(decimal->places, places) << text;
  };
  expect("0.03", 3, 2);
  expect("30", 30, 0);
  expect(".5", 5, 1);
  expect("2.", 2, 0);
  expect("5000000", 5000000, 0);
  expect("3e-2", 30000000000, 12);
  expect("0.33333333333333333", 333333333333, 12);
  for (const char* text : {"", "x", "-1", "-0.0", "1,5", "0.03x", "nan", "inf", "1e9", "."})
    EXPECT_FALSE(decimal_of(text).has_value()) << text;
}

TEST(BalanceFigures, AreTheSmallestLimitsThatHold) {
  // 10 in 3 parts: the average is 10/3, its ceiling 4.
  const BalanceFigures figures = balance_figures(sizes_of({5, 2, 3}), {});

  EXPECT_DOUBLE_EQ(figures.epsilon, 0.25);
  EXPECT_DOUBLE_EQ(figures.ufactor, 500);
  EXPECT_DOUBLE_EQ(figures.mondriaan, 0.5);
  EXPECT_DOUBLE_EQ(figures.share, 100 * (0.5 - 1.0 / 3));
  EXPECT_NEAR(figures.ubfactor, 100 * (std::pow(0.5, 1 / std::log2(3)) - 0.5), 1e-12);
  EXPECT_EQ(figures.of(BalanceRule::kUbfactor), figures.ubfactor);
}

TEST(BalanceFigures, OfABisectionAreTheDistanceFromHalf) {
  EXPECT_DOUBLE_EQ(balance_figures(sizes_of({45, 55}), {}).ubfactor, 5);
  EXPECT_DOUBLE_EQ(balance_figures(sizes_of({45, 55}), {}).share, 5);
}

TEST(BalanceFigures, AreZeroWithoutWeightAndForOnePart) {
  for (const auto& sizes : {sizes_of({0, 0}), sizes_of({7})}) {
    const BalanceFigures figures = balance_figures(sizes, {});
    for (const auto& [rule, name] : kBalanceRules) EXPECT_EQ(figures.of(rule), 0) << name;
  }
}

TEST(BalanceFigures, CompareEachPartWithItsTarget) {
  const Targets shares{{*decimal_of("0.2"), *decimal_of("0.8")}, true};
  EXPECT_DOUBLE_EQ(balance_figures(sizes_of({30, 70}), shares).mondriaan, 0.5);
  EXPECT_DOUBLE_EQ(balance_figures(sizes_of({20, 80}), shares).share, 0);

  const Targets weights{{{10, 0}, {20, 0}}, false};
  EXPECT_DOUBLE_EQ(balance_figures(sizes_of({9, 26}), weights).epsilon, 0.3);

  const Targets none{{{0, 0}, {1, 0}}, true};
  EXPECT_EQ(balance_figures(sizes_of({1, 9}), none).mondriaan, std::numeric_limits<double>::infinity());
}

TEST(BoundsOf, FollowsEachDefinition) {
  const auto most = [](BalanceRule rule, const char* value, std::int64_t total, int nparts) {
    return bounds_of(limit(rule, value), total, nparts, {}).most[0];
  };
  EXPECT_EQ(most(BalanceRule::kEpsilon, "0.03", 12752, 8), 1641);  // 1.03 * 1594 = 1641.82
  EXPECT_EQ(most(BalanceRule::kEpsilon, "0.15", 299, 3), 115);     // 1.15 * 100, above it in binary
  EXPECT_EQ(most(BalanceRule::kEpsilon, "0", 1152, 9), 128);
  EXPECT_EQ(most(BalanceRule::kUfactor, "30", 300, 3), 103);
  EXPECT_EQ(most(BalanceRule::kMondriaan, "0.15", 299, 3), 114);  // 1.15 * 299 / 3 = 114.6

  const Bounds share = bounds_of(limit(BalanceRule::kShare, "2"), 1000, 4, {});
  EXPECT_THAT(share.least, Each(230));
  EXPECT_THAT(share.most, Each(270));
  const Bounds bisections = bounds_of(limit(BalanceRule::kUbfactor, "5"), 10000, 4, {});
  EXPECT_THAT(bisections.least, ElementsAre(2025, 2025, 2025, 2025));
  EXPECT_THAT(bisections.most, ElementsAre(3025, 3025, 3025, 3025));
}

TEST(BoundsOf, ScalesWithTargets) {
  const Targets shares{{*decimal_of("0.25"), *decimal_of("0.75")}, true};
  EXPECT_THAT(bounds_of(limit(BalanceRule::kMondriaan, "0.1"), 100, 2, shares).most, ElementsAre(27, 82));
  EXPECT_THAT(bounds_of(limit(BalanceRule::kUbfactor, "10"), 1000, 2, shares).most, ElementsAre(360, 808));

  const Targets capacities{{{10, 0}, {20, 0}}, false};
  EXPECT_THAT(bounds_of(limit(BalanceRule::kEpsilon, "0"), 35, 2, capacities).most, ElementsAre(10, 20));
}

TEST(BoundsOf, DoesNotOverflow) {
  constexpr std::int64_t kTotal = std::int64_t{1} << 61;
  EXPECT_EQ(bounds_of(limit(BalanceRule::kEpsilon, "999999.999999"), kTotal, 2, {}).most[0],
            std::int64_t{1} << 62);
  EXPECT_EQ(bounds_of(limit(BalanceRule::kMondriaan, "0.5"), kTotal, 2, {}).most[0], 3 * (kTotal / 4));
  EXPECT_EQ(bounds_of(limit(BalanceRule::kShare, "12.5"), kTotal, 1000000, {}).least[0], 0);
}

TEST(BoundsOf, HoldForTheFiguresOfAPartition) {
  const PartSizes sizes = sizes_of({45, 55});
  for (const auto& [rule, name] : kBalanceRules) {
    const double figure = balance_figures(sizes, {}).of(rule);
    const auto outside = [&, rule = rule](double value) {
      return parts_outside(sizes, bounds_of(limit(rule, std::to_string(value).c_str()), 100, 2, {}));
    };
    EXPECT_THAT(outside(figure), IsEmpty()) << name;
    EXPECT_THAT(outside(figure * 0.99), testing::Contains(1)) << name;
  }
}

TEST(PartsOutside, FindsTooLightAndTooHeavyOnes) {
  EXPECT_THAT(parts_outside(sizes_of({1, 5, 9}), {{2, 2, 2}, {8, 8, 8}}), ElementsAre(0, 2));
}

}  // namespace
}  // namespace quillon::measures
