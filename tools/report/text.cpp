#include "tools/report/text.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <string_view>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kNone = "\u2013";
constexpr const char* kReplacement = "\uFFFD";

const char* entity(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return nullptr;
  }
}

bool follows(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// Bytes of the first character of a text; 0 if it is malformed UTF-8, or not allowed in XML.
std::size_t character_length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t k = 1; k < length; ++k)
    if (!follows(text[k])) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  const bool is_overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool is_surrogate = first == 0xED && second >= 0xA0;
  const bool is_beyond = first == 0xF4 && second >= 0x90;
  const bool is_no_character = text.substr(0, 3) == "\xEF\xBF\xBE" || text.substr(0, 3) == "\xEF\xBF\xBF";
  return is_overlong || is_surrogate || is_beyond || is_no_character ? 0 : length;
}

// As many places as it takes not to be rounded to 100.
std::string nearly_all(double percent) {
  constexpr int kMostPlaces = 12;
  std::string text;
  for (int places = 2; places <= kMostPlaces; ++places) {
    text = fmt::format("{:.{}f}", percent, places);
    if (!text.starts_with("100")) break;
  }
  return text + " %";
}

}  // namespace

std::string grouped(std::int64_t value) {
  const std::string digits = std::to_string(value);
  std::string text;
  for (std::size_t k = 0; k < digits.size(); ++k) {
    const bool follows_digit = k > 1 || (k == 1 && value >= 0);
    if (follows_digit && (digits.size() - k) % 3 == 0) text += ',';
    text += digits[k];
  }
  return text;
}

std::string short_form(double value) {
  constexpr std::array<const char*, 5> kUnits{"", " k", " M", " G", " T"};
  std::size_t unit = 0;
  while (std::abs(value) >= 999.5 && unit + 1 < kUnits.size()) {
    value /= 1000;
    ++unit;
  }
  if (unit == 0 && value == std::floor(value)) return fmt::format("{:.0f}", value);
  const int digits = std::abs(value) < 9.995 ? 2 : std::abs(value) < 99.95 ? 1 : 0;
  return fmt::format("{:.{}f}{}", value, digits, kUnits[unit]);
}

std::string grouped_count(std::int64_t count, const std::string& what) {
  return grouped(count) + " " + what + (count == 1 ? "" : "s");
}

std::string decimal(double value) {
  constexpr double kWithoutPlaces = 1e15;
  if (!std::isfinite(value)) return kNone;
  if (value == std::floor(value) && std::abs(value) < kWithoutPlaces)
    return grouped(static_cast<std::int64_t>(value));
  if (std::abs(value) < 1000) return fmt::format("{:.3f}", value);
  if (std::abs(value) >= kWithoutPlaces) return fmt::format("{:.3g}", value);
  return grouped(std::llround(value));
}

std::string percentage(double share) {
  if (!std::isfinite(share)) return kNone;
  const double percent = 100 * share;
  if (percent == std::floor(percent)) return fmt::format("{:.0f} %", percent);
  if (percent >= 99.95 && percent < 100) return nearly_all(percent);
  if (percent >= 9.995) return fmt::format("{:.1f} %", percent);
  if (percent >= 1) return fmt::format("{:.2f} %", percent);
  if (percent >= 0.0001) return fmt::format("{:#.2g} %", percent);
  return fmt::format("{:.1e} %", percent);
}

std::string in_one_line(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    line += byte < 0x20 || byte == 0x7F ? fmt::format("\\x{:02X}", byte) : std::string(1, c);
  }
  return line;
}

std::string escaped(const std::string& text) {
  std::string safe;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = character_length(rest);
    const char* const replaced = length == 0 ? kReplacement : entity(rest[0]);
    if (replaced != nullptr)
      safe += replaced;
    else
      safe += rest.substr(0, length);
    rest.remove_prefix(length == 0 ? 1 : length);
  }
  return safe;
}

void print_row(const std::string& label, const std::string& value, int width) {
  uprintf("%s\n", fmt::format("{:<{}} {}", label, width, value).c_str());
}

}  // namespace quillon::tool
