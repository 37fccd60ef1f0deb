#pragma once
// Lengths of lists and sums that wrap.

#include "hypergraph/hypergraph.h"

namespace quillon::oracle {

constexpr int kNoMinimum = 2000000000;

inline int size_of(const Net& net) {
  return net.pins == nullptr ? 0 : static_cast<int>(net.pinsend - net.pins) + 1;
}

/// 1 for a cell whose list was never built.
inline int degree_of(const Cell& cell) { return static_cast<int>(cell.netsend - cell.nets) + 1; }

inline int sum(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b)); }

inline int difference(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

}  // namespace quillon::oracle
