#pragma once
// Pages with charts of hypergraphs, and what is wrong with files.

#include <optional>
#include <string>
#include <vector>

#include "formats/findings.h"
#include "python/core/build.h"
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

/// All errors of a file, as far as its reader can go on after one.
std::vector<formats::Finding> lint(const ReadRequest& request);

}  // namespace quillon::python
