#include "tools/report/summaries.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "hypergraph/detail/lists.h"
#include "measures/groups.h"

namespace quillon::tool {
namespace {

constexpr int kMostSingleBins = 40;

// 1, 2, 3, 4, 5, 6, 8, 10, 14, .. up to the first above the largest value.
std::vector<std::int64_t> bin_borders(int largest) {
  constexpr double kBinsPerDecade = 8;
  std::vector<std::int64_t> borders{1};
  for (int k = 1; borders.back() <= largest; ++k) {
    const auto border = static_cast<std::int64_t>(std::ceil(std::pow(10, k / kBinsPerDecade) - 1e-6));
    if (border > borders.back()) borders.push_back(border);
  }
  return borders;
}

template <typename Item>
std::vector<int> most(const Item* items, int nitems, std::size_t count, int (*measure)(const Item&)) {
  std::vector<int> numbers(static_cast<std::size_t>(nitems));
  std::iota(numbers.begin(), numbers.end(), 1);
  count = std::min(count, numbers.size());
  std::partial_sort(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count), numbers.end(),
                    [=](int a, int b) {
                      const int by_measure = measure(items[b]) - measure(items[a]);
                      return by_measure != 0 ? by_measure < 0 : a < b;
                    });
  numbers.resize(count);
  return numbers;
}

void set_densities(DensityGrid& grid, int ncells, int nnets) {
  for (int row = 0; row < grid.nrows; ++row) {
    const double height = measures::group_begin(row + 1, nnets, grid.nrows) -
                          static_cast<double>(measures::group_begin(row, nnets, grid.nrows));
    for (int column = 0; column < grid.ncolumns; ++column) {
      const double width = measures::group_begin(column + 1, ncells, grid.ncolumns) -
                           static_cast<double>(measures::group_begin(column, ncells, grid.ncolumns));
      const double density = static_cast<double>(grid.npins[grid.densities.size()]) / (width * height);
      grid.densities.push_back(density);
      grid.largest = std::max(grid.largest, density);
      if (density > 0) grid.smallest = grid.smallest > 0 ? std::min(grid.smallest, density) : density;
    }
  }
}

}  // namespace

std::vector<Bin> logarithmic_bins(const measures::Distribution& distribution) {
  if (distribution.empty()) return {};
  const int largest = distribution.back().first;
  const std::vector<std::int64_t> borders = bin_borders(largest);
  const bool is_single = largest <= kMostSingleBins;
  std::vector<Bin> bins;
  for (const auto& [value, count] : distribution) {
    if (!bins.empty() && value <= bins.back().hi) {
      bins.back().count += count;
      continue;
    }
    const auto above = std::upper_bound(borders.begin(), borders.end(), value);
    if (value == 0 || is_single)
      bins.push_back({value, value, count});
    else
      bins.push_back({static_cast<int>(*(above - 1)),
                      static_cast<int>(std::min<std::int64_t>(*above - 1, largest)), count});
  }
  return bins;
}

DensityGrid density_grid(const Hypergraph& h, int most_columns, int most_rows) {
  DensityGrid grid;
  grid.ncolumns = std::min(h._c, most_columns);
  grid.nrows = std::min(h._n, most_rows);
  const auto ncolumns = static_cast<std::size_t>(grid.ncolumns);
  grid.npins.assign(ncolumns * static_cast<std::size_t>(grid.nrows), 0);
  std::vector<std::size_t> column_of(static_cast<std::size_t>(h._c) + 1);
  for (int i = 1; i <= h._c; ++i)
    column_of[static_cast<std::size_t>(i)] =
        static_cast<std::size_t>(measures::group_of(i - 1, h._c, grid.ncolumns));
  for (int j = 1; j <= h._n; ++j) {
    const std::size_t row = static_cast<std::size_t>(measures::group_of(j - 1, h._n, grid.nrows)) * ncolumns;
    for (const int i : pins_of(h._nlst[j])) ++grid.npins[row + column_of[static_cast<std::size_t>(i)]];
  }
  set_densities(grid, h._c, h._n);
  return grid;
}

std::vector<int> largest_nets(const Hypergraph& h, std::size_t count) {
  return most(h._nlst, h._n, count, net_size);
}

std::vector<int> busiest_cells(const Hypergraph& h, std::size_t count) {
  return most(h._clst, h._c, count, degree);
}

}  // namespace quillon::tool
