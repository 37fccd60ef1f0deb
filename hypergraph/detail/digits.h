#pragma once
/// @file
/// Parses unsigned decimal numbers, many at a time. Internal to `hypergraph/`.
///
/// Parsing numbers one by one is slow because of the call for each and the unpredictable branch at the end of
/// each. Here 64 bytes are classified at once, and a number of up to eight digits is converted without a
/// branch, as eight digits with leading zeros: neighbours are combined into pairs, pairs into fours, and
/// fours into all eight. With SSE2, which every x86-64 has, four numbers are converted side by side.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)
#include <emmintrin.h>
#endif

namespace quillon {

/// One bit for each of 64 bytes of text, the first byte in the lowest bit.
struct ByteClasses {
  std::uint64_t digits;
  std::uint64_t spaces;  // including line ends
  std::uint64_t line_ends;
};

/// Number of set bits. std::popcount is a call unless the build assumes a processor that has an instruction
/// for it.
inline int count_bits(std::uint64_t bits) {
  bits -= (bits >> 1) & 0x5555555555555555U;
  bits = (bits & 0x3333333333333333U) + ((bits >> 2) & 0x3333333333333333U);
  bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0FU;
  return static_cast<int>((bits * 0x0101010101010101U) >> 56);
}

/// Position of the lowest set bit; there must be one. (std::countr_zero tests for that each time.)
inline int lowest_bit(std::uint64_t bits) { return __builtin_ctzll(bits); }

/// The positions that are set together with the length - 1 below them; `length` is a power of two.
inline std::uint64_t rows_of_bits(std::uint64_t bits, int length) {
  for (int row = 1; row < length; row *= 2) bits &= bits << row;
  return bits;
}

/// The 1 to 8 digits between `start` and `end` of the text, with leading zeros to make eight.
inline std::uint64_t eight_digits(const char* text, int start, int end) {
  std::uint64_t digits = 0;
  std::memcpy(&digits, text + start, sizeof digits);
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  return digits << (static_cast<unsigned>(start - end) * 8 & 63);
}

inline int value_of(std::uint64_t digits) {
  digits = ((digits & 0x0F0F0F0F0F0F0F0FU) * 2561) >> 8 & 0x00FF00FF00FF00FFU;
  digits = (digits * 6553601) >> 16 & 0x0000FFFF0000FFFFU;
  return static_cast<int>((digits * 42949672960001) >> 32);
}

#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)

/// Marks the bytes from `low` to `low + span`.
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

/// As `classify`, a fifth faster, for 64 bytes of digits, blanks and line ends only, as nearly all text is.
///
/// @return  False if there is any other byte; the classes are then of no use.
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

/// Converts four numbers at a time, adds `shift`, and checks their range.
struct FourNumbers {
  __m128i shift;
  __m128i largest;
  __m128i outside;
  __m128i to_pairs;

  FourNumbers(int to_add, int largest_allowed)
      : shift(_mm_set1_epi32(to_add)),
        largest(_mm_set1_epi32(largest_allowed)),
        outside(_mm_setzero_si128()),
        to_pairs(_mm_set1_epi16(2561)) {
    asm(""
        : "+x"(to_pairs));  // if the compiler knew the value, it would use five instructions instead of one
  }

  void store(const std::uint64_t (&digits)[4], int* values) {
    const __m128i hundreds = _mm_set1_epi32(1 << 16 | 100);
    const __m128i fours = _mm_packs_epi32(_mm_madd_epi16(pairs(digits[0], digits[1]), hundreds),
                                          _mm_madd_epi16(pairs(digits[2], digits[3]), hundreds));
    const __m128i eights = _mm_madd_epi16(fours, _mm_set1_epi32(1 << 16 | 10000));
    const __m128i shifted = _mm_add_epi32(eights, shift);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values), shifted);
    outside = _mm_or_si128(outside, _mm_cmpgt_epi32(shifted, largest));
    outside = _mm_or_si128(outside, _mm_cmpgt_epi32(_mm_set1_epi32(1), shifted));
  }

  /// Whether all numbers so far are between 1 and the largest allowed.
  [[nodiscard]] bool all_within() const { return _mm_movemask_epi8(outside) == 0; }

 private:
  [[nodiscard]] __m128i pairs(std::uint64_t a, std::uint64_t b) const {
    const __m128i ab = _mm_set_epi64x(static_cast<long long>(b), static_cast<long long>(a));
    const __m128i units = _mm_and_si128(ab, _mm_set1_epi8(0x0F));
    return _mm_srli_epi16(_mm_mullo_epi16(units, to_pairs), 8);
  }
};

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

struct FourNumbers {
  int shift;
  int largest;
  bool within = true;

  FourNumbers(int to_add, int largest_allowed) : shift(to_add), largest(largest_allowed) {}

  void store(const std::uint64_t (&digits)[4], int* values) {
    for (int k = 0; k < 4; ++k) {
      values[k] = value_of(digits[k]) + shift;
      within = within && values[k] >= 1 && values[k] <= largest;
    }
  }

  [[nodiscard]] bool all_within() const { return within; }
};

#endif

