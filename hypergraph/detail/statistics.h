#pragma once
/// @file
/// Statistics of one side of a hypergraph. Internal to `hypergraph/`.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon {

/// Weights and list lengths of one side: the degrees of the cells, or the sizes of the nets.
struct Statistics {
  int totw = 0;
  Extremes weight;
  Extremes length;
  int min_nonzero_length = kNoMinimum;
  int nempty = 0;
  double avg_length = 0;
  double squares = 0;  // sum of the squared differences from the average length

  void add(int w, int list_length) {
    add_wrapping(totw, w);
    weight.add(w);
    length.add(list_length);
    squares += (list_length - avg_length) * (list_length - avg_length);
    if (list_length == 0)
      ++nempty;
    else
      min_nonzero_length = std::min(min_nonzero_length, list_length);
  }
};

/// Number of lists of each length that the array covers; longer lists are few.
using ShortLengths = std::array<int, 1 << 14>;

/// Gathers the statistics of items 1 .. nitems. As the average comes from the stored number of pins, one pass
/// does; reading the items is most of the time.
///
/// @param counts  In and out, or null: each length that it covers is counted.
template <typename Item>
Statistics gather(const Item* items, int nitems, int npins, ShortLengths* counts = nullptr) {
  Statistics side;
  side.avg_length = static_cast<double>(npins) / nitems;
  for (int k = 1; k <= nitems; ++k) {
    const int length = list_length(items[k]);
    side.add(items[k].w, length);
    if (counts != nullptr && static_cast<unsigned>(length) < counts->size())
      ++(*counts)[static_cast<unsigned>(length)];
  }
  return side;
}

/// Spread of the list lengths.
struct Spread {
  double avg;
  double std;  // of the population: divided by the count
  double cov;
};

/// A count of 0 is not treated specially: reports show what the divisions give.
inline Spread spread(const Statistics& side, int count) {
  const double std = std::sqrt(side.squares / count);
  return {side.avg_length, std, std / side.avg_length};
}

/// Counts the lists of each length 0 .. largest.
///
/// @param counts  Of items 1 .. nitems.
/// @param tag     Of the array, which is allocated here and the caller's to release.
template <typename Item>
int* count_all_lengths(const ShortLengths& counts, const Item* items, int nitems, int largest,
                       const char* tag) {
  const std::int64_t nlengths = std::int64_t{largest} + 1;
  const std::int64_t nshort = std::min(nlengths, std::ssize(counts));
  int* const all = imalloc(nlengths, tag);
  std::copy_n(counts.begin(), nshort, all);
  if (nlengths == nshort) return all;

  std::fill_n(all + nshort, nlengths - nshort, 0);
  for (int k = 1; k <= nitems; ++k)
    if (list_length(items[k]) >= nshort) ++all[list_length(items[k])];
  return all;
}

}  // namespace quillon
