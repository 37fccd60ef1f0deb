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

/// A number for a set of cells that is quick to find. Few others have the same, unless a file is made so.
struct NetKey {
  static constexpr std::uint32_t kFactor =
      0x9E3779B1;  ///< So that sum and parity of neighbours differ in kind.

  std::uint32_t sum = 0;
  std::uint32_t parity = 0;  ///< Bitwise, of the cells times `kFactor`.

  void add(int cell) {
    sum += static_cast<std::uint32_t>(cell);
    parity ^= static_cast<std::uint32_t>(cell) * kFactor;
  }

  [[nodiscard]] std::uint64_t value() const { return std::uint64_t{sum} << 32 | parity; }
};

/// Looks for repeated pins one by one.
///
/// @param pins  At most `kShortNet`.
/// @return      Bit k: pin k has the cell of an earlier one.
inline unsigned repeated_pins_plainly(std::span<const int> pins) {
  unsigned repeated = 0;
  for (std::size_t k = 0; k < pins.size(); ++k) {
    const auto earlier = pins.first(k);
    if (std::find(earlier.begin(), earlier.end(), pins[k]) != earlier.end()) repeated |= 1U << k;
  }
  return repeated;
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

[[gnu::target("avx2")]] inline unsigned repeated_in(const PinLanes& lanes, const int* pins, int size) {
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

/// As `repeated_pins_plainly`, for cells from 1. If none is, no branch depends on the number of pins: those
/// at the ends of loops would be unpredictable.
///
/// @param pins  `kShortNet` ints can be read.
/// @param size  Number of pins.
[[gnu::target("avx2")]] inline unsigned repeated_pins_by_eights(const int* pins, int size) {
  PinLanes lanes{};
  load_pins(pins, size, lanes);
  return all_differ(lanes) ? 0 : repeated_in(lanes, pins, size);
}

#endif

/// Looks for repeated pins in the fastest way that the processor has.
///
/// @param pins  Cells from 1; at most `kShortNet`.
/// @param end   Of the array that the pins are in.
/// @return      Bit k: pin k has the cell of an earlier one.
inline unsigned repeated_pins(std::span<const int> pins, [[maybe_unused]] const int* end) {
#ifdef QUILLON_AVX2
  if (pins.size() > 1 && __builtin_cpu_supports("avx2")) {  // without pins, there may be no pointer
    const auto size = static_cast<int>(pins.size());
    if (end - pins.data() >= kShortNet) [[likely]]
      return repeated_pins_by_eights(pins.data(), size);
    int padded[kShortNet] = {};
    std::copy(pins.begin(), pins.end(), padded);
    return repeated_pins_by_eights(padded, size);
  }
#endif
  return repeated_pins_plainly(pins);
}

/// Nets to look at together.
inline constexpr int kNetsAtOnce = 512;

/// What a look at consecutive nets tells of each.
struct NetLooks {
  std::uint64_t keys[kNetsAtOnce];  ///< `NetKey::value` of their cells.
  /// 1 for nets to look at one by one: they have repeated pins, are too short or too long, or end the array
  /// of pins. Their keys do not matter.
  unsigned char need_look[kNetsAtOnce];
};

/// Nets in an array of pins.
struct NetRange {
  const int* pins;
  const int* starts;  ///< By net: index of its first pin; one more entry ends the last.
  int count;          ///< At most `kNetsAtOnce`.
  const int* end;     ///< Of the array of pins, perhaps after the last net.

  [[nodiscard]] int size(int k) const { return starts[k + 1] - starts[k]; }
  [[nodiscard]] std::span<const int> cells(int k) const {
    return {pins + starts[k], static_cast<std::size_t>(size(k))};
  }
};

/// Looks at nets one by one.
inline void look_at_nets_plainly(const NetRange& nets, NetLooks& looks) {
  for (int k = 0; k < nets.count; ++k) {
    const bool is_short = nets.size(k) >= 2 && nets.size(k) <= kShortNet;
    looks.need_look[k] = is_short && repeated_pins_plainly(nets.cells(k)) == 0 ? 0 : 1;
    NetKey key;
    for (const int i : nets.cells(k)) key.add(i);
    looks.keys[k] = key.value();
  }
}

#ifdef QUILLON_AVX2

/// Nets of similar sizes, eight of which are looked at side by side.
struct SimilarNets {
  int starts[kNetsAtOnce + 8];
  int sizes[kNetsAtOnce + 8];
  int numbers[kNetsAtOnce + 8];
  int count = 0;
};

/// Four pins of each of eight nets: vector k gets pin k of all.
[[gnu::target("avx2")]] inline void load_four_pins(const int* pins, const int* starts, __m256i* cells) {
  const auto load = [pins, starts](int k) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pins + starts[k]));
  };
  __m256i nets[4];
  for (int k = 0; k < 4; ++k)
    nets[k] = _mm256_inserti128_si256(_mm256_castsi128_si256(load(k)), load(k + 4), 1);
  const __m256i first_01 = _mm256_unpacklo_epi32(nets[0], nets[1]);
  const __m256i first_23 = _mm256_unpacklo_epi32(nets[2], nets[3]);
  const __m256i last_01 = _mm256_unpackhi_epi32(nets[0], nets[1]);
  const __m256i last_23 = _mm256_unpackhi_epi32(nets[2], nets[3]);
  cells[0] = _mm256_unpacklo_epi64(first_01, first_23);
  cells[1] = _mm256_unpackhi_epi64(first_01, first_23);
  cells[2] = _mm256_unpacklo_epi64(last_01, last_23);
  cells[3] = _mm256_unpackhi_epi64(last_01, last_23);
}

