#pragma once
// Hypergraphs from other hypergraphs.

#include <cstdint>

#include "python/core/graph.h"

namespace quillon::python {

/// Nets kept and set aside. Arrays say where the items of the copies come from, all from 0.
struct PrunedGraphs {
  SharedGraph kept;
  SharedGraph set_aside;
  py::array_t<int> cells;
  py::array_t<int> nets;
  py::array_t<int> nets_set_aside;
};

/// As the command prune of the tool does.
PrunedGraphs prune(Graph& graph, int max_size, bool shuffle, std::uint64_t seed);

/// A hypergraph in another order, and the old number of each new item, from 0.
struct ReorderedGraph {
  SharedGraph graph;
  py::array_t<int> cells;
  py::array_t<int> nets;
};

/// @param cells,nets  The old number of each new item, from 0, in arrays as `ArrayRequest` has.
/// @throws std::invalid_argument  if one is no permutation, with the position.
ReorderedGraph permute(Graph& graph, const py::array& cells, const py::array& nets);

/// As the command reorder of the tool does with --by-part.
///
/// @param parts  Of each cell.
ReorderedGraph reorder_by_part(Graph& graph, const py::array& parts);

}  // namespace quillon::python
