#pragma once
/// @file
/// Scans text for unsigned decimal numbers, many at a time. Not installed.
///
/// Parsing numbers one by one is slow because of the call for each and the unpredictable branch at the end of
/// each. Here 64 bytes are classified at once, and a number of up to eight digits is converted without a
/// branch, as eight digits with leading zeros: neighbours are combined into pairs, pairs into fours, and
/// fours into all eight. With SSE2, which every x86-64 has, four numbers are converted side by side; with
/// AVX2, which the processor is asked for at run time, eight.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)
#define QUILLON_SSE2
#include <emmintrin.h>
#ifdef __GNUC__
#define QUILLON_AVX2
#include <immintrin.h>
#endif
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

// Two neighbours a and b, a in the lower bits, become a * weight + b in the place of b by one multiplication.
inline constexpr std::uint64_t kPairWeights = 10 << 8 | 1;                      // of bytes
inline constexpr std::uint64_t kFourWeights = 100 << 16 | 1;                    // of pairs
inline constexpr std::uint64_t kEightWeights = std::uint64_t{10000} << 32 | 1;  // of fours

inline int value_of(std::uint64_t digits) {
  const std::uint64_t pairs = ((digits & 0x0F0F0F0F0F0F0F0FU) * kPairWeights) >> 8 & 0x00FF00FF00FF00FFU;
  const std::uint64_t fours = (pairs * kFourWeights) >> 16 & 0x0000FFFF0000FFFFU;
  return static_cast<int>((fours * kEightWeights) >> 32);
}

#ifdef QUILLON_SSE2

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

/// The pairs of two numbers, from eight digits each.
inline __m128i pairs_of(std::uint64_t a, std::uint64_t b) {
  __m128i to_pairs = _mm_set1_epi16(static_cast<short>(kPairWeights));
  asm("" : "+x"(to_pairs));  // if the compiler knew the value, it would use five instructions instead of one
  const __m128i ab = _mm_set_epi64x(static_cast<long long>(b), static_cast<long long>(a));
  const __m128i units = _mm_and_si128(ab, _mm_set1_epi8(0x0F));
  return _mm_srli_epi16(_mm_mullo_epi16(units, to_pairs), 8);
}

/// Converts four numbers of up to eight digits.
inline void store_four(const std::uint64_t (&digits)[4], int* values) {
  const __m128i to_fours = _mm_set1_epi32(1 << 16 | 100);
  const __m128i to_eights = _mm_set1_epi32(1 << 16 | 10000);
  const __m128i fours = _mm_packs_epi32(_mm_madd_epi16(pairs_of(digits[0], digits[1]), to_fours),
                                        _mm_madd_epi16(pairs_of(digits[2], digits[3]), to_fours));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(values), _mm_madd_epi16(fours, to_eights));
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

inline void store_four(const std::uint64_t (&digits)[4], int* values) {
  for (int k = 0; k < 4; ++k) values[k] = value_of(digits[k]);
}

#endif

/// The complete numbers at the start of a text.
struct NumberRun {
  std::uint64_t starts;     // of each number
  std::uint64_t ends;       // the white space after each
  std::uint64_t line_ends;  // within the run
  int size;                 // bytes, the last one white space; 0 if there is no run
  bool has_long;            // some number has more than eight digits
};

inline constexpr int kRunText = 72;    // bytes that must be readable
inline constexpr int kMostInRun = 32;  // numbers in a run
inline constexpr int kMostDigits = 9;  // of a number in a run

/// The run that ends after the last white space before the first `odd` byte.
inline NumberRun run_before(const ByteClasses& classes, std::uint64_t odd) {
  const std::uint64_t before_odd = (odd & (~odd + 1)) - 1;  // all bits if no byte is odd
  const std::uint64_t spaces = classes.spaces & before_odd;
  if (spaces == 0) return {0, 0, 0, 0, false};
  const int size = 64 - std::countl_zero(spaces);
  const std::uint64_t run = ~std::uint64_t{0} >> (64 - size);
  const std::uint64_t after_digits = classes.digits << 1;
  return {classes.digits & ~after_digits & run, classes.spaces & after_digits & run, classes.line_ends & run,
          size, false};
}

