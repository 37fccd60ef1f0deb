#pragma once
/// @file
/// Decimal numbers in text, many at a time. Internal to `hypergraph/`.
///
/// What costs most in reading numbers one by one is not arithmetic: it is the call for each, and a branch for
/// each digit whose end cannot be foreseen. Here 64 bytes are classified at once, and a number of up to eight
/// digits is converted without a branch, as eight digits of which the first may be zeros: neighbours become
/// pairs, pairs fours, and fours all eight. Processors with SSE2, which is every x86-64, do that with four
/// numbers side by side.

#include <bit>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)
#include <emmintrin.h>
#endif

namespace quillon {

/// One bit for each of 64 bytes of text, the first lowest.
struct ByteClasses {
  std::uint64_t digits;
  std::uint64_t spaces;  // line ends among them
  std::uint64_t line_ends;
};

/// Number of set bits. Without the instruction for it, which older processors lack, std::popcount is a call.
inline int count_bits(std::uint64_t bits) {
  bits -= (bits >> 1) & 0x5555555555555555U;
  bits = (bits & 0x3333333333333333U) + ((bits >> 2) & 0x3333333333333333U);
  bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0FU;
  return static_cast<int>((bits * 0x0101010101010101U) >> 56);
}

/// Places from which on downwards `length` bits in a row are set, `length` a power of two.
inline std::uint64_t rows_of_bits(std::uint64_t bits, int length) {
  for (int row = 1; row < length; row *= 2) bits &= bits << row;
  return bits;
}

/// Eight digits of which the first are zeros, from the 1 to 8 digits that the text begins with.
inline std::uint64_t eight_digits(const char* text, int length) {
  std::uint64_t digits = 0;
  std::memcpy(&digits, text, sizeof digits);
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  return digits << (64 - 8 * length);
}

inline int value_of(std::uint64_t digits) {
  digits = ((digits & 0x0F0F0F0F0F0F0F0FU) * 2561) >> 8 & 0x00FF00FF00FF00FFU;
  digits = (digits * 6553601) >> 16 & 0x0000FFFF0000FFFFU;
  return static_cast<int>((digits * 42949672960001) >> 32);
}

#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)

/// Bytes from `low` to `low + span`.
inline __m128i bytes_in(__m128i bytes, char low, char span) {
  const __m128i distance = _mm_sub_epi8(bytes, _mm_set1_epi8(low));
  return _mm_cmpeq_epi8(_mm_min_epu8(distance, _mm_set1_epi8(span)), distance);
}

inline std::uint64_t bits_of(__m128i bytes, int place) {
  return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(bytes))) << place;
}

inline ByteClasses classify(const char* text) {
  ByteClasses classes{0, 0, 0};
  for (int place = 0; place < 64; place += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + place));
    const __m128i spaces = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')), bytes_in(bytes, '\t', 4));
    classes.digits |= bits_of(bytes_in(bytes, '0', 9), place);
    classes.spaces |= bits_of(spaces, place);
    classes.line_ends |= bits_of(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')), place);
  }
  return classes;
}

/// The same for 64 bytes that are all digits, blanks and line ends; false for others. This is what nearly all
/// text is, and it takes a fifth less.
inline bool classify_plain(const char* text, ByteClasses& classes) {
  classes = {0, 0, 0};
  __m128i all_plain = _mm_set1_epi8(-1);
  for (int place = 0; place < 64; place += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + place));
    const __m128i digits = bytes_in(bytes, '0', 9);
    const __m128i line_ends = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'));
    const __m128i spaces = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')), line_ends);
    all_plain = _mm_and_si128(all_plain, _mm_or_si128(digits, spaces));
    classes.digits |= bits_of(digits, place);
    classes.line_ends |= bits_of(line_ends, place);
  }
  classes.spaces = ~classes.digits;
  return _mm_movemask_epi8(all_plain) == 0xFFFF;
}

/// The values of four times eight digits, plus `shift`.
inline void store_four(const std::uint64_t (&digits)[4], int shift, int* values) {
  const auto pairs = [](std::uint64_t a, std::uint64_t b) {
    const __m128i ab = _mm_set_epi64x(static_cast<long long>(b), static_cast<long long>(a));
    const __m128i units = _mm_and_si128(ab, _mm_set1_epi8(0x0F));
    return _mm_srli_epi16(_mm_mullo_epi16(units, _mm_set1_epi16(2561)), 8);
  };
  const __m128i hundreds = _mm_set1_epi32(1 << 16 | 100);
  const __m128i fours = _mm_packs_epi32(_mm_madd_epi16(pairs(digits[0], digits[1]), hundreds),
                                        _mm_madd_epi16(pairs(digits[2], digits[3]), hundreds));
  const __m128i eights = _mm_madd_epi16(fours, _mm_set1_epi32(1 << 16 | 10000));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(values), _mm_add_epi32(eights, _mm_set1_epi32(shift)));
}

#else

inline ByteClasses classify(const char* text) {
  ByteClasses classes{0, 0, 0};
  for (int k = 0; k < 64; ++k) {
    const char c = text[k];
    const std::uint64_t bit = std::uint64_t{1} << k;
    if (c >= '0' && c <= '9') classes.digits |= bit;
    if (c == ' ' || (c >= '\t' && c <= '\r')) classes.spaces |= bit;
    if (c == '\n') classes.line_ends |= bit;
  }
  return classes;
}

