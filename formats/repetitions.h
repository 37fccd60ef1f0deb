#pragma once
/// @file
/// Which pins of a text repeat others, if it does not list them net by net. Internal to `formats/`.

#include <cstddef>
#include <utility>
#include <vector>

#include "formats/audit.h"

namespace quillon::formats {

/// Calls `visit(k)` for each pin that is not damaged.
///
/// @param damaged  Numbers of pins from 1, ascending.
template <typename Visit>
void for_each_sound(const PinList& pins, const std::vector<int>& damaged, Visit visit) {
  auto next = damaged.begin();
  for (std::size_t k = 0; 2 * k < pins.numbers.size(); ++k) {
    if (next != damaged.end() && static_cast<std::size_t>(*next) == k + 1)
      ++next;
    else
      visit(k);
  }
}

/// A quick look at the nets, or at the cells, one after the other.
///
/// @return  Whether no pin repeats another. False, too, if the pins come neither net by net nor cell by cell.
bool is_without_repetitions(const PinList& pins);

/// Indices of two pins, the second of which repeats the first.
using PinPairs = std::vector<std::pair<std::size_t, std::size_t>>;

/// @param damaged     As for `for_each_sound`. They are left out.
/// @param by_sorting  Without memory for nets and cells that have no pins.
/// @return            All pins that repeat others, ascending, each with the first that it repeats.
PinPairs find_repeated(const PinList& pins, const std::vector<int>& damaged, bool by_sorting);

}  // namespace quillon::formats
