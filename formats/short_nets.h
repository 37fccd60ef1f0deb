#pragma once
/// @file
/// Comparison of the cells of short nets with one another. Internal to `formats/`.

#include <cstddef>
#include <span>

namespace quillon::formats {

/// Tests whether a net is so short that its pins are compared with one another, without a cache miss for
/// each, and all differ.
inline bool is_short_and_distinct(std::span<const int> pins) {
  constexpr std::size_t kShort = 16;
  if (pins.size() > kShort) return false;
  for (std::size_t a = 1; a < pins.size(); ++a) {
    int nsame = 0;
    for (std::size_t b = 0; b < a; ++b) nsame += pins[b] == pins[a] ? 1 : 0;
    if (nsame != 0) return false;
  }
  return true;
}

}  // namespace quillon::formats
