#pragma once
// The cells of nets that may name a cell several times. Not installed.

#include <cstddef>
#include <span>
#include <vector>

#include "measures/common_pins.h"

namespace quillon::measures {

/// Finds the repeated pins of nets.
class DistinctCells {
 public:
  explicit DistinctCells(int ncells) : marks_(static_cast<std::size_t>(ncells) + 1, 0) {}

  /// Calls `visit(i)` for each cell of a net, in the order of its first pins.
  template <typename Visit>
  void for_each_cell(Pins pins, Visit visit) {
    for (const int i : pins)
      if (set(i, 1)) visit(i);
    clear(pins);
  }

  /// Whether two nets have the same cells, however often.
  bool have_same_cells(Pins a, Pins b) {
    std::size_t nleft = 0;  // cells of a that b has not named yet
    for (const int i : a) nleft += set(i, 1) ? 1 : 0;
    bool is_part = true;
    for (const int i : b) {
      is_part = is_part && marks_[static_cast<std::size_t>(i)] != 0;
      if (is_part && set(i, 2)) --nleft;
    }
    clear(a);
    clear(b);
    return is_part && nleft == 0;
  }

 private:
  bool set(int i, char mark) {
    char& old = marks_[static_cast<std::size_t>(i)];
    if (old == mark) return false;
    old = mark;
    return true;
  }

  void clear(Pins pins) {
    for (const int i : pins) marks_[static_cast<std::size_t>(i)] = 0;
  }

  std::vector<char> marks_;
};

}  // namespace quillon::measures
