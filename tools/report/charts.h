#pragma once
// The page's charts, as SVG that gets its colours from the page. Each describes itself to screen readers.

#include <cstdint>
#include <string>
#include <vector>

#include "measures/partition.h"
#include "tools/report/summaries.h"

namespace quillon::tool {

/// Title and description of a chart, for screen readers. `id` is unique in the page.
struct Caption {
  std::string id;
  std::string title;
  std::string description;
};

/// Bars over two logarithmic axes.
///
/// @param x_label  The value of a bin, such as "degree".
/// @param y_label  The items counted, such as "cells".
std::string distribution_chart(const std::vector<Bin>& bins, const std::string& x_label,
                               const std::string& y_label, const Caption& caption);

/// Pin density, cells from left to right and nets from top to bottom, with colours on a logarithmic scale.
std::string density_picture(const DensityGrid& grid, int ncells, int nnets, const Caption& caption);

/// The weight of each part, with a line at the average. Neighbouring parts share a bar where there are too
/// many; it shows the heaviest.
std::string parts_chart(const std::vector<std::int64_t>& weights, const Caption& caption);

/// The matrix between parts, with colours on a logarithmic scale. The diagonal stays empty.
std::string cut_picture(const measures::CutMatrix& matrix, const Caption& caption);

}  // namespace quillon::tool
