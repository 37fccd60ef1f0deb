#pragma once
/// @file
/// Decimal numbers into a stream, a block at a time. Internal to `hypergraph/`.
///
/// A formatted call for each number costs many times what its digits do. Here eight digits come out of a
/// table of four digits at a time, without a branch on how many there are. The table is 40 KB: what of it
/// does not stay in the nearest cache stays in the next one, and costs less than the multiplications that
/// make pairs of digits.

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace quillon {

/// Text on its way to a stream. Where its end is, is the caller's to keep: an end that stood in here would be
/// stored and fetched again with every character, for all that the compiler knows of them.
struct Printer {
  static constexpr int kSize = 1 << 16;

  std::FILE* stream;
  char block[kSize + 32];  // the longest number, with a character on either side, fits behind it

  // Clearing the block costs more than a short file.
  // cppcheck-suppress uninitMemberVar
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  explicit Printer(std::FILE* output) : stream(output) {}
};

/// Passes the text before `at` on to the stream. Returns where the next goes.
inline char* flush(Printer& printer, const char* at) {
  std::fprintf(printer.stream, "%.*s", static_cast<int>(at - printer.block), printer.block);
  return printer.block;
}

/// Where to print on, with room for one number.
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

/// Writes all but the first of eight digits as characters, and returns what is behind them.
inline char* print_digits(char* at, std::uint64_t digits, int nleft_out) {
  digits = (digits | 0x3030303030303030U) >> (8 * nleft_out);
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  std::memcpy(at, &digits, sizeof digits);
  return at + 8 - nleft_out;
}

/// Writes a value below 100000000.
inline char* print_up_to_eight(char* at, std::uint32_t value) {
  const std::uint64_t digits = digits_of(value);
  // The last digit is written also when it is a zero.
  return print_digits(at, digits, __builtin_ctzll(digits | std::uint64_t{1} << 56) / 8);
}

constexpr std::uint32_t kEightDigits = 100000000;  // the least value that has more

/// Writes a number of any size and sign.
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

/// Writes a number as "%d" does, and returns what is behind it.
inline char* print(char* at, int value) {
  const auto magnitude = static_cast<std::uint32_t>(value);  // of a negative number far too large
  return magnitude < kEightDigits ? print_up_to_eight(at, magnitude) : print_any(at, value);
}

/// Writes a number and a blank.
inline char* print_with_blank(char* at, int value) {
  at = print(at, value);
  *at = ' ';
  return at + 1;
}

}  // namespace quillon
