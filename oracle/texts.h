#pragma once
/// @file
/// Slow, obvious readers of graphs and matrices. They know what is sound, but not what is wrong with the
/// rest.

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace quillon::oracle {

/// A METIS graph.
struct GraphText {
  int nvertices = 0;
  bool has_vertex_weights = false;
  bool has_edge_weights = false;
  std::vector<int> vertex_weights;        ///< The first of each vertex; empty if there are none.
  std::vector<std::array<int, 3>> edges;  ///< Smaller end, larger end, weight, by the line of the former.
};

/// @throws std::runtime_error  if the text is no sound graph.
GraphText parse_graph(const std::string& text);

/// A sparse matrix in the Matrix Market format.
struct MatrixText {
  int nrows = 0;
  int ncolumns = 0;
  std::vector<std::pair<int, int>> entries;  ///< Each once, in the order of the text, mirror images included.
  int nrepetitions = 0;  ///< Entries given again; those of a pair of mirror images count once.
};

/// @throws std::runtime_error  if the text is no sound matrix.
MatrixText parse_matrix(const std::string& text);

}  // namespace quillon::oracle
