#pragma once
/// @file
/// The mixing function of SplitMix64 (G. Steele, D. Lea, C. Flood, OOPSLA 2014). Not installed.

#include <cstdint>

namespace quillon {

/// The distance of two states of SplitMix64.
inline constexpr std::uint64_t kMixStep = 0x9e3779b97f4a7c15;

/// Maps each state to another number, so that neighbours look unrelated.
constexpr std::uint64_t mixed(std::uint64_t state) {
  state = (state ^ (state >> 30)) * 0xbf58476d1ce4e5b9;
  state = (state ^ (state >> 27)) * 0x94d049bb133111eb;
  return state ^ (state >> 31);
}

}  // namespace quillon
