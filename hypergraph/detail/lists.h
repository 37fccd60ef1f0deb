#pragma once
/// @file
/// What every source of the module needs of the record's lists and sums. Internal to `hypergraph/`.

#include <cstddef>
#include <span>

#include "hypergraph/hypergraph.h"

namespace quillon {

/// The entries of a closed range; none for a list that is absent (null) or ends before its start.
inline std::span<int> entries(int* first, int* last) {
  if (first == nullptr || last < first) return {};
  return {first, last + 1};
}

inline std::span<int> nets_of(const Cell& cell) { return entries(cell.nets, cell.netsend); }

inline std::span<int> pins_of(const Net& net) { return entries(net.pins, net.pinsend); }

/// The list of an owner of either kind, for code that works on both sides.
inline std::span<int> list_of(const Cell& cell) { return nets_of(cell); }

inline std::span<int> list_of(const Net& net) { return pins_of(net); }

/// Number of nets of a cell. A cell whose list was never built (both pointers null) counts as 1.
inline int degree(const Cell& cell) { return static_cast<int>(cell.netsend - cell.nets) + 1; }

/// Number of pins of a net, 0 for one that has no pin list at all.
inline int net_size(const Net& net) {
  return net.pins == nullptr ? 0 : static_cast<int>(net.pinsend - net.pins) + 1;
}

/// Whether nets 1 .. nnets weigh the same.
inline bool have_equal_weights(const Net* nets, int nnets) {
  for (int j = 2; j <= nnets; ++j)
    if (nets[j].w != nets[1].w) return false;
  return true;
}

/// Sums of 32 bits wrap; signed overflow would be undefined.
inline void add_wrapping(int& sum, int value) {
  sum = static_cast<int>(static_cast<unsigned>(sum) + static_cast<unsigned>(value));
}

inline void subtract_wrapping(int& sum, int value) {
  sum = static_cast<int>(static_cast<unsigned>(sum) - static_cast<unsigned>(value));
}

/// A sum of equal values.
inline int times_wrapping(std::ptrdiff_t count, int value) {
  return static_cast<int>(static_cast<unsigned>(count) * static_cast<unsigned>(value));
}

/// Asks for the cache line of an address ahead of its use. Nothing but time depends on it, which is why it
/// and what is made of nothing else has to be inlined at once: gcc drops calls of functions without an
/// effect.
[[gnu::always_inline]] inline void prefetch([[maybe_unused]] const void* address) {
#ifdef __GNUC__
  __builtin_prefetch(address);
#endif
}

/// Where the minimum of degrees, sizes or weights starts, and stays when there are none.
inline constexpr int kNoMinimum = 2000000000;

}  // namespace quillon
