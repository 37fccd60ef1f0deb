#pragma once
// Pictures of a page, as SVG that takes its colours from the page. Each says in words what it shows.

#include <cstdint>
#include <string>
#include <vector>

#include "measures/partition.h"
#include "tools/report/summaries.h"

namespace quillon::tool {

/// What a picture is called and says to those who do not see it. `id` is unique in the page.
struct Caption {
  std::string id;
  std::string title;
  std::string description;
};

/// Bars over two logarithmic axes.
///
/// @param x_label  What the bins are of, such as "degree".
/// @param y_label  What they count, such as "cells".
std::string distribution_chart(const std::vector<Bin>& bins, const std::string& x_label,
                               const std::string& y_label, const Caption& caption);

/// Cells from left to right, nets from top to bottom; the more pins, the more colour, by their logarithm.
std::string density_picture(const DensityGrid& grid, int ncells, int nnets, const Caption& caption);

/// The weight of every part, or of the heaviest one in each of many runs, with a line at the average.
std::string parts_chart(const std::vector<std::int64_t>& weights, const Caption& caption);

/// Parts against parts; the more weight is between them, the more colour, by its logarithm.
std::string cut_picture(const measures::CutMatrix& matrix, const Caption& caption);

}  // namespace quillon::tool