/// Where numbers of nine digits or more end.
inline std::uint64_t long_numbers(const ByteClasses& classes) {
  return rows_of_bits(classes.digits, 8) & (classes.digits << 8);
}

/// The run at the start of 64 bytes of any text. It ends after white space, before any other text and before
/// a number of more than `kMostDigits` digits.
inline NumberRun find_numbers_in_any_text(const char* text) {
  const ByteClasses classes = classify(text);
  const std::uint64_t long_ones = long_numbers(classes);
  const std::uint64_t too_long = long_ones & (long_ones << 1);
  NumberRun run = run_before(classes, ~(classes.digits | classes.spaces) | too_long);
  run.has_long = long_ones != 0;
  return run;
}

inline NumberRun find_numbers(const char* text) {
  ByteClasses classes;
  if (classify_plain(text, classes) && long_numbers(classes) == 0) [[likely]]
    return run_before(classes, 0);
  return find_numbers_in_any_text(text);
}

/// The numbers and line ends of a piece of text.
struct Scanned {
  static constexpr int kRuns = 16;
  static constexpr int kSpare = 32;  // entries after the last one that may be overwritten

  struct Line {
    int count;  // numbers before its end, those of earlier lines included
    int end;    // offset after its line end
  };

  int size = 0;    // bytes: complete numbers and white space, which ends it; 0 if the text begins otherwise
  int count = 0;   // numbers
  int nlines = 0;  // line ends
  int numbers[kRuns * kMostInRun + kSpare] = {};
  Line lines[kRuns * 64 + kSpare];

  // Clearing the lines costs more than scanning a short text.
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  Scanned() = default;  // cppcheck-suppress uninitMemberVar
};

/// Appends the line ends of a run, with `count` giving the number of set bits.
template <typename CountBits>
[[gnu::always_inline]] inline void append_lines(const NumberRun& run, Scanned& scanned, CountBits count) {
  Scanned::Line* line = scanned.lines + scanned.nlines;
  for (std::uint64_t line_ends = run.line_ends; line_ends != 0; line_ends &= line_ends - 1) {
    const std::uint64_t before = line_ends ^ (line_ends - 1);  // all bits up to the line end
    *line++ = {scanned.count + count(run.ends & before), scanned.size + lowest_bit(line_ends) + 1};
  }
  scanned.nlines = static_cast<int>(line - scanned.lines);
}

/// Appends the numbers of a run that has numbers of nine digits.
inline void append_long_numbers(const char* text, const NumberRun& run, int* numbers) {
  std::uint64_t ends = run.ends;
  for (std::uint64_t starts = run.starts; starts != 0; starts &= starts - 1, ends &= ends - 1) {
    int value = 0;
    for (int k = lowest_bit(starts); k < lowest_bit(ends); ++k) value = 10 * value + (text[k] - '0');
    *numbers++ = value;
  }
}

/// Converts words of up to eight digits; what becomes of other words does not matter.
///
/// @param starts,ends  One bit for the first byte of each word and for the byte after it.
/// @param numbers      Gets the values. Three entries after them are overwritten.
inline void convert_words_of_eight(const char* text, std::uint64_t starts, std::uint64_t ends, int* numbers) {
  constexpr std::uint64_t kSomewhere = std::uint64_t{1} << 63;  // for the places after the last word
  const int count = count_bits(ends);
  const auto next = [&] {
    const int start = lowest_bit(starts | kSomewhere);
    const int end = lowest_bit(ends | kSomewhere);
    starts &= starts - 1;
    ends &= ends - 1;
    return eight_digits(text, start, end);
  };
  for (int k = 0; k < count; k += 4) store_four({next(), next(), next(), next()}, numbers + k);
}

/// Appends a run, without wider vectors than every processor of the kind has.
inline void append_run(const char* text, const NumberRun& run, Scanned& scanned) {
  append_lines(run, scanned, count_bits);
  int* const numbers = scanned.numbers + scanned.count;
  const int count = count_bits(run.ends);
  if (run.has_long) [[unlikely]] {
    append_long_numbers(text, run, numbers);
  } else {
    convert_words_of_eight(text, run.starts, run.ends, numbers);
  }
  scanned.count += count;
  scanned.size += run.size;
}

