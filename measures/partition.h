#pragma once
// Partitions: a part for every cell, and what the parts make of the nets.

#include <cstdint>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Reads a part number for every cell, between any white space. Ends the program when one is none, or not
/// below `nparts`, or when there are more or fewer than cells.
///
/// @param nparts  Number of parts, 0 if it is not known: then there are at most as many as cells.
/// @return        By cell; entry 0 is not used.
std::vector<int> read_parts(const std::string& file, int ncells, int nparts);

/// Cells and their weights, by part.
struct PartSizes {
  std::vector<std::int64_t> ncells;
  std::vector<std::int64_t> weights;
};

/// With L the number of parts that a net's pins lie in, over the nets with L > 1: their number, and the sums
/// of their weights w times 1, L - 1 and L.
struct CutSizes {
  std::int64_t ncut_nets = 0;
  std::int64_t cut = 0;
  std::int64_t connectivity_minus_one = 0;
  std::int64_t sum_of_external_degrees = 0;
};

PartSizes part_sizes(const Hypergraph& h, const std::vector<int>& parts, int nparts);

CutSizes cut_sizes(const Hypergraph& h, const std::vector<int>& parts, int nparts);

/// By how much the heaviest part exceeds the average, as a share of the average; 0 if all weights together
/// are 0.
double imbalance(const PartSizes& sizes);

}  // namespace quillon::tool
