#pragma once
// A hypergraph as Python holds it.

#include <pybind11/numpy.h>

#include <memory>
#include <utility>

#include "formats/format.h"
#include "formats/ints.h"
#include "formats/record.h"

namespace quillon::python {

namespace py = pybind11;

/// The lists of one side in compressed rows, counted from 0.
struct Rows {
  formats::Ints offsets{"quillon: offsets"};  // one more than rows
  formats::Ints entries{"quillon: entries"};
  bool are_made = false;
};

/// A record that does not change any more, but for its cell side, which is built when it is first needed.
/// Made and destroyed under the lock of the module.
struct Graph {
  formats::Record record;
  formats::Labels names;
  formats::SmallNets small_nets = formats::SmallNets::kKeep;
  int weights = 0;  // to be written: 0 none, 1 cells, 2 nets, 3 both
  bool has_cell_side = false;
  Rows nets;
  Rows cells;

  [[nodiscard]] const Hypergraph& h() const { return record.h; }
};

/// Builds the cell side unless it is there. A call of its own, so that it stays when a later one fails.
void need_cell_side(Graph& graph);

/// How Python holds a hypergraph. The last owner may be any thread: see `free_later`.
using SharedGraph = std::shared_ptr<Graph>;

SharedGraph share(std::unique_ptr<Graph> graph);

/// @name Read-only arrays in the memory of a hypergraph, which they keep alive
/// @{
py::array cell_weights(const py::object& self);
py::array net_weights(const py::object& self);
py::array folded_weights(const py::object& self);  // of folded one-pin nets, by cell
py::array net_offsets(const py::object& self);
py::array net_pins(const py::object& self);
py::array cell_offsets(const py::object& self);
py::array cell_nets(const py::object& self);
/// @}

/// New arrays of offsets and pins, for the caller to change.
std::pair<py::array_t<int>, py::array_t<int>> net_rows(const Graph& graph);

/// Whether both have the same cells, nets, pins in order, weights and names.
bool are_equal(Graph& a, Graph& b);

}  // namespace quillon::python
