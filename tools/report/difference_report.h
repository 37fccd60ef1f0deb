#pragma once
// Differences of two hypergraphs as text and as JSON on standard output.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/difference.h"

namespace quillon::tool {

/// A net of a file.
struct NetOfFile {
  int net;
  std::size_t line;  // 0: unknown
  int weight;
  std::span<const int> pins;
};

/// A net and its counterpart, or one of them.
struct NetsOfFiles {
  std::optional<NetOfFile> first;
  std::optional<NetOfFile> second;
};

/// Nets that differ in the same way.
struct DifferentNets {
  std::size_t count = 0;
  std::vector<NetsOfFiles> shown;  // the first of them
};

struct DifferenceModel {
  std::string first_file;
  std::string second_file;
  const Hypergraph* first = nullptr;
  const Hypergraph* second = nullptr;
  measures::Tolerance tolerance;
  measures::Difference difference;
  std::size_t nweights_shown = 0;  // cells of different weights
  DifferentNets changed;
  DifferentNets moved;
  DifferentNets only_first;
  DifferentNets only_second;
};

void print_difference_text(const DifferenceModel& model);
void print_difference_json(const DifferenceModel& model);

}  // namespace quillon::tool