/// The complete numbers at the start of a text.
struct NumberRun {
  std::uint64_t starts;     // of each number
  std::uint64_t ends;       // the white space after each
  std::uint64_t line_ends;  // within the run
  int size;                 // bytes, the last one white space; 0 if there is no run
  int count;                // numbers
  bool has_long;            // some number has more than eight digits
};

inline constexpr int kRunText = 72;    // bytes that must be readable
inline constexpr int kMostInRun = 32;  // numbers in a run
inline constexpr int kMostDigits = 9;  // of a number in a run

/// The run that ends after the last white space before the first `odd` byte.
inline NumberRun run_before(const ByteClasses& classes, std::uint64_t odd) {
  const std::uint64_t before_odd = (odd & (~odd + 1)) - 1;  // all bits if no byte is odd
  const std::uint64_t spaces = classes.spaces & before_odd;
  if (spaces == 0) return {0, 0, 0, 0, 0, false};
  const int size = 64 - std::countl_zero(spaces);
  const std::uint64_t run = ~std::uint64_t{0} >> (64 - size);
  const std::uint64_t after_digits = classes.digits << 1;
  const std::uint64_t ends = classes.spaces & after_digits & run;
  return {classes.digits & ~after_digits & run, ends, classes.line_ends & run, size, count_bits(ends), false};
}

/// Finds the run of unsigned numbers, separated by white space, at the start of 64 bytes. It ends after white
/// space, before any other text and before a number of more than `kMostDigits` digits.
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

/// The value of up to `kMostDigits` digits.
inline int value_of_many_digits(const char* text, int start, int end) {
  int value = 0;
  for (int k = start; k < end; ++k) value = 10 * value + (text[k] - '0');
  return value;
}

/// Stores every number of a run, plus `shift` (0 or 1).
///
/// @param numbers  Out, run.count ints.
/// @return         Whether all of them lie between 1 and `largest`.
[[gnu::always_inline]] inline bool store_numbers(const char* text, const NumberRun& run, int shift,
                                                 int largest, int* numbers) {
  std::uint64_t starts = run.starts;
  std::uint64_t ends = run.ends;
  const auto next = [&](auto convert) {
    const int start = lowest_bit(starts);
    const int end = lowest_bit(ends);
    starts &= starts - 1;
    ends &= ends - 1;
    return convert(text, start, end);
  };
  FourNumbers by_fours(shift, largest);
  int k = 0;
  if (!run.has_long) [[likely]] {
    for (; k + 4 <= run.count; k += 4) {
      const std::uint64_t four[] = {next(eight_digits), next(eight_digits), next(eight_digits),
                                    next(eight_digits)};
      by_fours.store(four, numbers + k);
    }
  }
  bool within = true;
  for (; k < run.count; ++k) {
    numbers[k] = (run.has_long ? next(value_of_many_digits) : value_of(next(eight_digits))) + shift;
    within = within && numbers[k] >= 1 && numbers[k] <= largest;
  }
  return within && by_fours.all_within();
}

/// Whether every line that ends in a run has two numbers or more. The first of these lines has `before`
/// numbers before the run.
///
/// Clears the lowest number start of each line once for each number required; a line without one loses its
/// line end instead, so that the remaining line ends give the answer. One subtraction does this in all lines
/// at once, because a borrow stops at the line end at the latest.
inline bool all_lines_have_two(const NumberRun& run, std::int64_t before) {
  std::uint64_t marks = run.starts | run.line_ends;
  for (std::int64_t needed = 1; needed <= 2; ++needed) {
    const std::uint64_t lines = run.line_ends << 1 | (before < needed ? 1U : 0U);
    marks &= marks - lines;
    if ((marks & run.line_ends) != run.line_ends) return false;
  }
  return true;
}

/// How the numbers of a run are split into lines.
struct RunLines {
  int count = 0;    // lines that end in the run
  int rest = 0;     // numbers after the last line end
  int numbers[64];  // of each line, those in the run
  int ends[64];     // offset after each line end
};

inline void split_into_lines(const NumberRun& run, RunLines& lines) {
  lines.count = 0;
  lines.rest = run.count;
  std::uint64_t ends = run.ends;
  for (std::uint64_t line_ends = run.line_ends; line_ends != 0; line_ends &= line_ends - 1) {
    const std::uint64_t line = line_ends ^ (line_ends - 1);  // all bits up to its end
    lines.numbers[lines.count] = count_bits(ends & line);
    lines.rest -= lines.numbers[lines.count];
    lines.ends[lines.count++] = lowest_bit(line_ends) + 1;
    ends &= ~line;
  }
}

/// The leading run of a text that ends in white space.
struct LeadingNumbers {
  const char* text;  // the caller's or `tail`
  NumberRun run;
  char tail[kRunText];
};

/// Finds the numbers at the start of a text. A short text is copied and zero-padded, as `kRunText` bytes must
/// be readable.
inline void find_leading_numbers(const char* at, const char* end, LeadingNumbers& numbers) {
  numbers.text = at;
  if (end - at < kRunText) {
    std::memset(numbers.tail, 0, sizeof numbers.tail);
    std::memcpy(numbers.tail, at, static_cast<std::size_t>(end - at));
    numbers.text = numbers.tail;
  }
  numbers.run = find_numbers(numbers.text);
}

}  // namespace quillon