/// A piece of text of which `kRunText` bytes can be read: the text itself, or a copy of its last bytes with
/// zeros after it.
class ReadableText {  // cppcheck-suppress noConstructor  // the copy is filled before it is read
 public:
  const char* at(const char* text, const char* end) {
    if (end - text >= kRunText) [[likely]]
      return text;
    std::fill(std::copy(text, end, copy_), copy_ + kRunText, '\0');
    return copy_;
  }

 private:
  char copy_[kRunText];
};

/// Scans the start of a text. A number ends with the white space after it.
inline void scan_by_fours(const char* text, const char* end, Scanned& scanned) {
  scanned.size = scanned.count = scanned.nlines = 0;
  ReadableText readable;
  for (int r = 0; r < Scanned::kRuns; ++r) {
    const char* const at = readable.at(text + scanned.size, end);
    const NumberRun run = find_numbers(at);
    if (run.size == 0) return;
    append_run(at, run, scanned);
  }
}

/// A piece of text that consists of short numbers.
struct ShortNumbers {
  int size = 0;    // bytes, the last one white space
  int count = 0;   // numbers
  int nlines = 0;  // line ends
};

#ifdef QUILLON_AVX2

[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline bool classify_plain_by_32(const char* text,
                                                                               ByteClasses& classes) {
  classes = {0, 0, 0};
  __m256i all_plain = _mm256_set1_epi8(-1);
  for (int place = 0; place < 64; place += 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + place));
    const __m256i distance = _mm256_sub_epi8(bytes, _mm256_set1_epi8('0'));
    const __m256i digits = _mm256_cmpeq_epi8(_mm256_min_epu8(distance, _mm256_set1_epi8(9)), distance);
    const __m256i line_ends = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('\n'));
    const __m256i spaces = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(' ')), line_ends);
    all_plain = _mm256_and_si256(all_plain, _mm256_or_si256(digits, spaces));
    classes.digits |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(digits))} << place;
    classes.line_ends |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(line_ends))} << place;
  }
  classes.spaces = ~classes.digits;
  return _mm256_movemask_epi8(all_plain) == -1;
}

[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline __m256i four_words(const std::uint64_t* words) {
  const auto word = [words](int k) { return static_cast<long long>(words[k]); };
  return _mm256_set_epi64x(word(3), word(2), word(1), word(0));
}

/// Converts eight numbers of up to eight digits.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline void store_eight(const std::uint64_t (&digits)[8],
                                                                      int* values) {
  const __m256i mask = _mm256_set1_epi8(0x0F);
  const __m256i to_pairs = _mm256_set1_epi16(1 << 8 | 10);
  const __m256i to_fours = _mm256_set1_epi32(1 << 16 | 100);
  const __m256i to_eights = _mm256_set1_epi32(1 << 16 | 10000);
  const __m256i low = _mm256_and_si256(four_words(digits), mask);
  const __m256i high = _mm256_and_si256(four_words(digits + 4), mask);
  const __m256i low_fours = _mm256_madd_epi16(_mm256_maddubs_epi16(low, to_pairs), to_fours);
  const __m256i high_fours = _mm256_madd_epi16(_mm256_maddubs_epi16(high, to_pairs), to_fours);
  const __m256i eights = _mm256_madd_epi16(_mm256_packus_epi32(low_fours, high_fours), to_eights);
  constexpr int kSwapMiddle = 0xD8;  // packing goes by halves: numbers 0 1 4 5 and 2 3 6 7
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(values), _mm256_permute4x64_epi64(eights, kSwapMiddle));
}

/// Where numbers begin and end in consecutive blocks of 64 bytes: start, end, start, end, and so on. Blocks
/// do not wait for one another, as they would if each began where the numbers of the one before end.
struct Edges {
  static constexpr int kUnconditional = 20;

