#pragma once
/// @file
/// One hypergraph of several.

#include <span>
#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// A hypergraph and what its cells become.
struct Operand {
  const Hypergraph* h = nullptr;  ///< Read only; needs its nets, and the cells' `w`.
  std::vector<int> cells;         ///< By cell: its number in the union. Entry 0 is not used.
};

/// A net of the union.
struct Origin {
  int operand;  ///< Index of the operand that it comes from.
  int net;      ///< Its number there.
};

/// Which net of the union comes from where, and which cells have several weights.
struct Union {
  std::vector<Origin> nets;  ///< By net of the union; entry 0 is not used.
  int conflict = 0;          ///< The first cell, by number in the union, whose weights differ; 0 if none do.
};

/// Makes the union of hypergraphs: the nets of the first, then those of the second, and so on. Pins keep
/// their order.
///
/// @param operands  The hypergraphs. Their cells may become the same, but not two of one hypergraph.
/// @param ncells    Cells of the union; each is a cell of some operand.
/// @param distinct  Keeps only the first of nets that have the same weight and, in whatever order, the same
///                  pins.
/// @param joined    Overwritten without releasing anything; both sides built, with the summaries of
///                  `set_hypergraph_infos`, and `_totnw`. The weight of a cell is that of the first operand
///                  that has it, its part -1. Release with `free_hypergraph`.
/// @return          Where the nets come from.
/// @par Errors      More pins or nets than a record can have, and memory that runs out, are fatal.
/// @par Cost        O(_c + _n + _p) time of all operands together; 8 bytes for each net besides the union,
/// and
///                  up to 72 more if they are to be distinct.
Union unite(std::span<const Operand> operands, int ncells, bool distinct, Hypergraph* joined);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