/// Looks at eight nets of 4 * kFours - 3 to 4 * kFours pins each.
template <int kFours>
[[gnu::target("avx2")]] inline void look_at_eight_nets(const int* pins, const SimilarNets& nets, int first,
                                                       NetLooks& looks) {
  constexpr int kMost = 4 * kFours;
  __m256i cells[kMost];
  for (int k = 0; k < kMost; k += 4) load_four_pins(pins + k, nets.starts + first, cells + k);

  const __m256i sizes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(nets.sizes + first));
  __m256i sum = _mm256_setzero_si256();
  __m256i parity = _mm256_setzero_si256();
  const __m256i factor = _mm256_set1_epi32(static_cast<int>(NetKey::kFactor));
#pragma GCC unroll 16
  for (int k = 0; k < kMost; ++k) {
    __m256i cell = cells[k];
    if (k >= kMost - 4) {  // there may be no such pin: numbers below 0 are no cells
      const __m256i is_pin = _mm256_cmpgt_epi32(sizes, _mm256_set1_epi32(k));
      cell = _mm256_and_si256(cell, is_pin);
      cells[k] = _mm256_or_si256(cell, _mm256_andnot_si256(is_pin, _mm256_set1_epi32(-1 - k)));
    }
    sum = _mm256_add_epi32(sum, cell);
    parity = _mm256_xor_si256(parity, _mm256_mullo_epi32(cell, factor));
  }

  __m256i same = _mm256_setzero_si256();
#pragma GCC unroll 16
  for (int k = 1; k < kMost; ++k)
#pragma GCC unroll 16
    for (int m = 0; m < k; ++m) same = _mm256_or_si256(same, _mm256_cmpeq_epi32(cells[m], cells[k]));
  const auto repeated = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(same)));

  std::uint32_t sums[8];
  std::uint32_t parities[8];
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), sum);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(parities), parity);
  for (int k = 0; k < 8; ++k) {
    const int number = nets.numbers[first + k];
    looks.keys[number] = NetKey{sums[k], parities[k]}.value();
    looks.need_look[number] = static_cast<unsigned char>(repeated >> k & 1U);
  }
}

template <int kFours>
[[gnu::target("avx2")]] inline void look_at_similar_nets(const int* pins, SimilarNets& nets,
                                                         NetLooks& looks) {
  for (int k = nets.count; k > 0 && k % 8 != 0; ++k) {  // repeats the last net
    nets.starts[k] = nets.starts[k - 1];
    nets.sizes[k] = nets.sizes[k - 1];
    nets.numbers[k] = nets.numbers[k - 1];
  }
  for (int k = 0; k < nets.count; k += 8) look_at_eight_nets<kFours>(pins, nets, k, looks);
}

/// As `look_at_nets_plainly`, except that nets need a look at the end of the array.
[[gnu::target("avx2")]] inline void look_at_nets_by_eights(const NetRange& nets, NetLooks& looks) {
  constexpr int kOther = kShortNet / 4;
  SimilarNets similar[kOther + 1];  // by number of fours
  const std::int64_t last_start = nets.end - nets.pins - kShortNet;
  for (int k = 0; k < nets.count; ++k) {
    const int size = nets.size(k);
    const bool is_short = size >= 2 && size <= kShortNet && nets.starts[k] <= last_start;
    SimilarNets& its = similar[is_short ? (size - 1) / 4 : kOther];
    its.starts[its.count] = nets.starts[k];
    its.sizes[its.count] = size;
    its.numbers[its.count++] = k;
  }
  look_at_similar_nets<1>(nets.pins, similar[0], looks);
  look_at_similar_nets<2>(nets.pins, similar[1], looks);
  look_at_similar_nets<3>(nets.pins, similar[2], looks);
  look_at_similar_nets<4>(nets.pins, similar[3], looks);
  for (int k = 0; k < similar[kOther].count; ++k) looks.need_look[similar[kOther].numbers[k]] = 1;
}

#endif

/// Looks at nets in the fastest way that the processor has.
inline void look_at_nets(const NetRange& nets, NetLooks& looks) {
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2")) return look_at_nets_by_eights(nets, looks);
#endif
  look_at_nets_plainly(nets, looks);
}

}  // namespace quillon::formats
