#include "formats/graph.h"

#include "formats/notes.h"
#include "formats/text_writer.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

void expect_32_bits(const GraphTotals& totals) {
  if (totals.nbeyond > 0)
    errexit("%s: the weights of parallel nets add up to more than 32 bits hold",
            counted(totals.nbeyond, "edge").c_str());
}

void write_vertex(TextWriter& out, Graph& graph, int u, const GraphTotals& totals) {
  if (totals.vertex_weights) out.number(graph.weight_of(u));
  bool is_first = !totals.vertex_weights;
  for (const Edge& edge : graph.edges_of(u)) {
    char* at = out.room(2 * TextWriter::kNumber);
    if (!is_first) *at++ = ' ';
    at = print(at, edge.neighbour);
    if (totals.edge_weights) {
      *at++ = ' ';
      at = print(at, static_cast<int>(edge.w));
    }
    out.end(at);
    is_first = false;
  }
  out.character('\n');
}

}  // namespace

GraphTotals totals_of(Graph& graph) {
  GraphTotals totals;
  for (int u = 1; u <= graph.nvertices(); ++u) {
    if (graph.weight_of(u) != 1) totals.vertex_weights = true;
    for (const Edge& edge : graph.edges_of(u)) {
      if (edge.neighbour < u) continue;  // counted there
      ++totals.nedges;
      if (edge.w < 1) ++totals.nbelow_one;
      if (edge.w != static_cast<int>(edge.w)) ++totals.nbeyond;
      if (edge.w != 1) totals.edge_weights = true;
    }
  }
  return totals;
}

void write_graph(Graph& graph, const GraphTotals& totals, const char* filename, const char* tag) {
  expect_32_bits(totals);
  const char* const fmt =
      totals.vertex_weights ? (totals.edge_weights ? " 11" : " 10") : (totals.edge_weights ? " 1" : "");
  TextWriter out(filename, tag);
  out.number(graph.nvertices());
  out.character(' ');
  out.number(totals.nedges);
  out.text(fmt);
  out.character('\n');
  for (int u = 1; u <= graph.nvertices(); ++u) write_vertex(out, graph, u, totals);
  out.close();
}

void write_graph_as_matrix(Graph& graph, const GraphTotals& totals, const char* filename) {
  expect_32_bits(totals);
  TextWriter out(filename, "quillon expand: matrix");
  out.text("%%MatrixMarket matrix coordinate ");
  out.text(totals.edge_weights ? "integer symmetric\n" : "pattern symmetric\n");
  write_with_blank(out, graph.nvertices());
  write_with_blank(out, graph.nvertices());
  out.number(totals.nedges);
  out.character('\n');
  for (int u = 1; u <= graph.nvertices(); ++u) {
    for (const Edge& edge : graph.edges_of(u)) {
      if (edge.neighbour > u) continue;  // the upper triangle
      write_with_blank(out, u);
      out.number(edge.neighbour);
      if (totals.edge_weights) {
        out.character(' ');
        out.number(edge.w);
      }
      out.character('\n');
    }
  }
  out.close();
}

}  // namespace quillon::formats
