#include "tools/report/explanation_report.h"

#include <fmt/format.h>

#include <cstdint>

#include "util/util.h"

namespace quillon::tool {
namespace {

void print_heading(const char* heading) { uprintf("\n%s\n", heading); }

void print_count(std::int64_t count, const std::string& meaning) {
  uprintf("%s\n", fmt::format("{:>14}  {}", count, meaning).c_str());
}

// Prints what only some hypergraphs have.
void print_unless_zero(std::int64_t count, const std::string& meaning) {
  if (count != 0) print_count(count, meaning);
}

void print_cells(const measures::Counts& counts) {
  print_heading("Cells (vertices, nodes)");
  print_count(counts.ncells,
              "cells, those on no net included: the number in the header, where a format has one");
  print_count(counts.ncells_used,
              "cells on some net: the number of ids used, for programs that collect the ids of pins");
  print_count(counts.highest_cell, "highest number of a cell on a net, for programs that ignore the header");
  print_unless_zero(counts.nzero_cells, "cells of weight 0, such as pads; some programs refuse them");
}

void print_nets(const measures::Counts& counts) {
  print_heading("Nets (hyperedges, edges)");
  print_count(counts.nnets, "nets: the number in the header, where a format has one");
  print_count(counts.nnets - counts.nempty_nets - counts.nsingle_nets,
              "nets of two cells or more, for programs that remove the others, which are never cut");
  print_unless_zero(counts.nsingle_nets, "nets of one cell");
  print_unless_zero(counts.nempty_nets,
                    "nets without pins: blank lines in some formats; some programs refuse them");
  print_count(counts.nnets - counts.nparallel_nets,
              "nets with different cells, for programs that merge parallel nets");
  print_unless_zero(counts.nzero_nets, "nets of weight 0; some programs drop or refuse them");
}

void print_pins(const measures::Counts& counts) {
  print_heading("Pins (incidences, entries of a matrix)");
  print_count(counts.npins, "pins: all cell numbers of all nets");
  print_count(counts.npins - counts.nrepeated_pins,
              "different pins, for programs that remove a cell named twice by a net");
}

void print_graphs(const measures::Counts& counts) {
  print_heading("As a graph");
  print_count(std::int64_t{counts.ncells} + counts.nnets,
              "nodes of the bipartite graph: cells + nets; converters report this as vertices");
  print_count(counts.npins - counts.nrepeated_pins,
              "edges of the bipartite graph: one for each different pin");
  print_count(counts.npairs, "edges if each net becomes a clique, parallel edges included");
}

void print_weights(const measures::Counts& counts) {
  print_heading("Weights");
  print_count(counts.cell_weight, "weight of all cells");
  print_count(counts.net_weight, "weight of all nets, those that are never cut included");
}

}  // namespace

void print_explanation_text(const ExplanationModel& model) {
  uprintf("%s: format %s\n", model.file.c_str(), model.format.c_str());
  print_cells(model.counts);
  print_nets(model.counts);
  print_pins(model.counts);
  print_graphs(model.counts);
  print_weights(model.counts);
}

}  // namespace quillon::tool
