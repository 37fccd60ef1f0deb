#include "tools/report/svg.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "tools/report/text.h"

namespace quillon::tool::svg {
namespace {

// Ticks are at round numbers, and all of an axis have units if its largest has.
std::string tick_label(double value, double largest) {
  constexpr double kLargestInFull = 99999;
  if (largest <= kLargestInFull) return grouped(std::llround(value));
  if (value >= 1e9) return fmt::format("{:g} G", value * 1e-9);
  if (value >= 1e6) return fmt::format("{:g} M", value * 1e-6);
  if (value >= 1e3) return fmt::format("{:g} k", value * 1e-3);
  return fmt::format("{:g}", value);
}

std::string x_tick(const Scale& x, double at, double bottom, const std::string& text) {
  constexpr double kHalfOfLetter = 3.8;
  const double most_right = kWidth - kHalfOfLetter * static_cast<double>(text.size());
  return line("axis", x.at(at), bottom, x.at(at), bottom + 5) +
         label(std::min(x.at(at), most_right), bottom + 18, "middle", text);
}

std::string y_tick(const Scale& y, double at, const std::string& text) {
  return line("grid", kLeft, y.at(at), kPlotEnd, y.at(at)) + label(kLeft - 6, y.at(at) + 4, "end", text);
}

// The smallest 1, 2 or 5 times a power of ten of which `nsteps` cover the range.
std::int64_t linear_step(double range, int nsteps) {
  for (std::int64_t power = 1;; power *= 10)
    for (const std::int64_t digit : {1, 2, 5})
      if (static_cast<double>(digit * power * nsteps) >= range) return digit * power;
}

std::string numbers(int first, int count,
                    const std::function<std::string(double middle, const std::string& text)>& tick) {
  constexpr int kLongNumbers = 1000;
  const std::int64_t step = linear_step(count, count < kLongNumbers ? 8 : 6);
  std::string svg;
  const std::int64_t end = std::int64_t{first} + count;
  const auto largest = static_cast<double>((end - 1) / step * step);
  for (std::int64_t number = first == 0 ? 0 : step; number < end; number += step)
    svg += tick(static_cast<double>(number - first) + 0.5, tick_label(static_cast<double>(number), largest));
  return svg;
}

}  // namespace

std::string drawing(double height, const Caption& caption, const std::string& content) {
  return fmt::format(
             "<svg viewBox=\"0 0 {:.0f} {:.0f}\" role=\"img\" aria-labelledby=\"{}-title {}-desc\">\n",
             kWidth, height, caption.id, caption.id) +
         fmt::format("<title id=\"{}-title\">{}</title>\n<desc id=\"{}-desc\">{}</desc>\n", caption.id,
                     escaped(caption.title), caption.id, escaped(caption.description)) +
         content + "</svg>\n";
}

std::string label(double x, double y, const char* anchor, const std::string& text) {
  return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"{}\">{}</text>\n", x, y, anchor,
                     escaped(text));
}

std::string line(const char* kind, double x1, double y1, double x2, double y2) {
  return fmt::format("<line class=\"{}\" x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" />\n", kind,
                     x1, y1, x2, y2);
}

std::string bar(const Box& box, const std::string& title) {
  return fmt::format(
      "<rect class=\"bar\" x=\"{:.2f}\" y=\"{:.2f}\" width=\"{:.2f}\" height=\"{:.2f}\">"
      "<title>{}</title></rect>\n",
      box.x, box.y, box.width, box.height, escaped(title));
}

std::string picture(const Shades& shades, double height) {
  return fmt::format(
      "<image x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" preserveAspectRatio=\"none\" "
      "href=\"data:image/png;base64,{}\" />\n",
      kLeft, kTop, kPlotWidth, height, base64(png_of(shades)));
}

std::string frame(double height) {
  return fmt::format(
      "<rect class=\"frame\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" />\n", kLeft, kTop,
      kPlotWidth, height);
}

std::string legend(const std::string& id, double y, const std::string& least, const std::string& most) {
  constexpr double kLength = 120;
  constexpr double kSwatch = 20;
  const double middle = kLeft + kPlotWidth / 2;
  if (least == most)
    return fmt::format("<rect class=\"swatch\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"10\" />\n",
                       middle - kSwatch, y, kSwatch) +
           label(middle + 8, y + 9, "start", most);
  const double begin = middle - kLength / 2;
  return fmt::format(
             "<defs><linearGradient id=\"{}-shades\"><stop class=\"faint\" offset=\"0\" />"
             "<stop class=\"full\" offset=\"1\" /></linearGradient></defs>\n",
             id) +
         fmt::format(
             "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"10\" fill=\"url(#{}-shades)\" />\n",
             begin, y, kLength, id) +
         label(begin - 8, y + 9, "end", least) + label(begin + kLength + 8, y + 9, "start", most);
}

std::string axis_names(double bottom, const std::string& x_name, const std::string& y_name) {
  return label(kLeft + kPlotWidth / 2, bottom + 36, "middle", x_name) +
         label(kLeft - 6, kTop - 12, "end", y_name);
}

// Powers of ten are labelled, and their doubles and fives where there is room.
std::string logarithmic_x_axis(const Scale& x, double bottom) {
  constexpr double kRoomForMore = 2.3;
  const bool has_room = x.last - x.first < kRoomForMore;
  const double largest = std::pow(10, std::floor(x.last));
  std::string svg = line("axis", x.begin, bottom, x.end, bottom);
  for (int power = 0; power <= x.last; ++power) {
    for (int digit = 1; digit <= 9; ++digit) {
      const double value = digit * std::pow(10, power);
      const double at = std::log10(value);
      if (at > x.last) break;
      const bool is_labelled = digit == 1 || (has_room && (digit == 2 || digit == 5));
      svg += is_labelled ? x_tick(x, at, bottom, tick_label(value, largest))
                         : line("axis", x.at(at), bottom, x.at(at), bottom + 3);
    }
  }
  return svg;
}

std::string logarithmic_y_axis(const Scale& y) {
  const double largest = std::pow(10, std::floor(y.last));
  std::string svg;
  for (int power = 0; power <= y.last; ++power)
    svg += y_tick(y, power, tick_label(std::pow(10, power), largest));
  return svg;
}

std::string linear_y_axis(const Scale& y) {
  const std::int64_t step = linear_step(y.last, 5);
  const auto largest = static_cast<double>(static_cast<std::int64_t>(y.last) / step * step);
  std::string svg;
  for (std::int64_t tick = 0; static_cast<double>(tick) <= y.last; tick += step)
    svg += y_tick(y, static_cast<double>(tick), tick_label(static_cast<double>(tick), largest));
  return svg;
}

std::string x_numbers(int first, int count, double bottom) {
  const Scale x{0, static_cast<double>(count), kLeft, kPlotEnd};
  return numbers(first, count,
                 [&](double middle, const std::string& text) { return x_tick(x, middle, bottom, text); });
}

std::string y_numbers(int first, int count, double bottom) {
  const Scale y{0, static_cast<double>(count), kTop, bottom};
  return numbers(first, count, [&](double middle, const std::string& text) {
    return line("axis", kLeft - 5, y.at(middle), kLeft, y.at(middle)) +
           label(kLeft - 8, y.at(middle) + 4, "end", text);
  });
}

}  // namespace quillon::tool::svg
