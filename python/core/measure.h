#pragma once
// Figures of hypergraphs and partitions, as the JSON of the tool.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/core/graph.h"

namespace quillon::python {

/// Names as messages and JSON show them.
std::string stats_json(Graph& graph, const std::string& file);

/// A limit on the balance, such as "epsilon" and "0.03".
using LimitText = std::pair<std::string, std::string>;

/// What to find out about a partition.
struct EvaluationRequest {
  py::array parts;  // of each cell
  int nparts = 0;
  std::vector<LimitText> limits;
  std::optional<py::array> fixed;    // part of each cell, or -1
  std::vector<std::string> targets;  // of each part, or empty
  bool are_shares = false;           // targets
  bool details = false;
  bool matrix = false;
  int nnets = 0;  // costliest nets to list
};

/// @throws std::invalid_argument  if an argument is out of range.
std::string evaluation_json(Graph& graph, const EvaluationRequest& request);

std::string comparison_json(Graph& graph, const py::array& first, const py::array& second, int nparts_first,
                            int nparts_second);

/// Pins that repeat a cell of their net.
std::int64_t count_repeated_pins(Graph& graph);

/// What the consistency checks of the module say: an error or nothing.
std::optional<std::string> broken_rule(Graph& graph);

}  // namespace quillon::python
