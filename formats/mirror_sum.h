#pragma once
/// @file
/// Tests whether a relation is symmetric, in one pass and in any order. Internal to `formats/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>

#include "formats/mentions.h"

namespace quillon::formats {

/// Adds up a hash of each pair from its smaller to its larger number, and subtracts that of each pair from
/// its larger to its smaller one: 0 if each pair is mirrored. The hash has a random key, so that the sum of
/// other pairs is 0 with a chance of 1 in 2^64, whatever the file.
class MirrorSum {
 public:
  MirrorSum() {
    std::random_device random;
    for (std::uint64_t& key : keys_) key = std::uint64_t{random()} << 32 | random();
  }

  /// @param from, to  Different numbers from 1.
  /// @param w         Weight of the pair; a mirrored pair has the same.
  void add(int from, int to, int w) {
    const auto a = static_cast<std::uint64_t>(std::min(from, to));
    const auto b = static_cast<std::uint64_t>(std::max(from, to));
    std::uint64_t hash = mixed(a << 32 | b, keys_[0]);
    if (w != 1) hash = mixed(hash + static_cast<std::uint64_t>(w), keys_[1]);
    sum_ += from < to ? hash : 0 - hash;
  }

  /// Adds mentions of weight 1.
  void add(const Mentions& mentions) {
    MentionPairs list;
    std::uint64_t sum = sum_;
    for (std::size_t first = 0; first < mentions.count; first += list.count) {
      list_pairs(mentions, first, list);
      for (std::size_t k = 0; k < list.count; ++k)
        sum += (mixed(list.pairs[k], keys_[0]) ^ list.backward[k]) - list.backward[k];
    }
    sum_ = sum;
  }

  [[nodiscard]] bool is_zero() const { return sum_ == 0; }

 private:
  // Both halves of the product of 128 bits.
  [[nodiscard]] static std::uint64_t mixed(std::uint64_t value, std::uint64_t key) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(value ^ key) * (key | 1);
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  }

  std::uint64_t keys_[2] = {};
  std::uint64_t sum_ = 0;
};

}  // namespace quillon::formats