inline bool classify_plain(const char* text, ByteClasses& classes) {
  classes = classify(text);
  return (classes.digits | classes.spaces) == ~std::uint64_t{0};
}

inline void store_four(const std::uint64_t (&digits)[4], int shift, int* values) {
  for (int k = 0; k < 4; ++k) values[k] = value_of(digits[k]) + shift;
}

#endif

/// The whole numbers at the start of a text.
struct NumberRun {
  std::uint64_t starts;     // of each number
  std::uint64_t ends;       // the white space behind each
  std::uint64_t line_ends;  // as far as the run goes
  int size;                 // bytes, the last of them white space; 0 if there is no run
  int count;                // numbers
  bool has_long;            // some number has more than eight digits
};

inline constexpr int kRunText = 72;    // bytes that have to be readable
inline constexpr int kMostInRun = 32;  // numbers
inline constexpr int kMostDigits = 9;  // of a number in a run

/// A run of what the classes allow: it ends behind the last white space before `odd`.
inline NumberRun run_before(const ByteClasses& classes, std::uint64_t odd) {
  const std::uint64_t before_odd = (odd & (~odd + 1)) - 1;  // all bits if there is nothing odd
  const std::uint64_t spaces = classes.spaces & before_odd;
  if (spaces == 0) return {0, 0, 0, 0, 0, false};
  const int size = 64 - std::countl_zero(spaces);
  const std::uint64_t run = ~std::uint64_t{0} >> (64 - size);
  const std::uint64_t behind_digits = classes.digits << 1;
  const std::uint64_t ends = classes.spaces & behind_digits & run;
  return {
      classes.digits & ~behind_digits & run, ends, classes.line_ends & run, size, count_bits(ends), false};
}

/// Finds the run of unsigned numbers with white space between that 64 bytes begin with. It ends before
/// anything else, before numbers of more than `kMostDigits` digits, and behind the last white space.
inline NumberRun find_numbers(const char* text) {
  ByteClasses classes;
  const bool plain = classify_plain(text, classes);
  const std::uint64_t nine = rows_of_bits(classes.digits, 8) & (classes.digits << 8);
  if (plain && nine == 0) [[likely]]
    return run_before(classes, 0);

  classes = classify(text);
  const std::uint64_t long_ones = rows_of_bits(classes.digits, 8) & (classes.digits << 8);
  const std::uint64_t too_long = long_ones & (long_ones << 1);
  NumberRun run = run_before(classes, ~(classes.digits | classes.spaces) | too_long);
  run.has_long = long_ones != 0;
  return run;
}

/// The low 32 bits of the value of some digits.
inline int value_of_many_digits(const char* text, int length) {
  std::uint64_t value = 0;
  for (int k = 0; k < length; ++k) value = 10 * value + static_cast<std::uint64_t>(text[k] - '0');
  return static_cast<int>(static_cast<std::uint32_t>(value));
}

/// Stores every number of a run, plus `shift`, which is 0 or 1.
///
/// @param numbers  Out, run.count of them.
inline void store_numbers(const char* text, const NumberRun& run, int shift, int* numbers) {
  std::uint64_t starts = run.starts;
  std::uint64_t ends = run.ends;
  const auto next = [&](auto convert) {
    const int start = std::countr_zero(starts);
    const int length = std::countr_zero(ends) - start;
    starts &= starts - 1;
    ends &= ends - 1;
    return convert(text + start, length);
  };
  int k = 0;
  if (!run.has_long) [[likely]] {
    for (; k + 4 <= run.count; k += 4) {
      const std::uint64_t four[] = {next(eight_digits), next(eight_digits), next(eight_digits),
                                    next(eight_digits)};
      store_four(four, shift, numbers + k);
    }
    for (; k < run.count; ++k) numbers[k] = value_of(next(eight_digits)) + shift;
  }
  for (; k < run.count; ++k) numbers[k] = next(value_of_many_digits) + shift;
}

/// Whether all of some numbers lie between 1 and `largest`.
inline bool are_all_within(const int* numbers, int count, int largest) {
  unsigned outside = 0;
  for (int k = 0; k < count; ++k)
    outside |= static_cast<unsigned>(static_cast<unsigned>(numbers[k]) - 1 >= static_cast<unsigned>(largest));
  return outside == 0;
}

/// How the numbers of a run fall on lines.
struct RunLines {
  int count = 0;    // lines that end in the run
  int behind = 0;   // numbers behind the last of them
  int numbers[64];  // of each of them that stand in the run
  int ends[64];     // where each of them ends: behind its line end
};

inline void split_into_lines(const NumberRun& run, RunLines& lines) {
  lines.count = 0;
  lines.behind = run.count;
  std::uint64_t ends = run.ends;
  for (std::uint64_t line_ends = run.line_ends; line_ends != 0; line_ends &= line_ends - 1) {
    const std::uint64_t line = line_ends ^ (line_ends - 1);  // up to its end
    lines.numbers[lines.count] = count_bits(ends & line);
    lines.behind -= lines.numbers[lines.count];
    lines.ends[lines.count++] = std::countr_zero(line_ends) + 1;
    ends &= ~line;
  }
}

}  // namespace quillon
