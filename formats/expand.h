#pragma once
/// @file
/// Graphs of hypergraphs: cliques, stars, bipartite and line graphs; and the dual hypergraph.

#include <atomic>
#include <cstdint>

#include "formats/net_lists.h"
#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Which graph a hypergraph becomes. Cells are vertices 1 .. _c, except in kLine.
enum class GraphKind {
  kStar,       ///< Nets of two pins are edges, larger ones a vertex of weight 0 each, joined to their cells.
  kClique,     ///< Cells on a common net are joined.
  kLine,       ///< Nets are the vertices; those with a common cell are joined, once for each such cell.
  kBipartite,  ///< Net j is vertex _c + j, joined to its cells.
};

/// The weight of each edge of the clique of a net of weight w and s cells.
enum class CliqueWeight {
  kOne,      ///< w.
  kUniform,  ///< 2 w / (s (s - 1)): all edges of the net weigh w together.
  kSize,     ///< w / (s - 1): the edges of each cell weigh w together.
};

/// How to make a graph.
struct ExpandOptions {
  GraphKind kind = GraphKind::kClique;              ///< The graph.
  CliqueWeight clique_weight = CliqueWeight::kOne;  ///< Of kClique.
  int scale = 1;  ///< Weights of kClique are multiplied by it, then rounded, to 1 at least.
};

/// What a graph will have, before it is made.
struct GraphSize {
  std::int64_t nvertices = 0;  ///< Number of vertices.
  std::int64_t nedges = 0;     ///< Number of edges, before parallel ones are merged.
  int largest = 0;             ///< Largest clique: pins of a net, or with kLine nets of a cell; otherwise 0.
  int owner = 0;               ///< The first net or cell that has it; 0 without one.
};

/// Counts what a graph will have.
///
/// @param h        Read only. Needs both sides; no net has a cell twice.
/// @param kind     The graph.
GraphSize size_of_graph(const Hypergraph& h, GraphKind kind);

/// Writes a graph in the METIS format, or as a symmetric matrix. Parallel edges are merged; their weights are
/// added.
///
/// @param h          As for `size_of_graph`.
/// @param options    How to make it.
/// @param as_matrix  In the Matrix Market format, without the weights of vertices.
/// @param filename   File to write.
/// @param done       Counts the vertices, twice each, for other threads.
/// @par Errors       Fatal (util/util.h) if the file cannot be written, or a weight has more than 32 bits.
/// @par Cost         The edges, before they are merged, are computed twice, and never stored: the memory is
///                   an int for each vertex, and the edges of one vertex.
void write_expanded(const Hypergraph& h, const ExpandOptions& options, bool as_matrix, const char* filename,
                    std::atomic<std::uint64_t>& done);

/// The dual hypergraph: net i has the nets of cell i as its cells, with the weights that belong to them.
///
/// @param h  Read only. Needs both sides.
/// @return   For `to_record`.
NetLists dual_of(const Hypergraph& h);

/// Removes all but the first of the pins of a net on the same cell.
///
/// @param h  Read only. Needs its nets.
/// @return   For `to_record`.
NetLists without_repeated_pins(const Hypergraph& h);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
