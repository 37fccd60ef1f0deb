#pragma once
/// @file
/// Prints decimal numbers to a stream, a block at a time. Internal to `hypergraph/` and `formats/`.
///
/// A formatted call per number costs many times more than its digits. Here a number of up to eight digits is
/// two look-ups in a table of four digits, without a branch on its length. The table is 40 KB: even from the
/// second-level cache a look-up is cheaper than the multiplications that compute digits.

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace quillon {

/// A block of text for a stream. The write cursor is no member but the caller's variable: stores of
/// characters might alias a member, which would be stored and loaded again for each of them.
struct Printer {
  static constexpr int kSize = 1 << 16;

  std::FILE* stream;
  char block[kSize + 32];  // room for the longest number with a character on either side

  // Clearing the block costs more than a short file.
  // cppcheck-suppress uninitMemberVar
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  explicit Printer(std::FILE* output) : stream(output) {}
};

/// Writes the text before `at` to the stream. Returns the new cursor.
inline char* flush(Printer& printer, const char* at) {
  std::fprintf(printer.stream, "%.*s", static_cast<int>(at - printer.block), printer.block);
  return printer.block;
}

/// Returns the cursor, flushed if need be, with room for one number.
inline char* make_room(Printer& printer, char* at) {
  return at < printer.block + Printer::kSize ? at : flush(printer, at);
}

using FourDigits = std::array<std::uint32_t, 10000>;

/// The four digits of each value below 10000, the first in the lowest byte, as values 0 to 9.
constexpr FourDigits all_four_digits() {
  FourDigits digits{};
  for (std::uint32_t v = 0; v < digits.size(); ++v)
    digits[v] = v / 1000 | v / 100 % 10 << 8 | v / 10 % 10 << 16 | v % 10 << 24;
  return digits;
}

inline constexpr FourDigits kFourDigits = all_four_digits();

/// The eight digits of a value below 100000000, the first in the lowest byte, as values 0 to 9.
inline std::uint64_t digits_of(std::uint32_t value) {
  return kFourDigits[value / 10000] | std::uint64_t{kFourDigits[value % 10000]} << 32;
}

/// Prints all of eight digits but the first `nskipped`. Returns the end of them.
inline char* print_digits(char* at, std::uint64_t digits, int nskipped) {
  digits = (digits | 0x3030303030303030U) >> (8 * nskipped);
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  std::memcpy(at, &digits, sizeof digits);
  return at + 8 - nskipped;
}

/// Prints a value below 100000000.
inline char* print_up_to_eight(char* at, std::uint32_t value) {
  const std::uint64_t digits = digits_of(value);
  // The extra bit makes the last digit count even if it is zero.
  return print_digits(at, digits, __builtin_ctzll(digits | std::uint64_t{1} << 56) / 8);
}

inline constexpr std::uint32_t kEightDigits = 100000000;  // values below it have at most eight

/// Prints any number.
[[gnu::noinline]] inline char* print_any(char* at, int value) {
  auto magnitude = static_cast<std::uint32_t>(value);
  if (value < 0) {
    *at++ = '-';
    magnitude = 0 - magnitude;
  }
  if (magnitude < kEightDigits) return print_up_to_eight(at, magnitude);
  return print_digits(print_up_to_eight(at, magnitude / kEightDigits), digits_of(magnitude % kEightDigits),
                      0);
}

/// Prints a number as "%d" does. Returns the end of it.
inline char* print(char* at, int value) {
  const auto magnitude = static_cast<std::uint32_t>(value);  // large if negative
  return magnitude < kEightDigits ? print_up_to_eight(at, magnitude) : print_any(at, value);
}

/// Prints a number and a blank.
inline char* print_with_blank(char* at, int value) {
  at = print(at, value);
  *at = ' ';
  return at + 1;
}

}  // namespace quillon
