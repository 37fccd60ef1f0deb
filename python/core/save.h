#pragma once
// Hypergraphs to files.

#include <optional>
#include <string>

#include "python/core/graph.h"

namespace quillon::python {

/// How to write a file.
struct WriteRequest {
  std::string file;
  std::string format;          // empty: by suffix, or else our own
  std::optional<int> weights;  // 0 none, 1 cells, 2 nets, 3 both; none: those of the hypergraph
  int numbering = 1;
  std::string model;
  bool replace_protected = false;
};

/// Writes the whole file or nothing. Warns of what it does not hold, or some readers refuse.
///
/// @throws std::invalid_argument  if the format is not written, or not with these options.
void write(Graph& graph, const WriteRequest& request);

/// Writes a page, whole or not at all.
void write_page(const std::string& file, const std::string& page);

}  // namespace quillon::python
