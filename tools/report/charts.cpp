#include "tools/report/charts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "measures/groups.h"
#include "tools/report/png.h"
#include "tools/report/text.h"

namespace quillon::tool {
namespace {

// Of the drawing, which the page scales as a whole. Texts are of 12 units.
constexpr double kWidth = 400;
constexpr double kLeft = 56;
constexpr double kRight = 12;
constexpr double kTop = 26;
constexpr double kBelow = 42;  // for the ticks and the name of the axis
constexpr double kPlotWidth = kWidth - kLeft - kRight;

// From values, which may be logarithms, to places.
struct Scale {
  double first;
  double last;
  double begin;
  double end;

  [[nodiscard]] double at(double value) const {
    return begin + (value - first) / (last - first) * (end - begin);
  }
};

std::string open_picture(double height, const Caption& caption) {
  const char* const id = caption.id.c_str();
  return formatted("<svg viewBox=\"0 0 %.0f %.0f\" role=\"img\" aria-labelledby=\"%s-title %s-desc\">\n",
                   kWidth, height, id, id) +
         formatted("<title id=\"%s-title\">%s</title>\n<desc id=\"%s-desc\">%s</desc>\n", id,
                   escaped(caption.title).c_str(), id, escaped(caption.description).c_str());
}

std::string label(double x, double y, const char* anchor, const std::string& text) {
  return formatted("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", x, y, anchor,
                   escaped(text).c_str());
}

std::string line(const char* kind, double x1, double y1, double x2, double y2) {
  return formatted("<line class=\"%s\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" />\n", kind, x1, y1,
                   x2, y2);
}

std::string bar(double x, double y, double width, double height, const std::string& title) {
  return formatted("<rect class=\"bar\" x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\">", x, y, width,
                   height) +
         "<title>" + escaped(title) + "</title></rect>\n";
}

// Ticks are round numbers.
std::string tick_label(double value) {
  if (value >= 1e9) return formatted("%g G", value * 1e-9);
  if (value >= 1e6) return formatted("%g M", value * 1e-6);
  if (value >= 1e5) return formatted("%g k", value * 1e-3);
  return grouped(std::llround(value));
}

std::string y_tick(const Scale& y, double at, const std::string& text) {
  return line("grid", kLeft, y.at(at), kWidth - kRight, y.at(at)) +
         label(kLeft - 6, y.at(at) + 4, "end", text);
}

std::string x_tick(const Scale& x, double at, double bottom, const std::string& text) {
  constexpr double kHalfOfLetter = 3.8;
  const double most_right = kWidth - kHalfOfLetter * static_cast<double>(text.size());
  return line("axis", x.at(at), bottom, x.at(at), bottom + 5) +
         label(std::min(x.at(at), most_right), bottom + 18, "middle", text);
}

std::string axis_names(double bottom, const std::string& x_name, const std::string& y_name) {
  return label(kLeft + kPlotWidth / 2, bottom + 36, "middle", x_name) +
         label(kLeft - 6, kTop - 12, "end", y_name);
}

// A mark at 2, 3, .. 9 times each power of ten, of which 2 and 5 are labelled where there is room.
std::string logarithmic_x_axis(const Scale& x, double bottom) {
  constexpr double kRoomForMore = 2.3;
  const bool has_room = x.last - x.first < kRoomForMore;
  std::string svg = line("axis", x.begin, bottom, x.end, bottom);
  for (int power = 0; power <= x.last; ++power) {
    for (int digit = 1; digit <= 9; ++digit) {
      const double value = digit * std::pow(10, power);
      const double at = std::log10(value);
      if (at > x.last) break;
      const bool is_labelled = digit == 1 || (has_room && (digit == 2 || digit == 5));
      svg += is_labelled ? x_tick(x, at, bottom, tick_label(value))
                         : line("axis", x.at(at), bottom, x.at(at), bottom + 3);
    }
  }
  return svg;
}

std::string logarithmic_y_axis(const Scale& y) {
  std::string svg;
  for (int power = 0; power <= y.last; ++power) svg += y_tick(y, power, tick_label(std::pow(10, power)));
  return svg;
}

// 1, 2 or 5 times a power of ten, so that not more than so many steps go into the range.
std::int64_t linear_step(double range, int nsteps) {
  for (std::int64_t power = 1;; power *= 10)
    for (const std::int64_t digit : {1, 2, 5})
      if (static_cast<double>(digit * power * nsteps) >= range) return digit * power;
}

std::string number_mark(const Scale& scale, bool is_x, double bottom, double at, const std::string& text) {
  if (is_x) return x_tick(scale, at, bottom, text);
  return line("axis", kLeft - 5, scale.at(at), kLeft, scale.at(at)) +
         label(kLeft - 8, scale.at(at) + 4, "end", text);
}

// Marks for numbers of items that lie side by side: each stands at the middle of its item.
std::string number_marks(const Scale& scale, bool is_x, double bottom, int first, int count) {
  constexpr int kLongNumbers = 1000;
  const std::int64_t step = linear_step(count, count < kLongNumbers ? 8 : 6);
  std::string svg;
  for (std::int64_t number = first == 0 ? 0 : step; number < std::int64_t{first} + count; number += step) {
    const double middle = static_cast<double>(number - first) + 0.5;
    svg += number_mark(scale, is_x, bottom, middle, tick_label(static_cast<double>(number)));
  }
  return svg;
}

std::string picture(const Shades& shades, double width, double height) {
  return formatted("<image x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" ", kLeft, kTop, width,
                   height) +
         "preserveAspectRatio=\"none\" href=\"data:image/png;base64," + base64(png_of(shades)) + "\" />\n";
}

std::string frame(double height) {
  return formatted("<rect class=\"frame\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" />\n", kLeft,
                   kTop, kPlotWidth, height);
}

constexpr int kFaintest = 70;
constexpr int kFull = 255;

// What the shades mean, from the faintest to the full colour; one shade where all is the same.
std::string legend(const std::string& id, double y, const std::string& least, const std::string& most) {
  constexpr double kLength = 120;
  constexpr double kSwatch = 20;
  const double middle = kLeft + kPlotWidth / 2;
  if (least == most)
    return formatted("<rect class=\"swatch\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"10\" />\n",
                     middle - kSwatch, y, kSwatch) +
           label(middle + 8, y + 9, "start", most);
  const double begin = middle - kLength / 2;
  std::string svg = formatted(
      "<defs><linearGradient id=\"%s-shades\"><stop class=\"faint\" offset=\"0\" /><stop class=\"full\" "
      "offset=\"1\" /></linearGradient></defs>\n",
      id.c_str());
  svg += formatted("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"10\" fill=\"url(#%s-shades)\" />\n",
                   begin, y, kLength, id.c_str());
  return svg + label(begin - 8, y + 9, "end", least) + label(begin + kLength + 8, y + 9, "start", most);
}

// From the smallest value above 0 to the largest, by the logarithm; what is not above 0 has no colour.
std::uint8_t shade_of(double value, double smallest, double largest) {
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

// Of what is above 0 between different groups.
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

std::string range_of(const Bin& bin) {
  return bin.lo == bin.hi ? grouped(bin.lo) : grouped(bin.lo) + " to " + grouped(bin.hi);
}

}  // namespace

std::string distribution_chart(const std::vector<Bin>& bins, const std::string& x_label,
                               const std::string& y_label, const Caption& caption) {
  constexpr double kHeight = 260;
  constexpr double kBottom = kHeight - kBelow;
  constexpr double kZeroSlot = 30;  // for the bar of 0, which no logarithm has a place for
  constexpr double kHalf = 0.5;     // bars of 1 have some height, and a bar reaches half way to the next
  const bool has_zero = !bins.empty() && bins.front().lo == 0;
  std::int64_t most = 1;
  for (const Bin& bin : bins) most = std::max(most, bin.count);
  const int largest = bins.empty() ? 1 : bins.back().hi;
  const Scale x{std::log10(kHalf), std::log10(std::max(largest + kHalf, 10 + kHalf)),
                kLeft + (has_zero ? kZeroSlot : 0), kWidth - kRight};
  const Scale y{std::log10(kHalf), std::log10(std::max(1.3 * static_cast<double>(most), 10.0)), kBottom,
                kTop};

  std::string svg = open_picture(kHeight, caption) + logarithmic_y_axis(y) + logarithmic_x_axis(x, kBottom);
  if (has_zero)
    svg += line("axis", kLeft, kBottom, kLeft + kZeroSlot - 8, kBottom) +
           label(kLeft + (kZeroSlot - 8) / 2, kBottom + 18, "middle", "0");
  for (const Bin& bin : bins) {
    const double begin = bin.lo == 0 ? kLeft + 2 : x.at(std::log10(bin.lo - kHalf));
    const double end = bin.lo == 0 ? kLeft + kZeroSlot - 10 : x.at(std::log10(bin.hi + kHalf));
    const double top = y.at(std::log10(static_cast<double>(bin.count)));
    const double gap = std::min(1.0, (end - begin) / 5);
    svg += bar(begin + gap / 2, top, end - begin - gap, kBottom - top,
               formatted("%s %s: %s %s", x_label.c_str(), range_of(bin).c_str(), grouped(bin.count).c_str(),
                         y_label.c_str()));
  }
  return svg + axis_names(kBottom, x_label, y_label) + "</svg>\n";
}

std::string density_picture(const DensityGrid& grid, int ncells, int nnets, const Caption& caption) {
  constexpr double kFlattest = 0.5;
  constexpr double kSteepest = 1.3;
  constexpr double kForLegend = 30;
  const double shape = ncells > 0 && nnets > 0 ? static_cast<double>(nnets) / ncells : kFlattest;
  const double height = kPlotWidth * std::clamp(shape, kFlattest, kSteepest);
  const double bottom = kTop + height;
  std::string svg = open_picture(bottom + kBelow + kForLegend, caption);
  if (grid.largest > 0) svg += picture(shades_of(grid), kPlotWidth, height);
  svg += frame(height);
  if (ncells > 0)
    svg += number_marks({0, static_cast<double>(ncells), kLeft, kWidth - kRight}, true, bottom, 1, ncells);
  if (nnets > 0) svg += number_marks({0, static_cast<double>(nnets), kTop, bottom}, false, bottom, 1, nnets);
  if (grid.largest > 0)
    svg += legend(caption.id, bottom + kBelow + 8, percentage(grid.smallest), percentage(grid.largest));
  else
    svg += label(kLeft + kPlotWidth / 2, kTop + height / 2, "middle", "no pins");
  return svg + axis_names(bottom, "cells", "nets") + "</svg>\n";
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
  const Scale x{0, static_cast<double>(nparts), kLeft, kWidth - kRight};
  const Scale y{0, 1.08 * static_cast<double>(heaviest), kBottom, kTop};

  const double average_at = std::min(kBottom, y.at(average));

  std::string svg = open_picture(kHeight, caption);
  const std::int64_t step = linear_step(y.last, 5);
  for (std::int64_t tick = 0; static_cast<double>(tick) <= y.last; tick += step)
    svg += y_tick(y, static_cast<double>(tick), tick_label(static_cast<double>(tick)));
  for (int k = 0; k < nbars; ++k) {
    const int first = measures::group_begin(k, nparts, nbars);
    const int last = measures::group_begin(k + 1, nparts, nbars) - 1;
    const std::int64_t weight = *std::max_element(weights.begin() + first, weights.begin() + last + 1);
    const double top = std::min(kBottom, y.at(static_cast<double>(weight)));
    const double width = x.at(last + 1) - x.at(first);
    const double gap = std::min(2.0, width / 5);
    const std::string which = first == last
                                  ? "part " + grouped(first)
                                  : "parts " + grouped(first) + " to " + grouped(last) + ", at most";
    svg += bar(x.at(first) + gap / 2, top, width - gap, kBottom - top, which + ": weight " + grouped(weight));
  }
  svg += line("axis", kLeft, kBottom, kWidth - kRight, kBottom) + number_marks(x, true, kBottom, 0, nparts) +
         line("mean", kLeft, average_at, kWidth - kRight, average_at);
  return svg + axis_names(kBottom, "part (dashed: average weight)", "weight") + "</svg>\n";
}

std::string cut_picture(const measures::CutMatrix& matrix, const Caption& caption) {
  constexpr double kForLegend = 30;
  const double bottom = kTop + kPlotWidth;
  const Extent extent = extent_between(matrix);
  const auto nparts = static_cast<double>(matrix.nparts);
  std::string svg = open_picture(bottom + kBelow + kForLegend, caption);
  if (extent.largest > 0)
    svg += picture(shades_of(matrix, extent), kPlotWidth, kPlotWidth) +
           legend(caption.id, bottom + kBelow + 8, grouped(extent.smallest), grouped(extent.largest));
  svg += frame(kPlotWidth) +
         number_marks({0, nparts, kLeft, kWidth - kRight}, true, bottom, 0, matrix.nparts) +
         number_marks({0, nparts, kTop, bottom}, false, bottom, 0, matrix.nparts);
  return svg + axis_names(bottom, "part", "part") + "</svg>\n";
}

}  // namespace quillon::tool
