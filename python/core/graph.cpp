#include "python/core/graph.h"

#include <algorithm>
#include <utility>

#include "formats/net_lists.h"
#include "hypergraph/detail/lists.h"
#include "python/core/call.h"

namespace quillon::python {
namespace {

// A view of ints in the memory of a hypergraph, `stride` bytes apart.
py::array view(const py::object& self, const int* first, std::size_t count, std::size_t stride) {
  py::array array(py::dtype::of<int>(), {static_cast<py::ssize_t>(count)}, {static_cast<py::ssize_t>(stride)},
                  first, self);
  array.attr("flags").attr("writeable") = false;
  return array;
}

template <typename Owner>
void fill_rows(const Owner* owners, int count, int* offsets, int* entries) {
  int end = 0;
  offsets[0] = 0;
  for (int k = 1; k <= count; ++k) {
    const std::span<const int> list = list_of(owners[k]);
    std::transform(list.begin(), list.end(), entries + end, [](int number) { return number - 1; });
    end += static_cast<int>(list.size());
    offsets[k] = end;
  }
}

template <typename Owner>
Rows rows_of(const Owner* owners, int count, int npins) {
  Rows rows;
  int* const offsets = rows.offsets.extend(static_cast<std::size_t>(count) + 1);
  fill_rows(owners, count, offsets, rows.entries.extend(static_cast<std::size_t>(npins)));
  rows.are_made = true;
  return rows;
}

const Rows& rows_of_nets(Graph& graph) {
  call([&graph] {
    const Hypergraph& h = graph.h();
    if (!graph.nets.are_made) graph.nets = rows_of(h._nlst, h._n, h._p);
    return true;
  });
  return graph.nets;
}

const Rows& rows_of_cells(Graph& graph) {
  need_cell_side(graph);
  call([&graph] {
    const Hypergraph& h = graph.h();
    if (!graph.cells.are_made) graph.cells = rows_of(h._clst, h._c, h._p);
    return true;
  });
  return graph.cells;
}

py::array view(const py::object& self, const formats::Ints& ints) {
  return view(self, ints.data(), ints.size(), sizeof(int));
}

bool have_equal_items(const Hypergraph& a, const Hypergraph& b) {
  for (int i = 1; i <= a._c; ++i)
    if (a._clst[i].w != b._clst[i].w || a._clst[i].inw != b._clst[i].inw) return false;
  for (int j = 1; j <= a._n; ++j) {
    const std::span<const int> pins = pins_of(a._nlst[j]);
    const std::span<const int> others = pins_of(b._nlst[j]);
    if (a._nlst[j].w != b._nlst[j].w || !std::equal(pins.begin(), pins.end(), others.begin(), others.end()))
      return false;
  }
  return true;
}

}  // namespace

void need_cell_side(Graph& graph) {
  call([&graph] {
    if (graph.has_cell_side) return true;
    formats::add_cell_side(graph.record, graph.small_nets);
    graph.has_cell_side = true;
    return true;
  });
}

SharedGraph share(std::unique_ptr<Graph> graph) {
  return {graph.release(), [](Graph* dead) { free_later([dead] { delete dead; }); }};
}

py::array cell_weights(const py::object& self) {
  const auto& h = self.cast<Graph&>().h();
  return view(self, &h._clst[1].w, static_cast<std::size_t>(h._c), sizeof(Cell));
}

py::array net_weights(const py::object& self) {
  const auto& h = self.cast<Graph&>().h();
  return view(self, &h._nlst[1].w, static_cast<std::size_t>(h._n), sizeof(Net));
}

py::array folded_weights(const py::object& self) {
  const auto& h = self.cast<Graph&>().h();
  return view(self, &h._clst[1].inw, static_cast<std::size_t>(h._c), sizeof(Cell));
}

py::array net_offsets(const py::object& self) {
  return view(self, rows_of_nets(self.cast<Graph&>()).offsets);
}

py::array net_pins(const py::object& self) { return view(self, rows_of_nets(self.cast<Graph&>()).entries); }

py::array cell_offsets(const py::object& self) {
  return view(self, rows_of_cells(self.cast<Graph&>()).offsets);
}

py::array cell_nets(const py::object& self) { return view(self, rows_of_cells(self.cast<Graph&>()).entries); }

std::pair<py::array_t<int>, py::array_t<int>> net_rows(const Graph& graph) {
  const Hypergraph& h = graph.h();
  py::array_t<int> offsets(static_cast<py::ssize_t>(h._n) + 1);
  py::array_t<int> pins(static_cast<py::ssize_t>(h._p));
  fill_rows(h._nlst, h._n, offsets.mutable_data(), pins.mutable_data());
  return {std::move(offsets), std::move(pins)};
}

bool are_equal(Graph& a, Graph& b) {
  return call([&a, &b] {
    const Hypergraph& first = a.h();
    const Hypergraph& second = b.h();
    return first._c == second._c && first._n == second._n && first._p == second._p &&
           a.record.nfolded == b.record.nfolded && first._virtualnets == second._virtualnets &&
           a.names.cells == b.names.cells && a.names.nets == b.names.nets && have_equal_items(first, second);
  });
}

}  // namespace quillon::python
