#pragma once
/// @file
/// Parts of hypergraphs as hypergraphs of their own.

#include <vector>

#include "formats/net_lists.h"
#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Finds the nets that have pins on some cells.
///
/// @param h      Read only. Needs its nets.
/// @param cells  Cell numbers, each at most once.
/// @param whole  Only nets with all their pins on them.
/// @return       Net numbers in increasing order. Nets without pins are not among them.
std::vector<int> nets_on(const Hypergraph& h, const std::vector<int>& cells, bool whole);

/// Finds the cells that some nets have pins on.
///
/// @param h     Read only. Needs its nets.
/// @param nets  Net numbers.
/// @return      Cell numbers in increasing order.
std::vector<int> cells_on(const Hypergraph& h, const std::vector<int>& nets);

/// Extracts some cells and nets, with their weights.
///
/// @param h      Read only. Needs its nets.
/// @param cells  Cell numbers, each at most once: cell k of the result is the entry k - 1.
/// @param nets   Net numbers, in the same way. They lose their pins on other cells.
/// @return       For `to_record`.
/// @par Cost     O(_c + pins of the nets) time, _c + 1 ints of memory beside the result.
NetLists extract(const Hypergraph& h, const std::vector<int>& cells, const std::vector<int>& nets);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
