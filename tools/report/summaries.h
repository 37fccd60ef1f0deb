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

std::vector<std::pair<int, int>> cell_weight_distribution(const Hypergraph& h);
std::vector<std::pair<int, int>> net_weight_distribution(const Hypergraph& h);

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

/// Between groups of parts: the weight of the nets with pins in both. On the diagonal: of those with all
/// their pins in the group.
struct CutMatrix {
  int nparts = 0;
  int ngroups = 0;  // of parts with consecutive numbers; a part is a group where there are few
  std::vector<std::int64_t> weights;  // group by group

  [[nodiscard]] std::int64_t at(int a, int b) const {
    return weights[static_cast<std::size_t>(a) * static_cast<std::size_t>(ngroups) +
                   static_cast<std::size_t>(b)];
  }
};

CutMatrix cut_matrix(const Hypergraph& h, const std::vector<int>& parts, int nparts, int most_groups);

/// In which of `ngroups` runs of `count` items, as even as can be, item `index` (from 0) lies.
int group_of(int index, int count, int ngroups);

/// The first item of a run.
int group_begin(int group, int count, int ngroups);

}  // namespace quillon::tool
