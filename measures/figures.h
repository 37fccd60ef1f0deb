#pragma once
// The figures that stats, --json and the page report, from the cells and nets of a record.

#include <cstdint>
#include <utility>
#include <vector>

#include "formats/load.h"
#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Degrees of the cells or sizes of the nets. Without any, the averages are no numbers and the rest is 0.
struct Lengths {
  int count = 0;
  int min = 0;
  int min_above_zero = 0;  // 0 if all are
  int nzero = 0;
  int max = 0;
  double average = 0;
  double deviation = 0;                           // of the population: divided by the count
  double variation = 0;                           // the deviation over the average
  std::vector<std::pair<int, int>> distribution;  // value and how many have it, in increasing order
};

/// Weights of the cells or the nets, all 0 without any.
struct Weights {
  int min = 0;
  int max = 0;
  std::int64_t total = 0;
};

struct Figures {
  int ncells = 0;
  int nnets = 0;
  int npins = 0;
  Lengths degrees;
  Lengths sizes;
  Weights cells;
  Weights nets;
};

/// @param h  Both sides built.
Figures figures_of(const Hypergraph& h);

int degree_of(const Cell& cell);

}  // namespace quillon::tool
