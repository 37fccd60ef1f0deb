#pragma once
// What pictures show of a hypergraph that has more in it than a picture can hold.

#include <cstdint>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/figures.h"

namespace quillon::tool {

/// How many items have a value in lo .. hi.
struct Bin {
  int lo;
  int hi;
  std::int64_t count;
};

/// Bins for a logarithmic axis, without the empty ones: one for each value where there are few values,
/// otherwise eight to a factor of ten. 0 has a bin of its own.
///
/// @param distribution  Values, not negative and increasing, and how many have each.
std::vector<Bin> logarithmic_bins(const std::vector<std::pair<int, int>>& distribution);

/// Pins counted on a grid, of which each column stands for as many cells as the next, but for one, and each
/// row for nets in the same way.
struct DensityGrid {
  int ncolumns = 0;
  int nrows = 0;
  std::vector<std::int64_t> npins;  // row by row
  std::vector<double> densities;    // pins over places where a pin could be
  double smallest = 0;              // above 0, unless all are 0
  double largest = 0;
};

DensityGrid density_grid(const Hypergraph& h, int most_columns, int most_rows);

/// The numbers of the nets with most pins, and of the cells with most nets, most first.
std::vector<int> largest_nets(const Hypergraph& h, std::size_t count);
std::vector<int> busiest_cells(const Hypergraph& h, std::size_t count);

}  // namespace quillon::tool
