#pragma once
/// @file
/// Quantiles, mean and spread of a distribution.

#include <cstdint>

#include "measures/figures.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Figures of a distribution. Without items, all are 0.
///
/// The quantile q of n values is the smallest of them with at least q n values that are not larger.
struct Quantiles {
  std::int64_t count = 0;  ///< Number of items.
  int min = 0;             ///< Smallest value.
  int lower_quartile = 0;  ///< Quantile 0.25.
  int median = 0;          ///< Quantile 0.5.
  int upper_quartile = 0;  ///< Quantile 0.75.
  int percentile_90 = 0;   ///< Quantile 0.9.
  int percentile_99 = 0;   ///< Quantile 0.99.
  int max = 0;             ///< Largest value.
  double mean = 0;         ///< Average.
  double deviation = 0;    ///< Standard deviation of the population: squares are divided by `count`.
};

/// Computes the figures of a distribution.
///
/// @param distribution  As in `figures.h`.
Quantiles quantiles_of(const Distribution& distribution);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
