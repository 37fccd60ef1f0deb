#include "formats/law.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <optional>
#include <string_view>

#include "formats/draws.h"

namespace quillon::formats {
namespace {

constexpr int kMostValues = 1 << 22;
constexpr const char* kForms =
    "expected N, A..B, power:EXPONENT:A..B or a list such as 2=60,3..9=40, of whole numbers from 0";

[[noreturn]] void bad_law(const std::string& text) {
  throw BadRecipe("'" + text + "' is no distribution: " + kForms);
}

std::optional<int> number_in(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0) return std::nullopt;
  return value;
}

// "A..B", or "A" for A..A.
std::optional<std::pair<int, int>> range_in(std::string_view text) {
  const std::size_t dots = text.find("..");
  const std::optional<int> first = number_in(text.substr(0, dots));
  const std::optional<int> last = dots == std::string_view::npos ? first : number_in(text.substr(dots + 2));
  if (!first || !last || *first > *last) return std::nullopt;
  return std::pair(*first, *last);
}

// Logarithms and powers in integers, because those of the standard library differ between systems.
constexpr int kFraction = 31;  // bits after the point
constexpr std::uint64_t kOne = std::uint64_t{1} << kFraction;

// The logarithm to base 2 of a value from 1, bit by bit: a square of 2 or more is halved.
std::uint64_t log2_of(int value) {
  const int whole = static_cast<int>(std::bit_width(static_cast<unsigned>(value))) - 1;
  std::uint64_t x = static_cast<std::uint64_t>(value) << (kFraction - whole);
  auto log = static_cast<std::uint64_t>(whole);
  for (int k = 0; k < kFraction; ++k) {
    x = x * x >> kFraction;
    const bool is_large = x >= 2 * kOne;
    log = log << 1 | (is_large ? 1U : 0U);
    if (is_large) x >>= 1;
  }
  return log;
}

constexpr std::uint64_t root(std::uint64_t square) {
  std::uint64_t result = 0;
  for (std::uint64_t bit = std::uint64_t{1} << 31; bit != 0; bit >>= 1)
    if ((result + bit) * (result + bit) <= square) result += bit;
  return result;
}

// 2 to the power of -1/2, -1/4, -1/8, ..
constexpr std::array<std::uint64_t, kFraction> make_roots() {
  std::array<std::uint64_t, kFraction> roots{};
  std::uint64_t last = kOne / 2;
  for (std::uint64_t& entry : roots) entry = last = root(last << kFraction);
  return roots;
}

constexpr std::array<std::uint64_t, kFraction> kRoots = make_roots();

// 2 to the power of minus an exponent.
std::uint64_t inverse_power_of_2(std::uint64_t exponent) {
  const std::uint64_t whole = exponent >> kFraction;
  if (whole >= 64) return 0;
  std::uint64_t factor = kOne;
  for (int k = 0; k < kFraction; ++k)
    if ((exponent >> (kFraction - 1 - k) & 1) != 0)
      factor = factor * kRoots[static_cast<std::size_t>(k)] >> kFraction;
  return factor >> whole;
}

}  // namespace

BadRecipe::~BadRecipe() = default;

Law::Law(int first, int last) { add(first, last, 1); }

void Law::add(int first, int last, std::uint64_t chance) {
  const std::uint64_t end = (steps_.empty() ? 0 : steps_.back().end) + chance;
  steps_.push_back({first, last - first + 1, end});
}

Law Law::power(const std::string& text) {
  const std::size_t colon = text.find(':', 6);
  const auto range = colon == std::string::npos ? std::nullopt : range_in(text.substr(colon + 1));
  if (!range || range->first == 0) bad_law(text);
  const auto [first, last] = *range;
  if (last - first >= kMostValues) throw BadRecipe("'" + text + "' has more than 4194304 values");
  const auto exponent =
      static_cast<std::uint64_t>(parse_thousandths(text.substr(6, colon - 6), "the exponent"));

  Law law;
  for (int k = first; k <= last; ++k) {
    const std::uint64_t distance = (log2_of(k) - log2_of(first)) * exponent / 1000;
    const std::uint64_t chance = inverse_power_of_2(distance);
    if (chance > 0) law.add(k, k, chance);
  }
  return law;
}

Law Law::growing(int nvalues, int thousandths) {
  Law law;
  for (int k = 0; k < nvalues; ++k) {
    const auto distance =
        static_cast<std::uint64_t>(nvalues - 1 - k) * static_cast<std::uint64_t>(thousandths);
    const std::uint64_t chance = inverse_power_of_2((distance << kFraction) / 1000);
    if (chance > 0) law.add(k, k, chance);
  }
  return law;
}

Law Law::list(const std::string& text) {
  Law law;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t comma = std::min(text.find(',', at), text.size());
    const std::string entry = text.substr(at, comma - at);
    const std::size_t equals = entry.find('=');
    const auto range = range_in(std::string_view(entry).substr(0, equals));
    const auto chance = equals == std::string::npos ? std::nullopt : number_in(entry.substr(equals + 1));
    if (!range || !chance || *chance == 0) bad_law(text);
    if (!law.steps_.empty() && range->first <= law.max())
      throw BadRecipe("'" + text + "' does not list values in increasing order");
    law.add(range->first, range->second, static_cast<std::uint64_t>(*chance));
    at = comma + 1;
  }
  return law;
}

Law Law::parse(const std::string& text) {
  if (text.starts_with("power:")) return power(text);
  if (text.find('=') != std::string::npos) return list(text);
  const auto range = range_in(text);
  if (!range) bad_law(text);
  return {range->first, range->second};
}

int Law::max() const { return steps_.back().first + (steps_.back().count - 1); }

int Law::draw(Draws& draws) const {
  auto step = steps_.begin();
  if (steps_.size() > 1) {
    const std::uint64_t point = draws.below(steps_.back().end);
    step = std::upper_bound(steps_.begin(), steps_.end(), point,
                            [](std::uint64_t value, const Step& s) { return value < s.end; });
  }
  return step->count == 1 ? step->first : step->first + draws.below(step->count);
}

std::vector<std::pair<int, int>> Law::shares(int nitems) const {
  __extension__ using Wide = unsigned __int128;
  if (max() - min() >= kMostValues) throw BadRecipe("a distribution of degrees has at most 4194304 values");
  const Wide total = steps_.back().end;
  std::vector<std::pair<int, int>> shares;
  Wide begin = 0;  // of a step
  int nshared = 0;
  for (const Step& step : steps_) {
    for (int k = 0; k < step.count; ++k) {
      // Multiplied by the number of values, so that chances within a step are whole.
      const Wide chance = begin * step.count + (step.end - begin) * (static_cast<unsigned>(k) + 1);
      const Wide all = total * step.count;
      const auto due = static_cast<int>((2 * chance * nitems + all) / (2 * all));
      if (due > nshared) shares.emplace_back(step.first + k, due - nshared);
      nshared = due;
    }
    begin = step.end;
  }
  return shares;
}

int parse_thousandths(const std::string& text, const std::string& what) {
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string decimals = point < text.size() ? text.substr(point + 1) : "0";
  const std::size_t ndecimals = decimals.size();
  decimals.resize(3, '0');
  const std::optional<int> whole = number_in(text.substr(0, point));
  const std::optional<int> rest = number_in(decimals);
  if (!whole || !rest || ndecimals == 0 || ndecimals > 3 || *whole >= 1000)
    throw BadRecipe(what + " is '" + text +
                    "', expected a number from 0 to 999.999 with up to three decimals");
  return *whole * 1000 + *rest;
}

}  // namespace quillon::formats
