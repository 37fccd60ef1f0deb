#pragma once
/// @file
/// Everything that may be called the number of cells, nets or pins of a hypergraph.

#include <cstdint>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Counts of one hypergraph.
struct Counts {
  int ncells = 0;                   ///< Number of cells.
  int ncells_used = 0;              ///< Cells on some net.
  int highest_cell = 0;             ///< Highest number of a cell on some net, 0 without any.
  int nzero_cells = 0;              ///< Cells of weight 0.
  int nnets = 0;                    ///< Number of nets.
  int nempty_nets = 0;              ///< Nets without pins.
  int nsingle_nets = 0;             ///< Nets of one cell, however often they name it.
  int nzero_nets = 0;               ///< Nets of weight 0.
  int nparallel_nets = 0;           ///< Nets with the same cells as an earlier net.
  int npins = 0;                    ///< Number of pins.
  std::int64_t nrepeated_pins = 0;  ///< Pins that name a cell which their net has named before.
  std::int64_t npairs = 0;          ///< Pairs of different cells of a net, over all nets.
  std::int64_t cell_weight = 0;     ///< Sum of the cells' `w`.
  std::int64_t net_weight = 0;      ///< Sum of the nets' `w`.
};

/// Counts the cells, nets and pins of a hypergraph in every way.
///
/// @param h   Read only. Needs the nets' pins, and the weights.
/// @return    The counts.
/// @par Cost  O(_c + _n + _p) time, up to 72 bytes for each net and a byte for each cell.
Counts counts_of(const Hypergraph& h);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
