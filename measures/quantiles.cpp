#include "measures/quantiles.h"

#include <cmath>

namespace quillon::measures {
namespace {

int quantile(const Distribution& distribution, std::int64_t count, int percent) {
  std::int64_t below = 0;
  for (const auto& [value, nitems] : distribution) {
    below += nitems;
    if (100 * below >= percent * count) return value;
  }
  return 0;
}

}  // namespace

Quantiles quantiles_of(const Distribution& distribution) {
  Quantiles quantiles;
  if (distribution.empty()) return quantiles;
  double sum = 0;
  for (const auto& [value, nitems] : distribution) {
    quantiles.count += nitems;
    sum += static_cast<double>(value) * nitems;
  }
  const auto count = static_cast<double>(quantiles.count);
  quantiles.mean = sum / count;
  double squares = 0;
  for (const auto& [value, nitems] : distribution)
    squares += nitems * (value - quantiles.mean) * (value - quantiles.mean);
  quantiles.deviation = std::sqrt(squares / count);
  quantiles.min = distribution.front().first;
  quantiles.max = distribution.back().first;
  const auto percentile = [&](int percent) { return quantile(distribution, quantiles.count, percent); };
  quantiles.lower_quartile = percentile(25);
  quantiles.median = percentile(50);
  quantiles.upper_quartile = percentile(75);
  quantiles.percentile_90 = percentile(90);
  quantiles.percentile_99 = percentile(99);
  return quantiles;
}

}  // namespace quillon::measures
