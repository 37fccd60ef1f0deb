#pragma once
/// @file
/// Balance of a partition by the five definitions in use, as figures and as limits on the weights of parts.
///
/// With w the weight of a part, W that of all cells, k the number of parts, and t the target of the part, W /
/// k unless targets say otherwise, a part is within the limit when
///
/// | rule | limit x |
/// |---|---|
/// | epsilon | w <= floor((1 + x) ceil(t)) |
/// | ufactor | w <= (1 + x / 1000) t |
/// | ubfactor | W (1/2 - x/100)^l <= w <= W (1/2 + x/100)^l, l = log2(W / t) bisections |
/// | share | t - W x/100 <= w <= t + W x/100 |
/// | mondriaan | w <= (1 + x) t |

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "measures/partition.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Definitions of balance, in the order of all lists of them.
enum class BalanceRule { kEpsilon, kUfactor, kUbfactor, kShare, kMondriaan };

/// All rules, each with the name that users give it.
inline constexpr std::array<std::pair<BalanceRule, std::string_view>, 5> kBalanceRules{{
    {BalanceRule::kEpsilon, "epsilon"},
    {BalanceRule::kUfactor, "ufactor"},
    {BalanceRule::kUbfactor, "ubfactor"},
    {BalanceRule::kShare, "share"},
    {BalanceRule::kMondriaan, "mondriaan"},
}};

/// The rule of this name; nothing if there is none.
constexpr std::optional<BalanceRule> balance_rule_named(std::string_view name) {
  for (const auto& [rule, known] : kBalanceRules)
    if (known == name) return rule;
  return std::nullopt;
}

/// A number as it was written: digits / 10^places.
struct Decimal {
  std::int64_t digits = 0;  ///< 0 .. 10^18 - 1.
  int places = 0;           ///< 0 .. 15.
};

/// Reads a number that is not negative, such as "0.03", "30" or "3e-2".
///
/// @param text  With more than 15 digits, or an exponent, it is rounded to 12 places.
/// @return      Nothing if the text is no such number, or would be rounded and is 1000000 or more.
std::optional<Decimal> decimal_of(std::string_view text);

/// What each part should weigh.
struct Targets {
  std::vector<Decimal> values;  ///< By part; empty: the same for all.
  bool are_shares = false;  ///< Of the total weight; otherwise weights, which need not add up to the total.
};

/// The weights that a limit allows the parts, by part number.
struct Bounds {
  std::vector<std::int64_t> least;
  std::vector<std::int64_t> most;
};

/// The smallest value of each rule that a partition keeps; infinite where a part with the target 0 has cells,
/// 0 if there is no weight.
struct BalanceFigures {
  double epsilon = 0;
  double ufactor = 0;
  double ubfactor = 0;
  double share = 0;
  double mondriaan = 0;

  /// The figure of a rule.
  [[nodiscard]] double of(BalanceRule rule) const;
};

/// Measures the balance by all rules.
///
/// @param sizes    From `part_sizes`.
/// @param targets  With a value for each part, or none.
/// @return         Figures from exact quotients; only `ubfactor` is the result of an approximate power.
/// @par Cost       O(nparts).
BalanceFigures balance_figures(const PartSizes& sizes, const Targets& targets);

/// A rule with its value.
struct Limit {
  BalanceRule rule = BalanceRule::kEpsilon;
  Decimal value;
};

/// Finds what the parts may weigh at most and at least.
///
/// @param limit    The value is used as the decimal number it is: (1 + 0.15) 100 is 115.
/// @param total    Weight of all cells, at least 0.
/// @param nparts   Number of parts, at least 1.
/// @param targets  With a value for each part, or none.
/// @return         Bounds for each part, none below 0.
/// @par Cost       O(nparts).
Bounds bounds_of(const Limit& limit, std::int64_t total, int nparts, const Targets& targets);

/// Finds the parts outside their bounds.
///
/// @param sizes   From `part_sizes`.
/// @param bounds  For as many parts.
/// @return        Parts in increasing order.
std::vector<int> parts_outside(const PartSizes& sizes, const Bounds& bounds);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
