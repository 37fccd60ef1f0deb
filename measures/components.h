#pragma once
/// @file
/// Which cells are joined by nets: connected components, and the cells around a cell.

#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// The connected components of a hypergraph: two cells are in the same one if a chain of nets joins them.
/// Components are numbered from 1 by decreasing number of cells, and those of equal size by their first cell.
struct Components {
  std::vector<int> component_of;  ///< By cell; entry 0 is not used. A cell without nets has its own.
  std::vector<int> ncells;        ///< By component, its number of cells; entry 0 is not used.

  /// @return  Number of components.
  [[nodiscard]] int count() const { return static_cast<int>(ncells.size()) - 1; }

  /// @return  Number of cells of the largest; 0 without cells.
  [[nodiscard]] int largest() const { return count() == 0 ? 0 : ncells[1]; }
};

/// Finds the connected components.
///
/// @param h   Read only. Needs the lists of both sides.
/// @return    Nets without pins belong to no component.
/// @par Cost  O(_c + _n + _p) time, 4 ints of memory for each cell and a byte for each net.
Components components_of(const Hypergraph& h);

/// Finds the cells that a chain of nets joins to a cell.
///
/// @param h       Read only. Needs the lists of both sides.
/// @param cell    Cell number, from 1.
/// @param radius  Most nets of the chain, from 0.
/// @return        Cell numbers in increasing order; `cell` is among them.
/// @par Cost      O(_c + _n) time and memory, and the pins of the nets that are reached.
std::vector<int> cells_around(const Hypergraph& h, int cell, int radius);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
