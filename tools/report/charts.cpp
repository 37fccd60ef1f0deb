#include "tools/report/charts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "measures/groups.h"
#include "tools/report/png.h"
#include "tools/report/svg.h"
#include "tools/report/text.h"

namespace quillon::tool {
namespace {

using svg::kBelow;
using svg::kLeft;
using svg::kPlotEnd;
using svg::kPlotWidth;
using svg::kTop;
using svg::Scale;

constexpr double kForLegend = 30;

// On a logarithmic scale from the faintest shade for `smallest` to the full one for `largest`; values up to 0
// are transparent.
std::uint8_t shade_of(double value, double smallest, double largest) {
  constexpr int kFaintest = 70;
  constexpr int kFull = 255;
  if (value <= 0) return 0;
  const double range = std::log(largest) - std::log(smallest);
  const double share = range > 0 ? (std::log(value) - std::log(smallest)) / range : 1;
  return static_cast<std::uint8_t>(kFaintest + std::lround(share * (kFull - kFaintest)));
}

Shades shades_of(const DensityGrid& grid) {
  Shades shades{grid.ncolumns, grid.nrows, {}};
  for (const double density : grid.densities)
    shades.values.push_back(shade_of(density, grid.smallest, grid.largest));
  return shades;
}

struct Extent {
  std::int64_t smallest = 0;
  std::int64_t largest = 0;
};

// Extent of the weights above 0 between different groups.
Extent extent_between(const measures::CutMatrix& matrix) {
  Extent extent;
  for (int a = 0; a < matrix.ngroups; ++a) {
    for (int b = 0; b < a; ++b) {
      const std::int64_t weight = matrix.at(a, b);
      if (weight <= 0) continue;
      extent.smallest = extent.smallest == 0 ? weight : std::min(extent.smallest, weight);
      extent.largest = std::max(extent.largest, weight);
    }
  }
  return extent;
}

Shades shades_of(const measures::CutMatrix& matrix, const Extent& extent) {
  const auto smallest = static_cast<double>(extent.smallest);
  const auto largest = static_cast<double>(extent.largest);
  Shades shades{matrix.ngroups, matrix.ngroups, {}};
  for (int a = 0; a < matrix.ngroups; ++a) {
    for (int b = 0; b < matrix.ngroups; ++b) {
      const double weight = a == b ? 0 : static_cast<double>(matrix.at(a, b));
      shades.values.push_back(shade_of(weight, smallest, largest));
    }
  }
  return shades;
}

// Bars of 1 have some height, and a bar reaches half way to its neighbours.
constexpr double kHalf = 0.5;
constexpr double kZeroSlot = 30;  // left of the logarithmic axis, for the bar of 0

std::string distribution_bar(const Bin& bin, const Scale& x, const Scale& y, const std::string& title) {
  const double begin = bin.lo == 0 ? kLeft + 2 : x.at(std::log10(bin.lo - kHalf));
  const double end = bin.lo == 0 ? kLeft + kZeroSlot - 10 : x.at(std::log10(bin.hi + kHalf));
  const double top = y.at(std::log10(static_cast<double>(bin.count)));
  const double gap = std::min(1.0, (end - begin) / 5);
  return svg::bar({begin + gap / 2, top, end - begin - gap, y.begin - top}, title);
}

std::string weight_bar(const std::vector<std::int64_t>& weights, int first, int last, const Scale& x,
                       const Scale& y) {
  const std::int64_t weight = *std::max_element(weights.begin() + first, weights.begin() + last + 1);
  const double top = std::min(y.begin, y.at(static_cast<double>(weight)));
  const double width = x.at(last + 1) - x.at(first);
  // Gaps between narrow bars would look like grid lines: these bars overlap by a pixel instead.
  constexpr double kNarrow = 3;
  const double gap = width < kNarrow ? -1 : std::min(2.0, width / 5);
  const std::string parts = first == last ? "part " + grouped(first)
                                          : "parts " + grouped(first) + " to " + grouped(last) + ", at most";
  return svg::bar({x.at(first) + gap / 2, top, width - gap, y.begin - top},
                  parts + ": weight " + grouped(weight));
}

}  // namespace

std::string distribution_chart(const std::vector<Bin>& bins, const std::string& x_label,
                               const std::string& y_label, const Caption& caption) {
  constexpr double kHeight = 260;
  constexpr double kBottom = kHeight - kBelow;
  const bool has_zero = !bins.empty() && bins.front().lo == 0;
  std::int64_t most = 1;
  for (const Bin& bin : bins) most = std::max(most, bin.count);
  const int largest = bins.empty() ? 1 : bins.back().hi;
  const Scale x{std::log10(kHalf), std::log10(std::max(largest + kHalf, 10 + kHalf)),
                kLeft + (has_zero ? kZeroSlot : 0), kPlotEnd};
  const Scale y{std::log10(kHalf), std::log10(std::max(1.3 * static_cast<double>(most), 10.0)), kBottom,
                kTop};

  std::string content = svg::logarithmic_y_axis(y) + svg::logarithmic_x_axis(x, kBottom);
  if (has_zero)
    content += svg::line("axis", kLeft, kBottom, kLeft + kZeroSlot - 8, kBottom) +
               svg::label(kLeft + (kZeroSlot - 8) / 2, kBottom + 18, "middle", "0");
  for (const Bin& bin : bins) {
    const std::string range = bin.lo == bin.hi ? grouped(bin.lo) : grouped(bin.lo) + " to " + grouped(bin.hi);
    content +=
        distribution_bar(bin, x, y, fmt::format("{} {}: {} {}", x_label, range, grouped(bin.count), y_label));
  }
  return svg::drawing(kHeight, caption, content + svg::axis_names(kBottom, x_label, y_label));
}

std::string density_picture(const DensityGrid& grid, int ncells, int nnets, const Caption& caption) {
  constexpr double kFlattest = 0.5;
  constexpr double kSteepest = 1.3;
  const double shape = ncells > 0 && nnets > 0 ? static_cast<double>(nnets) / ncells : kFlattest;
  const double height = kPlotWidth * std::clamp(shape, kFlattest, kSteepest);
  const double bottom = kTop + height;

  std::string content;
  if (grid.largest > 0) content += svg::picture(shades_of(grid), height);
  content += svg::frame(height);
  if (ncells > 0) content += svg::x_numbers(1, ncells, bottom);
  if (nnets > 0) content += svg::y_numbers(1, nnets, bottom);
  if (grid.largest > 0)
    content +=
        svg::legend(caption.id, bottom + kBelow + 8, percentage(grid.smallest), percentage(grid.largest));
  else
    content += svg::label(kLeft + kPlotWidth / 2, kTop + height / 2, "middle", "no pins");
  return svg::drawing(bottom + kBelow + kForLegend, caption,
                      content + svg::axis_names(bottom, "cells", "nets"));
}

std::string parts_chart(const std::vector<std::int64_t>& weights, const Caption& caption) {
  constexpr double kHeight = 220;
  constexpr double kBottom = kHeight - kBelow;
  constexpr int kMostBars = 330;
  const auto nparts = static_cast<int>(weights.size());
  const int nbars = std::min(nparts, kMostBars);
  const std::int64_t heaviest = std::max<std::int64_t>(1, *std::max_element(weights.begin(), weights.end()));
  const double average =
      static_cast<double>(std::accumulate(weights.begin(), weights.end(), std::int64_t{0})) / nparts;
  const Scale x{0, static_cast<double>(nparts), kLeft, kPlotEnd};
  const Scale y{0, 1.08 * static_cast<double>(heaviest), kBottom, kTop};

  std::string content = svg::linear_y_axis(y);
  for (int k = 0; k < nbars; ++k)
    content += weight_bar(weights, measures::group_begin(k, nparts, nbars),
                          measures::group_begin(k + 1, nparts, nbars) - 1, x, y);
  const double average_at = std::min(kBottom, y.at(average));
  content += svg::line("axis", kLeft, kBottom, kPlotEnd, kBottom) + svg::x_numbers(0, nparts, kBottom) +
             svg::line("mean", kLeft, average_at, kPlotEnd, average_at);
  return svg::drawing(kHeight, caption,
                      content + svg::axis_names(kBottom, "part (dashed: average weight)", "weight"));
}

std::string cut_picture(const measures::CutMatrix& matrix, const Caption& caption) {
  const double bottom = kTop + kPlotWidth;
  const Extent extent = extent_between(matrix);
  std::string content;
  if (extent.largest > 0)
    content +=
        svg::picture(shades_of(matrix, extent), kPlotWidth) +
        svg::legend(caption.id, bottom + kBelow + 8, grouped(extent.smallest), grouped(extent.largest));
  content += svg::frame(kPlotWidth) + svg::x_numbers(0, matrix.nparts, bottom) +
             svg::y_numbers(0, matrix.nparts, bottom);
  return svg::drawing(bottom + kBelow + kForLegend, caption,
                      content + svg::axis_names(bottom, "part", "part"));
}

}  // namespace quillon::tool
