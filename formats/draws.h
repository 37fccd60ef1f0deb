#pragma once
/// @file
/// Random numbers by counter: any of them is found without those before it. Internal to `formats/`.
///
/// All is integer arithmetic modulo 2^64, so the same seed gives the same numbers everywhere.

#include <bit>
#include <cstdint>

#include "util/mix.h"

namespace quillon::formats {

/// What random numbers are for. Each purpose has streams of its own.
enum class Purpose : std::uint64_t {
  kSize = 1,
  kPins = 2,
  kCellWeight = 3,
  kNetWeight = 4,
  kCellOrder = 5,
  kNetOrder = 6,
  kStubOrder = 7,
};

/// Where a stream begins, for each seed, purpose and item.
constexpr std::uint64_t stream_key(std::uint64_t seed, Purpose purpose, std::uint64_t item) {
  return mixed(mixed(mixed(seed) ^ static_cast<std::uint64_t>(purpose)) ^ item);
}

/// A stream of random numbers.
class Draws {
 public:
  Draws(std::uint64_t seed, Purpose purpose, std::uint64_t item) : state_(stream_key(seed, purpose, item)) {}

  /// @return  A number of 64 bits.
  std::uint64_t next() { return mixed(state_ += kMixStep); }

  /// @param bound  At least 1.
  /// @return       From 0 to bound - 1: floor(next() * bound / 2^64).
  std::uint64_t below(std::uint64_t bound) {
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::uint64_t>(static_cast<Wide>(next()) * bound >> 64);
  }

  /// @param bound  At least 1.
  /// @return       From 0 to bound - 1.
  int below(int bound) { return static_cast<int>(below(static_cast<std::uint64_t>(bound))); }

 private:
  std::uint64_t state_;
};

/// A random order of 0 .. count - 1 without memory: a Feistel network of eight rounds on the bits of the
/// numbers. Results that are too large go through it again.
class Shuffle {
 public:
  /// @param seed, purpose  Of the order.
  /// @param count          At least 1, below 2^32.
  Shuffle(std::uint64_t seed, Purpose purpose, std::uint64_t count)
      : count_(count),
        nlow_((bits(count) + 1) / 2),
        nhigh_(bits(count) - nlow_ > 0 ? bits(count) - nlow_ : 1) {
    for (std::uint64_t k = 0; k < kRounds; ++k) keys_[k] = stream_key(seed, purpose, k);
  }

  /// @param place  From 0 to count - 1.
  /// @return       The number in this place.
  [[nodiscard]] std::uint64_t at(std::uint64_t place) const {
    do {
      for (unsigned k = 0; k < kRounds; ++k) place = turned(place, k);
    } while (place >= count_);
    return place;
  }

  /// @param number  From 0 to count - 1.
  /// @return        Its place.
  [[nodiscard]] std::uint64_t place_of(std::uint64_t number) const {
    do {
      for (unsigned k = kRounds; k-- > 0;) number = turned(number, k);
    } while (number >= count_);
    return number;
  }

 private:
  static constexpr unsigned kRounds = 8;

  static int bits(std::uint64_t count) { return static_cast<int>(std::bit_width((count - 1) | 1)); }

  // One round, which undoes itself: the bits of one half are changed by a hash of the other half.
  [[nodiscard]] std::uint64_t turned(std::uint64_t value, unsigned round) const {
    const std::uint64_t low = value & ((std::uint64_t{1} << nlow_) - 1);
    const std::uint64_t high = value >> nlow_;
    if (round % 2 == 0) return value ^ mixed(keys_[round] + low) >> (64 - nhigh_) << nlow_;
    return value ^ mixed(keys_[round] + high) >> (64 - nlow_);
  }

  std::uint64_t count_;
  int nlow_;
  int nhigh_;
  std::uint64_t keys_[kRounds] = {};
};

}  // namespace quillon::formats
