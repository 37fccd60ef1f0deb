#pragma once
/// @file
/// Comparison of the cells of short nets with one another. Internal to `formats/`.

#include <algorithm>
#include <cstdint>
#include <span>

#include "util/digits.h"

namespace quillon::formats {

/// Most pins of a short net. They are compared with one another, without a cache miss for each.
inline constexpr int kShortNet = 16;

/// A hash of cells that is not to be guessed. Its sum is that of a set of cells, in whatever order.
struct CellHash {
  std::uint32_t factor;  ///< Odd, at least 2^31.
  std::uint32_t mask;

  /// @param cell  At least 1; the hash of 0 is 0.
  [[nodiscard]] std::uint64_t of(int cell) const {
    const std::uint64_t product = std::uint64_t{static_cast<std::uint32_t>(cell)} * factor;
    return std::uint64_t{static_cast<std::uint32_t>(product) ^ mask} *
           static_cast<std::uint32_t>(product >> 15);
  }
};

/// What a look at all pins of a short net tells.
struct ShortNet {
  unsigned repeated = 0;   ///< Bit k: pin k has the cell of an earlier one.
  std::uint64_t hash = 0;  ///< The sum of the hashes of all its pins.
};

/// Looks at a net pin by pin.
///
/// @param pins  At most `kShortNet`.
inline ShortNet look_at_short_net_plainly(std::span<const int> pins, const CellHash& hash) {
  ShortNet net;
  for (std::size_t k = 0; k < pins.size(); ++k) {
    const auto earlier = pins.first(k);
    net.hash += hash.of(pins[k]);
    if (std::find(earlier.begin(), earlier.end(), pins[k]) != earlier.end()) net.repeated |= 1U << k;
  }
  return net;
}

#ifdef QUILLON_AVX2

/// The pins of a short net, 0 in lanes without a pin.
struct PinLanes {
  __m256i low, high;
  __m256i low_is_pin, high_is_pin;
};

[[gnu::target("avx2")]] inline void load_pins(const int* pins, int size, PinLanes& lanes) {
  const __m256i count = _mm256_set1_epi32(size);
  lanes.low_is_pin = _mm256_cmpgt_epi32(count, _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  lanes.high_is_pin = _mm256_cmpgt_epi32(count, _mm256_setr_epi32(8, 9, 10, 11, 12, 13, 14, 15));
  lanes.low = _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pins)), lanes.low_is_pin);
  lanes.high =
      _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pins + 8)), lanes.high_is_pin);
}

[[gnu::target("avx2")]] inline std::uint64_t sum_of_hashes(const PinLanes& lanes, const CellHash& hash) {
  const __m256i factor = _mm256_set1_epi64x(hash.factor);
  const __m256i mask = _mm256_set1_epi64x(hash.mask);
  __m256i sum = _mm256_setzero_si256();
  for (const __m256i cells :
       {lanes.low, _mm256_srli_epi64(lanes.low, 32), lanes.high, _mm256_srli_epi64(lanes.high, 32)}) {
    const __m256i product = _mm256_mul_epu32(cells, factor);
    const __m256i other = _mm256_srli_epi64(product, 15);
    sum = _mm256_add_epi64(sum, _mm256_mul_epu32(_mm256_xor_si256(product, mask), other));
  }
  std::uint64_t sums[4];
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), sum);
  return sums[0] + sums[1] + sums[2] + sums[3];
}

/// Compares both halves with themselves, rotated by 1 to 4 lanes, and with each other, rotated by 0 to 7.
[[gnu::target("avx2")]] inline bool all_differ(const PinLanes& lanes) {
  // Lanes without a pin get different numbers below 0.
  const __m256i low_fill = _mm256_setr_epi32(-1, -2, -3, -4, -5, -6, -7, -8);
  const __m256i high_fill = _mm256_setr_epi32(-9, -10, -11, -12, -13, -14, -15, -16);
  const __m256i low = _mm256_or_si256(lanes.low, _mm256_andnot_si256(lanes.low_is_pin, low_fill));
  const __m256i high = _mm256_or_si256(lanes.high, _mm256_andnot_si256(lanes.high_is_pin, high_fill));
  const __m256i next = _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 0);
  __m256i low_rotated = low;
  __m256i high_rotated = high;
  __m256i same = _mm256_cmpeq_epi32(low, high);
#pragma GCC unroll 4
  for (int k = 1; k <= 4; ++k) {
    low_rotated = _mm256_permutevar8x32_epi32(low_rotated, next);
    high_rotated = _mm256_permutevar8x32_epi32(high_rotated, next);
    same = _mm256_or_si256(same, _mm256_cmpeq_epi32(low, low_rotated));
    same = _mm256_or_si256(same, _mm256_cmpeq_epi32(high, high_rotated));
    same = _mm256_or_si256(same, _mm256_cmpeq_epi32(low, high_rotated));
  }
#pragma GCC unroll 3
  for (int k = 5; k <= 7; ++k) {
    high_rotated = _mm256_permutevar8x32_epi32(high_rotated, next);
    same = _mm256_or_si256(same, _mm256_cmpeq_epi32(low, high_rotated));
  }
  return _mm256_testz_si256(same, same) != 0;
}

[[gnu::target("avx2")]] inline unsigned repeated_pins(const PinLanes& lanes, const int* pins, int size) {
  unsigned repeated = 0;
  for (int k = 1; k < size; ++k) {
    const __m256i cell = _mm256_set1_epi32(pins[k]);
    const __m256i same = _mm256_packs_epi16(
        _mm256_packs_epi32(_mm256_cmpeq_epi32(cell, lanes.low), _mm256_cmpeq_epi32(cell, lanes.high)),
        _mm256_setzero_si256());
    // Packing goes by halves: lanes 0 to 3 and 8 to 11, then 4 to 7 and 12 to 15.
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(same));
    const unsigned by_lane =
        (bits & 0x0FU) | (bits >> 12 & 0xF0U) | (bits << 4 & 0xF00U) | (bits >> 8 & 0xF000U);
    repeated |= (by_lane & ((1U << k) - 1)) != 0 ? 1U << k : 0U;
  }
  return repeated;
}

/// As `look_at_short_net_plainly`, for cells from 1. No branch depends on the number of pins: those at the
/// ends of loops would be unpredictable.
///
/// @param pins  `kShortNet` ints can be read.
/// @param size  Number of pins.
[[gnu::target("avx2")]] inline ShortNet look_at_short_net_by_eights(const int* pins, int size,
                                                                    const CellHash& hash) {
  PinLanes lanes{};
  load_pins(pins, size, lanes);
  const std::uint64_t sum = sum_of_hashes(lanes, hash);
  return {all_differ(lanes) ? 0 : repeated_pins(lanes, pins, size), sum};
}

#endif

/// Looks at a net in the fastest way that the processor has.
///
/// @param pins  Cells from 1; at most `kShortNet`.
/// @param end   Of the array that the pins are in.
inline ShortNet look_at_short_net(std::span<const int> pins, [[maybe_unused]] const int* end,
                                  const CellHash& hash) {
#ifdef QUILLON_AVX2
  if (pins.size() > 1 && __builtin_cpu_supports("avx2")) {  // without pins, there may be no pointer
    const auto size = static_cast<int>(pins.size());
    if (end - pins.data() >= kShortNet) [[likely]]
      return look_at_short_net_by_eights(pins.data(), size, hash);
    int padded[kShortNet] = {};
    std::copy(pins.begin(), pins.end(), padded);
    return look_at_short_net_by_eights(padded, size, hash);
  }
#endif
  return look_at_short_net_plainly(pins, hash);
}

}  // namespace quillon::formats
