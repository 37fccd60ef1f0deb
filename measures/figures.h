#pragma once
/// @file
/// Figures of a hypergraph: degrees, sizes and weights, each with range, average and spread.

#include <cstdint>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Values in increasing order, each with the number of items that have it.
using Distribution = std::vector<std::pair<int, int>>;

/// Degrees of all cells (nets of a cell), or sizes of all nets (pins of a net).
struct Lengths {
  int count = 0;              ///< Number of items. Without any, the averages are NaN and all else is 0.
  int min = 0;                ///< Smallest length.
  int min_above_zero = 0;     ///< Smallest length above 0; 0 if there is none.
  int nzero = 0;              ///< Number of items of length 0.
  int max = 0;                ///< Largest length.
  double average = 0;         ///< Number of pins over `count`.
  double deviation = 0;       ///< Standard deviation of the population: squares are divided by `count`.
  double variation = 0;       ///< Coefficient of variation: `deviation` over `average`.
  Distribution distribution;  ///< Number of items by length.
};

/// Weights of all cells or of all nets; all 0 without any.
struct Weights {
  int min = 0;             ///< Smallest weight.
  int max = 0;             ///< Largest weight.
  std::int64_t total = 0;  ///< Exact sum, where the record's own sums wrap at 32 bits.
};

/// The figures of one hypergraph.
struct Figures {
  int ncells = 0;   ///< Number of cells.
  int nnets = 0;    ///< Number of nets.
  int npins = 0;    ///< Number of pins.
  Lengths degrees;  ///< Of cells.
  Lengths sizes;    ///< Of nets.
  Weights cells;    ///< The cells' `w`.
  Weights nets;     ///< The nets' `w`.
};

/// Computes the figures of a hypergraph.
///
/// @param h   Read only. Needs the lists of both sides, and `_p` as the number of their pins.
/// @return    All values, computed anew.
/// @par Cost  O(_c + _n) time; memory for one count a length, up to the longest.
Figures figures_of(const Hypergraph& h);

/// Counts the cells of each weight `w`.
///
/// @param h   Read only. Needs the cells' weights, no lists.
/// @return    Number of cells by weight.
/// @par Cost  O(_c log _c) time, _c ints of memory.
Distribution cell_weight_distribution(const Hypergraph& h);

/// Counts the nets of each weight `w`.
///
/// @param h   Read only. Needs the nets' weights, no lists.
/// @return    Number of nets by weight.
/// @par Cost  O(_n log _n) time, _n ints of memory.
Distribution net_weight_distribution(const Hypergraph& h);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