  int count = 0;
  std::uint32_t places[Scanned::kRuns * 64 + 64];

  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): clearing costs more than a short text
  Edges() = default;  // cppcheck-suppress uninitMemberVar

  /// Writes some entries too many rather than none: the branch at the end of an exact loop would be
  /// unpredictable.
  [[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] void append(std::uint64_t bits, int block_at) {
    std::uint32_t* place = places + count;
    const int nbits = static_cast<int>(_mm_popcnt_u64(bits));
    const int more = nbits - kUnconditional;
#pragma GCC unroll 32
    for (int k = 0; k < kUnconditional; ++k) {
      place[k] = static_cast<std::uint32_t>(block_at + static_cast<int>(_tzcnt_u64(bits)));
      bits = _blsr_u64(bits);
    }
    for (int k = 0; k < more; ++k) {
      place[kUnconditional + k] = static_cast<std::uint32_t>(block_at + static_cast<int>(_tzcnt_u64(bits)));
      bits = _blsr_u64(bits);
    }
    count += nbits;
  }
};

/// Converts the numbers of up to eight digits between the edges.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline void convert(const char* text, const Edges& edges,
                                                                  int count, int* numbers) {
  const std::uint32_t* place = edges.places;
  for (int k = 0; k < count; k += 8, place += 16) {
    std::uint64_t digits[8];
#pragma GCC unroll 8
    for (std::size_t u = 0; u < 8; ++u) {
      const std::uint64_t start = place[2 * u];
      const std::uint64_t end = place[2 * u + 1];
      std::memcpy(&digits[u], text + start, sizeof digits[u]);
      digits[u] <<= (start - end) * 8 & 63;
    }
    store_eight(digits, numbers + k);
  }
}

/// As `append_lines`.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline void append_lines_of_block(std::uint64_t line_ends,
                                                                                std::uint64_t ends,
                                                                                int block_at, int count,
                                                                                Scanned& scanned) {
  constexpr int kUnconditional = 3;  // lines; as for edges
  const int nlines = static_cast<int>(_mm_popcnt_u64(line_ends));
  Scanned::Line* line = scanned.lines + scanned.nlines;
  int k = 0;
  do {
    for (const int end = k + kUnconditional; k < end; ++k) {
      const std::uint64_t before = _blsmsk_u64(line_ends);
      *line++ = {count + static_cast<int>(_mm_popcnt_u64(ends & before)),
                 block_at + static_cast<int>(_tzcnt_u64(line_ends)) + 1};
      line_ends = _blsr_u64(line_ends);
    }
  } while (k < nlines);
  scanned.nlines += nlines;
}

/// As `scan_by_fours`.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline void scan_by_eights(const char* text, const char* end,
                                                                         Scanned& scanned) {
  scanned.size = scanned.count = scanned.nlines = 0;
  Edges edges;
  std::uint64_t in_number = 0;  // whether the block before ends in a digit
  int last_digits = 0;          // at the end of the block before
  int nends = 0;
  int size = 0;
  for (; size < Scanned::kRuns * 64 && end - (text + size) >= kRunText; size += 64) {
    ByteClasses classes;
    if (!classify_plain_by_32(text + size, classes)) break;
    const std::uint64_t after_digits = classes.digits << 1 | in_number;
    const std::uint64_t ends = after_digits & ~classes.digits;
    const int first_digits = static_cast<int>(_tzcnt_u64(~classes.digits));
    if (long_numbers(classes) != 0 || last_digits + first_digits > 8) [[unlikely]] {
      scan_by_fours(text, end, scanned);
      return;
    }
    last_digits = static_cast<int>(_lzcnt_u64(~classes.digits));
    in_number = classes.digits >> 63;
    edges.append(classes.digits ^ after_digits, size);
    append_lines_of_block(classes.line_ends, ends, size, nends, scanned);
    nends += static_cast<int>(_mm_popcnt_u64(ends));
  }
  scanned.count = nends;
  scanned.size = size;
  if (in_number != 0) scanned.size = static_cast<int>(edges.places[std::ptrdiff_t{2} * nends]);
  std::fill_n(edges.places + edges.count, 16, 0);  // for the last eight numbers converted
  if (scanned.size == 0)
    scan_by_fours(text, end, scanned);
  else
    convert(text, edges, nends, scanned.numbers);
}

