#pragma once
/// @file
/// Parses one decimal number at a time, in any text. Internal to `hypergraph/`.

#include <algorithm>
#include <cstdint>
#include <limits>

namespace quillon {

inline bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

inline int low_32_bits(std::uint64_t magnitude, bool negative) {
  return static_cast<int>(static_cast<std::uint32_t>(negative ? -magnitude : magnitude));
}

/// Reads an integer as strtol does in base 10 with 64 bits, and keeps its low 32. (strtol itself is slow, and
/// has 32 bits on some platforms.)
///
/// @param at     Where to start; moves past the number if there is one.
/// @param end    End of the text.
/// @param value  Out: the number, or 0.
/// @return       Whether there is a number.
inline bool scan_int(const char*& at, const char* end, int& value) {
  const char* p = at;
  while (p < end && is_space(*p)) ++p;
  const bool negative = p < end && *p == '-';
  if (p < end && (*p == '-' || *p == '+')) ++p;
  value = 0;
  if (p == end || !is_digit(*p)) return false;

  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t limit = kLargest + (negative ? 1 : 0);
  std::uint64_t magnitude = 0;
  for (; p < end && is_digit(*p); ++p)
    magnitude = std::min(limit, magnitude > kLargest / 10 ? limit : 10 * magnitude + std::uint64_t(*p - '0'));
  value = low_32_bits(magnitude, negative);
  at = p;
  return true;
}

/// A count for a message with room for 32 bits.
inline int as_int(std::int64_t count) {
  return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
}

}  // namespace quillon
