#pragma once
// Summaries of a hypergraph at the resolution of a chart.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/figures.h"

namespace quillon::tool {

/// Number of items with a value in lo .. hi.
struct Bin {
  int lo;
  int hi;
  std::int64_t count;
};

/// Bins for a logarithmic axis, without empty ones: one bin a value if no value is above 40, otherwise eight
/// to a factor of ten. 0 has a bin of its own.
///
/// @param distribution  Values at least 0.
std::vector<Bin> logarithmic_bins(const measures::Distribution& distribution);

/// Pins counted in boxes: columns are groups of cells, rows are groups of nets (measures/groups.h).
struct DensityGrid {
  int ncolumns = 0;
  int nrows = 0;
  std::vector<std::int64_t> npins;  // row by row
  std::vector<double> densities;    // pins over cells times nets of the box, row by row
  double smallest = 0;              // density above 0; 0 if there is none
  double largest = 0;
};

/// @param most_columns,most_rows  Largest size of the grid, at least 1 each.
DensityGrid density_grid(const Hypergraph& h, int most_columns, int most_rows);

/// Numbers of the `count` nets with most pins, or cells with most nets: most first, ties by number.
std::vector<int> largest_nets(const Hypergraph& h, std::size_t count);
std::vector<int> busiest_cells(const Hypergraph& h, std::size_t count);

}  // namespace quillon::tool
