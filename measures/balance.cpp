#include "measures/balance.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "measures/wide.h"

namespace quillon::measures {
namespace {

/// A quotient of integers, neither below 0. A product that exceeds 128 bits is rounded.
struct Fraction {
  Wide numerator = 0;
  Wide denominator = 1;

  [[nodiscard]] long double value() const {
    return static_cast<long double>(numerator) / static_cast<long double>(denominator);
  }
  [[nodiscard]] Wide floor() const { return numerator / denominator; }
  [[nodiscard]] Wide ceil() const { return (numerator + denominator - 1) / denominator; }
};

Wide common_divisor(Wide a, Wide b) {
  while (b != 0) {
    const Wide rest = a % b;
    a = b;
    b = rest;
  }
  return a == 0 ? 1 : a;
}

// 2^62: below the largest 64-bit integer, and above any total weight but one that nobody can reach.
constexpr std::int64_t kMostWeight = std::int64_t{1} << 62;

Fraction rounded(long double value) {
  constexpr long double kUnit = 1U << 20U;
  const long double most = static_cast<long double>(kMostWeight) * kUnit;
  return {static_cast<Wide>(std::min(value * kUnit, most)), Wide{1} << 20};
}

Fraction product(const Fraction& a, const Fraction& b) {
  const Wide across = common_divisor(a.numerator, b.denominator);
  const Wide back = common_divisor(b.numerator, a.denominator);
  Fraction result;
  const bool overflows =
      __builtin_mul_overflow(a.numerator / across, b.numerator / back, &result.numerator) ||
      __builtin_mul_overflow(a.denominator / back, b.denominator / across, &result.denominator);
  return overflows ? rounded(a.value() * b.value()) : result;
}

Fraction sum(const Fraction& a, const Fraction& b, int sign) {
  const Wide divisor = common_divisor(a.denominator, b.denominator);
  Fraction result;
  Wide left = 0;
  Wide right = 0;
  const bool overflows = __builtin_mul_overflow(a.numerator, b.denominator / divisor, &left) ||
                         __builtin_mul_overflow(b.numerator, a.denominator / divisor, &right) ||
                         __builtin_add_overflow(left, sign * right, &result.numerator) ||
                         __builtin_mul_overflow(a.denominator, b.denominator / divisor, &result.denominator);
  if (overflows) result = rounded(std::max(a.value() + sign * b.value(), 0.0L));
  if (result.numerator < 0) return {};
  return result;
}

Fraction fraction_of(const Decimal& decimal) {
  Wide denominator = 1;
  for (int k = 0; k < decimal.places; ++k) denominator *= 10;
  return {decimal.digits, denominator};
}

// The limit's value as a share: of 0.03, of 30 thousandths, of 3 percent.
Fraction share_of(const Limit& limit) {
  Fraction value = fraction_of(limit.value);
  if (limit.rule == BalanceRule::kUfactor) value.denominator *= 1000;
  if (limit.rule == BalanceRule::kUbfactor || limit.rule == BalanceRule::kShare) value.denominator *= 100;
  return value;
}

Fraction target_of(std::size_t part, std::int64_t total, int nparts, const Targets& targets) {
  if (targets.values.empty()) return {total, nparts};
  const Fraction value = fraction_of(targets.values[part]);
  return targets.are_shares ? product({total, 1}, value) : value;
}

// Number of bisections that lead from all cells to a part of this target.
long double levels_of(const Fraction& target, std::int64_t total) {
  return std::log2(static_cast<long double>(total) * static_cast<long double>(target.denominator) /
                   static_cast<long double>(target.numerator));
}

struct Range {
  std::int64_t least = 0;
  std::int64_t most = 0;
};

std::int64_t as_weight(Wide value) { return static_cast<std::int64_t>(std::min(value, Wide{kMostWeight})); }

Range compounded_range(const Fraction& share, const Fraction& target, std::int64_t total) {
  // Powers of exact halves may come out an ulp off on the wrong side of an integer.
  constexpr long double kSlack = 1e-15L;
  if (total == 0 || target.numerator == 0) return {};
  const long double levels = levels_of(target, total);
  const auto power = [&](long double base) {
    return static_cast<long double>(total) * std::pow(std::clamp(base, 0.0L, 1.0L), levels);
  };
  return {static_cast<std::int64_t>(std::ceil(power(0.5L - share.value()) * (1 - kSlack))),
          static_cast<std::int64_t>(std::floor(power(0.5L + share.value()) * (1 + kSlack)))};
}

Range range_of(BalanceRule rule, const Fraction& share, const Fraction& target, std::int64_t total) {
  const Fraction factor = sum({1, 1}, share, 1);
  switch (rule) {
    case BalanceRule::kEpsilon:
      return {0, as_weight(product(factor, {target.ceil(), 1}).floor())};
    case BalanceRule::kUbfactor:
      return compounded_range(share, target, total);
    case BalanceRule::kShare: {
      const Fraction margin = product({total, 1}, share);
      return {as_weight(sum(target, margin, -1).ceil()), as_weight(sum(target, margin, 1).floor())};
    }
    case BalanceRule::kUfactor:
    case BalanceRule::kMondriaan:
      return {0, as_weight(product(factor, target).floor())};
  }
  return {};
}

constexpr double kInfinite = std::numeric_limits<double>::infinity();

// By how much a part exceeds its target, in `unit`ths of the target.
double excess(std::int64_t weight, const Fraction& target, int unit) {
  if (target.numerator == 0) return weight == 0 ? 0 : kInfinite;
  const Fraction ratio{(Wide{weight} * target.denominator - target.numerator) * unit, target.numerator};
  return static_cast<double>(ratio.value());
}

// By how much a part differs from its target, in percent of the total.
double difference_in_percent(std::int64_t weight, const Fraction& target, std::int64_t total) {
  const Wide difference = Wide{weight} * target.denominator - target.numerator;
  return static_cast<double>(
      product({difference < 0 ? -difference : difference, target.denominator}, {100, total}).value());
}

double ubfactor_of(std::int64_t weight, const Fraction& target, std::int64_t total) {
  constexpr double kPercent = 100;
  if (target.numerator == 0) return weight == 0 ? 0 : kInfinite;
  const long double levels = levels_of(target, total);
  if (levels <= 0) return 0;
  const auto weight_share =
      static_cast<long double>(std::max<std::int64_t>(0, weight)) / static_cast<long double>(total);
  const long double side = std::pow(weight_share, 1 / levels);
  return static_cast<double>(kPercent * std::abs(side - 0.5L));
}

void add(BalanceFigures& figures, std::int64_t weight, const Fraction& target, std::int64_t total) {
  figures.epsilon = std::max(figures.epsilon, excess(weight, {target.ceil(), 1}, 1));
  figures.ufactor = std::max(figures.ufactor, excess(weight, target, 1000));
  figures.ubfactor = std::max(figures.ubfactor, ubfactor_of(weight, target, total));
  figures.share = std::max(figures.share, difference_in_percent(weight, target, total));
  figures.mondriaan = std::max(figures.mondriaan, excess(weight, target, 1));
}

}  // namespace

std::optional<Decimal> decimal_of(std::string_view text) {
  constexpr double kTooLarge = 1e6;
  constexpr std::size_t kMostDigits = 15;
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stopped != end || !(value >= 0) || std::signbit(value)) return std::nullopt;

