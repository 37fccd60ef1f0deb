#pragma once
/// @file
/// Decimal numbers into a stream, a block at a time. Internal to `hypergraph/`.
///
/// A formatted call for each number costs many times what its digits do. Here eight digits come out of a few
/// multiplications side by side, without a division and without a branch on how many there are: a value is
/// split into fours, these into pairs, and pairs into digits, by multiplying with rounded reciprocals that
/// are exact in the range in question.

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

  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): clearing the block costs more than a short file
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

/// The eight digits of a value below 100000000, the first in the lowest byte, as values 0 to 9.
inline std::uint64_t digits_of(std::uint32_t value) {
  const std::uint64_t fours = value / 10000 | static_cast<std::uint64_t>(value % 10000) << 32;
  const std::uint64_t hundreds = fours * 10486 >> 20 & 0x0000007F0000007FU;
  const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
  const std::uint64_t tens = pairs * 103 >> 10 & 0x000F000F000F000FU;
  return tens | (pairs - 10 * tens) << 8;
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

inline char* print_magnitude(char* at, std::uint32_t value) {
  constexpr std::uint32_t kEightDigits = 100000000;
  if (value < kEightDigits) [[likely]]
    return print_up_to_eight(at, value);
  return print_digits(print_up_to_eight(at, value / kEightDigits), digits_of(value % kEightDigits), 0);
}

/// Writes a number as "%d" does, and returns what is behind it.
inline char* print(char* at, int value) {
  if (value >= 0) [[likely]]
    return print_magnitude(at, static_cast<std::uint32_t>(value));
  *at = '-';
  return print_magnitude(at + 1, 0 - static_cast<std::uint32_t>(value));
}

/// Writes a number and a blank.
inline char* print_with_blank(char* at, int value) {
  at = print(at, value);
  *at = ' ';
  return at + 1;
}

}  // namespace quillon
