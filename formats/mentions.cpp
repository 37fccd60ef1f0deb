#include "formats/mentions.h"

#include <algorithm>
#include <array>

#include "util/digits.h"

namespace quillon::formats {
namespace {

void look_at(const Mentions& mentions, std::size_t first, int nvertices, MentionsLook& look) {
  for (std::size_t k = first; k < mentions.count; ++k) {
    const int u = mentions.from[k];
    const int v = mentions.to[k];
    const bool is_last_of_line = mentions.from[k + 1] != u;
    look.sound = look.sound && v >= 1 && v <= nvertices && v != u;
    look.ascending = look.ascending && (is_last_of_line || mentions.to[k + 1] > v);
    look.nforward += v > u ? 1U : 0U;
  }
}

void list_from(const Mentions& mentions, std::size_t first, std::size_t begin, MentionPairs& list) {
  for (std::size_t k = begin; k < list.count; ++k) {
    const auto u = static_cast<std::uint64_t>(mentions.from[first + k]);
    const auto v = static_cast<std::uint64_t>(mentions.to[first + k]);
    list.pairs[k] = std::min(u, v) << 32 | std::max(u, v);
    list.backward[k] = u > v ? ~std::uint64_t{0} : 0;
  }
}

std::size_t number_of_pairs(const Mentions& mentions, std::size_t first) {
  return std::min(mentions.count - first, MentionPairs::kMost);
}

void store_from(const Mentions& mentions, std::size_t first, int* pins, const int* end) {
  for (std::size_t k = first; pins != end; ++k) {
    if (mentions.to[k] <= mentions.from[k]) continue;
    pins[0] = mentions.from[k];
    pins[1] = mentions.to[k];
    pins += 2;
  }
}

#ifdef QUILLON_AVX2

[[gnu::target("avx2")]] __m256i load_eight(const int* numbers) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(numbers));
}

[[gnu::target("avx2")]] bool any(__m256i lanes) { return _mm256_testz_si256(lanes, lanes) == 0; }

[[gnu::target("avx2")]] MentionsLook look_by_eights(const Mentions& mentions, int nvertices) {
  const __m256i last = _mm256_set1_epi32(nvertices);
  __m256i bad = _mm256_setzero_si256();
  __m256i descends = _mm256_setzero_si256();
  __m256i nforward = _mm256_setzero_si256();
  std::size_t k = 0;
  for (; k + 8 <= mentions.count; k += 8) {
    const __m256i u = load_eight(mentions.from + k);
    const __m256i v = load_eight(mentions.to + k);
    const __m256i is_cell = _mm256_cmpgt_epi32(v, _mm256_setzero_si256());
    const __m256i is_odd = _mm256_or_si256(_mm256_cmpgt_epi32(v, last), _mm256_cmpeq_epi32(u, v));
    bad = _mm256_or_si256(bad, _mm256_or_si256(is_odd, _mm256_andnot_si256(is_cell, _mm256_set1_epi32(-1))));
    const __m256i is_inside = _mm256_cmpeq_epi32(load_eight(mentions.from + k + 1), u);
    const __m256i rises = _mm256_cmpgt_epi32(load_eight(mentions.to + k + 1), v);
    descends = _mm256_or_si256(descends, _mm256_andnot_si256(rises, is_inside));
    nforward = _mm256_sub_epi32(nforward, _mm256_cmpgt_epi32(v, u));
  }
  MentionsLook look{!any(bad), !any(descends), 0};
  alignas(32) std::array<unsigned, 8> counts{};
  _mm256_store_si256(reinterpret_cast<__m256i*>(counts.data()), nforward);
  for (const unsigned count : counts) look.nforward += count;
  look_at(mentions, k, nvertices, look);
  return look;
}

[[gnu::target("avx2")]] void store_words(__m256i words, std::uint64_t* to) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), words);
}