  const std::size_t point = text.find('.');
  const bool is_plain = text.find_first_not_of("0123456789.") == std::string_view::npos;
  if (is_plain && text.size() <= kMostDigits) {
    Decimal decimal;
    for (const char c : text)
      if (c != '.') decimal.digits = 10 * decimal.digits + (c - '0');
    if (point != std::string_view::npos) decimal.places = static_cast<int>(text.size() - point - 1);
    return decimal;
  }
  if (value >= kTooLarge) return std::nullopt;
  return Decimal{std::llround(value * 1e12), 12};
}

double BalanceFigures::of(BalanceRule rule) const {
  switch (rule) {
    case BalanceRule::kEpsilon:
      return epsilon;
    case BalanceRule::kUfactor:
      return ufactor;
    case BalanceRule::kUbfactor:
      return ubfactor;
    case BalanceRule::kShare:
      return share;
    case BalanceRule::kMondriaan:
      return mondriaan;
  }
  return 0;
}

BalanceFigures balance_figures(const PartSizes& sizes, const Targets& targets) {
  const std::int64_t total = std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0});
  if (total <= 0) return {};
  const auto nparts = static_cast<int>(sizes.weights.size());
  if (!targets.values.empty()) {
    BalanceFigures figures{-1, -1000, 0, 0, -1};  // of parts without weight
    for (std::size_t part = 0; part < sizes.weights.size(); ++part)
      add(figures, sizes.weights[part], target_of(part, total, nparts, targets), total);
    return figures;
  }
  const auto [least, most] = std::minmax_element(sizes.weights.begin(), sizes.weights.end());
  BalanceFigures figures;
  add(figures, *least, {total, nparts}, total);
  add(figures, *most, {total, nparts}, total);
  return figures;
}

Bounds bounds_of(const Limit& limit, std::int64_t total, int nparts, const Targets& targets) {
  const Fraction share = share_of(limit);
  const auto count = static_cast<std::size_t>(nparts);
  if (targets.values.empty()) {
    const Range range = range_of(limit.rule, share, {total, nparts}, total);
    return {std::vector<std::int64_t>(count, range.least), std::vector<std::int64_t>(count, range.most)};
  }
  Bounds bounds;
  for (std::size_t part = 0; part < count; ++part) {
    const Range range = range_of(limit.rule, share, target_of(part, total, nparts, targets), total);
    bounds.least.push_back(range.least);
    bounds.most.push_back(range.most);
  }
  return bounds;
}

std::vector<int> parts_outside(const PartSizes& sizes, const Bounds& bounds) {
  std::vector<int> outside;
  for (std::size_t part = 0; part < sizes.weights.size(); ++part)
    if (sizes.weights[part] < bounds.least[part] || sizes.weights[part] > bounds.most[part])
      outside.push_back(static_cast<int>(part));
  return outside;
}

}  // namespace quillon::measures
