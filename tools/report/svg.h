#pragma once
// Pieces of a chart as SVG: texts, lines, bars, axes and pictures. The page's style gives the colours.

#include <cstdint>
#include <string>

#include "tools/report/charts.h"
#include "tools/report/png.h"

namespace quillon::tool::svg {

// Units of the drawing, which the page scales as a whole. Texts are 12 units high.
inline constexpr double kWidth = 400;
inline constexpr double kLeft = 56;
inline constexpr double kRight = 12;
inline constexpr double kTop = 26;
inline constexpr double kBelow = 42;  // for the ticks and the name of the axis
inline constexpr double kPlotWidth = kWidth - kLeft - kRight;
inline constexpr double kPlotEnd = kWidth - kRight;

/// Maps values, which may be logarithms, to coordinates.
struct Scale {
  double first;  // values
  double last;
  double begin;  // their coordinates
  double end;

  [[nodiscard]] double at(double value) const {
    return begin + (value - first) / (last - first) * (end - begin);
  }
};

struct Box {
  double x;
  double y;
  double width;
  double height;
};

/// A drawing of the given height around the content, with its title and description for screen readers.
std::string drawing(double height, const Caption& caption, const std::string& content);

/// @param anchor  "start", "middle" or "end": the point of the text at (x, y).
std::string label(double x, double y, const char* anchor, const std::string& text);

/// @param kind  The class that styles it.
std::string line(const char* kind, double x1, double y1, double x2, double y2);

/// @param title  Shown when the pointer is on the bar.
std::string bar(const Box& box, const std::string& title);

/// The shades, stretched over a plot of the given height.
std::string picture(const Shades& shades, double height);

/// The border of a plot of the given height.
std::string frame(double height);

/// What the shades mean, from the faintest to the full; one shade if both ends are the same.
std::string legend(const std::string& id, double y, const std::string& least, const std::string& most);

/// @param bottom  Coordinate of the x axis.
std::string axis_names(double bottom, const std::string& x_name, const std::string& y_name);

/// Ticks at each digit times each power of ten; `x` maps decimal logarithms.
std::string logarithmic_x_axis(const Scale& x, double bottom);
std::string logarithmic_y_axis(const Scale& y);

/// Ticks and grid lines at round numbers from 0.
std::string linear_y_axis(const Scale& y);

/// Ticks for the numbers of items next to each other, each in the middle of its item.
///
/// @param first  Number of the first item, 0 or 1.
/// @param count  Number of items, at least 1.
std::string x_numbers(int first, int count, double bottom);
std::string y_numbers(int first, int count, double bottom);

}  // namespace quillon::tool::svg
