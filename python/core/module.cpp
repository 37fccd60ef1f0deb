// The functions of the extension. The modules in python/quillon give them their public names, arguments and
// docstrings.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>
#include <tuple>
#include <vector>

#include "formats/formats.h"
#include "python/core/build.h"
#include "python/core/call.h"
#include "python/core/errors.h"
#include "python/core/graph.h"
#include "python/core/measure.h"
#include "python/core/pages.h"
#include "python/core/save.h"
#include "python/core/transform.h"

namespace quillon::python {
namespace {

SharedGraph read_path(const py::bytes& path, int descriptor, const std::string& format,
                      const std::string& model, const std::string& pairs, bool fold_small_nets,
                      bool add_diagonal, int nthreads) {
  return read({path, descriptor, format, model, pairs, fold_small_nets, add_diagonal, nthreads});
}

void add_names(std::vector<std::string>& by_number, const std::vector<std::string>& names) {
  if (names.empty()) return;
  by_number.assign(1, "");
  by_number.insert(by_number.end(), names.begin(), names.end());
}

SharedGraph from_csr(const py::array& offsets, const py::array& pins, int ncells,
                     const std::optional<py::array>& cell_weights,
                     const std::optional<py::array>& net_weights, const std::vector<std::string>& cell_names,
                     const std::vector<std::string>& net_names, bool add_diagonal,
                     const std::optional<std::tuple<py::array, int, int>>& folded) {
  ArrayRequest request{offsets, pins, ncells, cell_weights, net_weights};
  if (folded) std::tie(request.folded_weights, request.nfolded, request.pinless_weight) = *folded;
  add_names(request.names.cells, cell_names);
  add_names(request.names.nets, net_names);
  request.add_diagonal = add_diagonal;
  return from_arrays(request);
}

std::vector<std::string> without_entry_0(const std::vector<std::string>& by_number) {
  return by_number.empty() ? by_number : std::vector<std::string>(by_number.begin() + 1, by_number.end());
}

py::tuple prune_graph(const SharedGraph& graph, int max_size, bool shuffle, std::uint64_t seed) {
  const PrunedGraphs pruned = prune(*graph, max_size, shuffle, seed);
  return py::make_tuple(pruned.kept, pruned.set_aside, pruned.cells, pruned.nets, pruned.nets_set_aside);
}

py::tuple tuple_of(const ReorderedGraph& reordered) {
  return py::make_tuple(reordered.graph, reordered.cells, reordered.nets);
}

std::string evaluate(const SharedGraph& graph, const py::array& parts, int nparts,
                     const std::vector<LimitText>& limits, const std::optional<py::array>& fixed,
                     const std::vector<std::string>& targets, bool are_shares, bool details, bool matrix,
                     int nnets) {
  return evaluation_json(*graph, {parts, nparts, limits, fixed, targets, are_shares, details, matrix, nnets});
}

py::bytes page_of(const SharedGraph& graph, const std::string& title,
                  const std::vector<std::tuple<std::string, py::array, int>>& partitions) {
  std::vector<ShownPartition> shown;
  for (const auto& [heading, parts, nparts] : partitions) shown.push_back({heading, parts, nparts});
  return html_page(*graph, title, shown);
}

py::list lint_path(const py::bytes& path, const std::string& format, const std::string& model,
                   std::size_t most_kept) {
  py::list found;
  for (const formats::Finding& finding : lint({path, format, model, most_kept}))
    found.append(finding_object(finding));
  return found;
}

void define_functions(py::class_<Graph, SharedGraph>& graph) {
  graph.def("equals", [](const SharedGraph& a, const SharedGraph& b) { return are_equal(*a, *b); })
      .def("write",
           [](const SharedGraph& self, const py::bytes& path, const std::string& format,
              std::optional<int> weights, int numbering, const std::string& model, bool replace_protected) {
             write(*self, {path, format, weights, numbering, model, replace_protected});
           })
      .def("net_rows", [](const SharedGraph& self) { return net_rows(*self); })
      .def("prune", prune_graph)
      .def("permute", [](const SharedGraph& self, const py::array& cells,
                         const py::array& nets) { return tuple_of(permute(*self, cells, nets)); })
      .def("reorder_by_part", [](const SharedGraph& self,
                                 const py::array& parts) { return tuple_of(reorder_by_part(*self, parts)); })
      .def("stats_json",
           [](const SharedGraph& self, const std::string& file) { return stats_json(*self, file); })
      .def("evaluation_json", evaluate)
      .def("comparison_json",
           [](const SharedGraph& self, const py::array& first, const py::array& second, int nparts_first,
              int nparts_second) {
             return comparison_json(*self, first, second, nparts_first, nparts_second);
           })
      .def("num_repeated_pins", [](const SharedGraph& self) { return count_repeated_pins(*self); })
      .def("html_page", page_of)
      .def("broken_rule", [](const SharedGraph& self) { return broken_rule(*self); });
}

void define_graph(py::module_& m) {
  py::class_<Graph, SharedGraph> graph(m, "Graph");
  graph.def_property_readonly("num_cells", [](const Graph& self) { return self.h()._c; })
      .def_property_readonly("num_nets", [](const Graph& self) { return self.h()._n; })
      .def_property_readonly("num_pins", [](const Graph& self) { return self.h()._p; })
      .def_property_readonly("num_folded", [](const Graph& self) { return self.record.nfolded; })
      .def_property_readonly("folded_weights", folded_weights)
      .def_property_readonly("pinless_weight", [](const Graph& self) { return self.h()._virtualnets; })
      .def_property_readonly("weights", [](const Graph& self) { return self.weights; })
      .def_property_readonly("has_cell_side", [](const Graph& self) { return self.has_cell_side; })
      .def_property_readonly("cell_names",
                             [](const Graph& self) { return without_entry_0(self.names.cells); })
      .def_property_readonly("net_names", [](const Graph& self) { return without_entry_0(self.names.nets); })
      .def_property_readonly("cell_weights", cell_weights)
      .def_property_readonly("net_weights", net_weights)
      .def_property_readonly("net_offsets", net_offsets)
      .def_property_readonly("net_pins", net_pins)
      .def_property_readonly("cell_offsets", cell_offsets)
      .def_property_readonly("cell_nets", cell_nets);
  define_functions(graph);
}

}  // namespace
}  // namespace quillon::python

PYBIND11_MODULE(_core, m) {
  using namespace quillon::python;
  install_handlers();
  register_errors();
  m.attr("__version__") = QUILLON_VERSION;
  define_graph(m);
  m.def("read", read_path);
  m.def("from_csr", from_csr);
  m.def("lint", lint_path);
  m.def("write_page", [](const py::bytes& path, const py::bytes& page) { write_page(path, page); });
}
