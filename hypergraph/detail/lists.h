#pragma once
/// @file
/// Lists, sizes and sums of a record, for the module and the folders that build on it. Not installed.
///
/// Every walk over a list goes through these functions: the end pointer of an absent list must not be used in
/// arithmetic, and that of an empty list must not be read through.

#include <algorithm>
#include <cstddef>
#include <span>

#include "hypergraph/hypergraph.h"

namespace quillon {

/// The entries of a closed range; none if the list is absent (null) or ends before its start.
inline std::span<int> entries(int* first, int* last) {
  if (first == nullptr || last < first) return {};
  return {first, last + 1};
}

/// The nets of a cell, in the order of its list. The cell may be const; the entries can be changed.
inline std::span<int> nets_of(const Cell& cell) { return entries(cell.nets, cell.netsend); }

/// The pins of a net, in the order of its list; as `nets_of`.
inline std::span<int> pins_of(const Net& net) { return entries(net.pins, net.pinsend); }

/// The list of an owner of either kind, for code that works on both sides.
inline std::span<int> list_of(const Cell& cell) { return nets_of(cell); }

inline std::span<int> list_of(const Net& net) { return pins_of(net); }

/// Number of nets of a cell. A cell without a list (both pointers null) counts as 1, which writers and
/// statistics rely on; where it must count as 0, use `nets_of(cell).size()`.
inline int degree(const Cell& cell) { return static_cast<int>(cell.netsend - cell.nets) + 1; }

/// Number of pins of a net, 0 for a net without a list.
inline int net_size(const Net& net) {
  return net.pins == nullptr ? 0 : static_cast<int>(net.pinsend - net.pins) + 1;
}

/// Degree or size of an owner of either kind.
inline int list_length(const Cell& cell) { return degree(cell); }

inline int list_length(const Net& net) { return net_size(net); }

/// Whether nets 1 .. nnets have the same weight.
inline bool have_equal_weights(const Net* nets, int nnets) {
  for (int j = 2; j <= nnets; ++j)
    if (nets[j].w != nets[1].w) return false;
  return true;
}

/// Sums are 32 bits wide and wrap; signed overflow would be undefined.
inline void add_wrapping(int& sum, int value) {
  sum = static_cast<int>(static_cast<unsigned>(sum) + static_cast<unsigned>(value));
}

inline void subtract_wrapping(int& sum, int value) {
  sum = static_cast<int>(static_cast<unsigned>(sum) - static_cast<unsigned>(value));
}

/// The sum of `count` equal values.
inline int times_wrapping(std::ptrdiff_t count, int value) {
  return static_cast<int>(static_cast<unsigned>(count) * static_cast<unsigned>(value));
}

/// The minimum of no degrees, sizes or weights.
inline constexpr int kNoMinimum = 2000000000;

/// Smallest and largest of the values added.
struct Extremes {
  int min = kNoMinimum;
  int max = 0;

  void add(int value) {
    min = std::min(min, value);
    max = std::max(max, value);
  }
};

/// Hint to load the cache line of an address, without effect on results. This function and those that only
/// call it must be inlined: gcc drops calls of functions without side effects.
[[gnu::always_inline]] inline void prefetch([[maybe_unused]] const void* address) {
#ifdef __GNUC__
  __builtin_prefetch(address);
#endif
}

}  // namespace quillon
