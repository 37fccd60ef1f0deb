#pragma once
/// @file
/// Smaller hypergraphs with the same cut for every partition.

#include <cstdint>
#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// What to simplify, in this order.
struct Simplifications {
  bool repeated_pins = false;   ///< A net names each of its cells once, where it names it first.
  bool small_nets = false;      ///< Nets of one pin or none are dropped.
  bool parallel_nets = false;   ///< Nets with the same cells become one, whose weight is their sum.
  bool isolated_cells = false;  ///< Cells on no net, or on dropped nets only, are dropped.
};

/// What became of the cells and nets, and how much was dropped. Entries 0 are not used.
struct Simplification {
  std::vector<int> cells;      ///< By new cell: its old number.
  std::vector<int> nets;       ///< By new net: its old number; of parallel nets, that of the first.
  std::vector<int> new_cells;  ///< By old cell: its new number, 0 if it was dropped.
  std::vector<int> new_nets;   ///< By old net: the new net that it is part of, 0 if it was dropped.

  std::int64_t repeated_pins = 0;   ///< Pins dropped from nets, those of nets that are dropped too included.
  std::int64_t one_pin_nets = 0;    ///< Nets of one pin that were dropped.
  std::int64_t one_pin_weight = 0;  ///< Their weight.
  std::int64_t empty_nets = 0;      ///< Nets without pins that were dropped.
  std::int64_t empty_weight = 0;    ///< Their weight.
  std::int64_t merged_nets = 0;     ///< Nets that became part of an earlier one.
};

/// Makes a simpler hypergraph. Cells, nets and pins keep their order.
///
/// @param h        Read only; needs its nets, and the cells' `w`, `inw` and `pno`.
/// @param wanted   What to simplify.
/// @param simple   Overwritten without releasing anything; both sides built, with the summaries of
///                 `set_hypergraph_infos`, and `_totnw`. Release with `free_hypergraph`.
/// @return         What became of the cells and nets.
/// @par Errors     Parallel nets whose weights together exceed 32 bits, and memory that runs out, are fatal.
/// @par Cost       O(_c + _n + _p) time. Besides the new hypergraph 16 bytes for each net and 9 for each
/// cell,
///                 and to find parallel nets up to 72 more for each net.
Simplification simplify(const Hypergraph& h, const Simplifications& wanted, Hypergraph* simple);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