/// Where the numbers of 8 bytes begin, as bits, gives the shuffle that makes ints of their values, at most
/// four.
using Spreads = std::array<std::array<unsigned char, 16>, 256>;

constexpr Spreads all_spreads() {
  constexpr unsigned char kZero = 0x80;
  Spreads spreads{};
  for (std::size_t starts = 0; starts < spreads.size(); ++starts) {
    spreads[starts].fill(kZero);
    std::size_t count = 0;
    for (unsigned char bit = 0; bit < 8; ++bit)
      if ((starts >> bit & 1) != 0 && count < 4) spreads[starts][4 * count++] = bit;
  }
  return spreads;
}

inline constexpr Spreads kSpreads = all_spreads();

/// By byte: the value of the number of one or two digits that begins there, anything where none begins.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline __m256i short_values(const char* text) {
  const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
  const __m256i next_bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 1));
  const __m256i first = _mm256_and_si256(bytes, _mm256_set1_epi8(0x0F));  // so that shifts stay within bytes
  const __m256i second = _mm256_sub_epi8(next_bytes, _mm256_set1_epi8('0'));
  const __m256i has_second = _mm256_cmpeq_epi8(_mm256_min_epu8(second, _mm256_set1_epi8(9)), second);
  const __m256i tens = _mm256_add_epi8(_mm256_slli_epi16(first, 3), _mm256_slli_epi16(first, 1));
  return _mm256_blendv_epi8(first, _mm256_add_epi8(tens, second), has_second);
}

/// As `scan_short_numbers`, for 64 bytes.
[[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]] inline ShortNumbers scan_short_block(const char* text,
                                                                                   int* values) {
  ByteClasses classes;
  if (!classify_plain_by_32(text, classes)) return {};
  if ((classes.digits & classes.digits << 1 & classes.digits << 2) != 0) return {};
  alignas(32) char bytes[64];  // cppcheck-suppress unassignedVariable ; by intrinsics
  for (int place = 0; place < 64; place += 32)
    _mm256_store_si256(reinterpret_cast<__m256i*>(bytes + place), short_values(text + place));
  const int size = 64 - static_cast<int>(_lzcnt_u64(classes.spaces));
  const std::uint64_t run = ~std::uint64_t{0} >> (64 - size);
  const std::uint64_t starts = classes.digits & ~(classes.digits << 1) & run;
  int count = 0;
#pragma GCC unroll 8
  for (int place = 0; place < 64; place += 8) {
    const std::uint64_t here = starts >> place & 0xFF;
    const __m128i spread = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSpreads[here].data()));
    const __m128i ints =
        _mm_shuffle_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + place)), spread);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values + count), ints);
    count += static_cast<int>(_mm_popcnt_u64(here));
  }
  return {size, count, static_cast<int>(_mm_popcnt_u64(classes.line_ends & run))};
}

#endif

/// Scans numbers of one or two digits, as in a part vector, several times as fast as `scan_numbers`. Stops
/// before the 64 bytes that hold anything else but blanks and line ends.
///
/// @param values  Out, `room` ints, of which those after the numbers may be overwritten.
inline ShortNumbers scan_short_numbers([[maybe_unused]] const char* text, [[maybe_unused]] const char* end,
                                       [[maybe_unused]] int* values, [[maybe_unused]] int room) {
  ShortNumbers all;
#ifdef QUILLON_AVX2
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi2")) return all;
  while (end - (text + all.size) >= kRunText && room - all.count >= kMostInRun + 4) {
    const ShortNumbers block = scan_short_block(text + all.size, values + all.count);
    if (block.size == 0) break;
    all.size += block.size;
    all.count += block.count;
    all.nlines += block.nlines;
  }
#endif
  return all;
}

/// Scans the start of a text in the fastest way that the processor has.
inline void scan_numbers(const char* text, const char* end, Scanned& scanned) {
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) {
    scan_by_eights(text, end, scanned);
    return;
  }
#endif
  scan_by_fours(text, end, scanned);
}

}  // namespace quillon