[[gnu::target("avx2")]] void list_by_eights(const Mentions& mentions, std::size_t first, MentionPairs& list) {
  list.count = number_of_pairs(mentions, first);
  std::size_t k = 0;
  for (; k + 8 <= list.count; k += 8) {
    const __m256i u = load_eight(mentions.from + first + k);
    const __m256i v = load_eight(mentions.to + first + k);
    const __m256i small = _mm256_min_epi32(u, v);
    const __m256i large = _mm256_max_epi32(u, v);
    const __m256i backward = _mm256_cmpgt_epi32(u, v);
    store_words(_mm256_unpacklo_epi32(large, small), list.pairs + k);
    store_words(_mm256_unpackhi_epi32(large, small), list.pairs + k + 4);
    store_words(_mm256_unpacklo_epi32(backward, backward), list.backward + k);
    store_words(_mm256_unpackhi_epi32(backward, backward), list.backward + k + 4);
  }
  list_from(mentions, first, k, list);
}

// By four bits: the permutation that moves those of four pairs whose bit is set to the front.
using Packings = std::array<std::array<int, 8>, 16>;

constexpr Packings all_packings() {
  Packings packings{};
  for (unsigned bits = 0; bits < packings.size(); ++bits) {
    std::size_t at = 0;
    for (int pair = 0; pair < 4; ++pair) {
      if ((bits >> pair & 1) == 0) continue;
      packings[bits][at++] = 2 * pair;
      packings[bits][at++] = 2 * pair + 1;
    }
  }
  return packings;
}

alignas(32) constexpr Packings kPackings = all_packings();

// Stores those of four pairs whose bit is set. Returns after them; as much as four pairs is overwritten.
[[gnu::target("avx2,popcnt")]] int* pack(__m256i pairs, unsigned bits, int* to) {
  const __m256i packing = _mm256_load_si256(reinterpret_cast<const __m256i*>(kPackings[bits].data()));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_permutevar8x32_epi32(pairs, packing));
  return to + std::ptrdiff_t{2} * _mm_popcnt_u32(bits);
}

[[gnu::target("avx2,popcnt")]] void store_by_eights(const Mentions& mentions, int* pins, std::size_t count) {
  constexpr int kEight = 16;  // ints of eight pairs
  const int* const end = pins + 2 * count;
  std::size_t k = 0;
  for (; k + 8 <= mentions.count && end - pins >= kEight; k += 8) {
    const __m256i u = load_eight(mentions.from + k);
    const __m256i v = load_eight(mentions.to + k);
    const auto bits =
        static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpgt_epi32(v, u))));
    // Pairs 0 1 4 5 and 2 3 6 7: unpacking goes by halves.
    const __m256i low = _mm256_unpacklo_epi32(u, v);
    const __m256i high = _mm256_unpackhi_epi32(u, v);
    pins = pack(_mm256_permute2x128_si256(low, high, 0x20), bits & 0xFU, pins);
    pins = pack(_mm256_permute2x128_si256(low, high, 0x31), bits >> 4, pins);
  }
  store_from(mentions, k, pins, end);
}

#endif

}  // namespace

MentionsLook look_at_mentions_plainly(const Mentions& mentions, int nvertices) {
  MentionsLook look;
  look_at(mentions, 0, nvertices, look);
  return look;
}

MentionsLook look_at_mentions(const Mentions& mentions, int nvertices) {
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2")) return look_by_eights(mentions, nvertices);
#endif
  return look_at_mentions_plainly(mentions, nvertices);
}

void list_pairs_plainly(const Mentions& mentions, std::size_t first, MentionPairs& list) {
  list.count = number_of_pairs(mentions, first);
  list_from(mentions, first, 0, list);
}

void list_pairs(const Mentions& mentions, std::size_t first, MentionPairs& list) {
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2")) {
    list_by_eights(mentions, first, list);
    return;
  }
#endif
  list_pairs_plainly(mentions, first, list);
}

void store_forward_plainly(const Mentions& mentions, int* pins, std::size_t count) {
  store_from(mentions, 0, pins, pins + 2 * count);
}

void store_forward(const Mentions& mentions, int* pins, std::size_t count) {
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt")) {
    store_by_eights(mentions, pins, count);
    return;
  }
#endif
  store_forward_plainly(mentions, pins, count);
}

}  // namespace quillon::formats
