#pragma once
// Pages with charts of hypergraphs, and what is wrong with files.

#include <cstddef>
#include <string>
#include <vector>

#include "formats/findings.h"
#include "python/core/graph.h"

namespace quillon::python {

/// A partition to show, and its heading.
struct ShownPartition {
  std::string heading;
  py::array parts;  // of each cell
  int nparts = 0;
};

/// The page of the tool's command report.
std::string html_page(Graph& graph, const std::string& title, const std::vector<ShownPartition>& partitions);

/// What to look for in a file.
struct LintRequest {
  std::string file;
  std::string format;  // empty: by suffix or content
  std::string model;
  std::size_t most_kept = 0;  // findings of each rule
};

/// All that is wrong with a file, or odd about it.
///
/// @throws std::invalid_argument  if there is no such format or model.
std::vector<formats::Finding> lint(const LintRequest& request);

}  // namespace quillon::python
