#pragma once
// Pins of two nets. Not installed.

#include <cstddef>
#include <span>
#include <vector>

namespace quillon::measures {

using Pins = std::span<const int>;

/// Counts the pins that two nets have in common.
class CommonPins {
 public:
  explicit CommonPins(int ncells) : counts_(static_cast<std::size_t>(ncells) + 1, 0) {}

  /// A cell that both nets name several times counts as often as both do.
  std::size_t count(Pins a, Pins b) {
    for (const int i : a) ++counts_[static_cast<std::size_t>(i)];
    std::size_t ncommon = 0;
    for (const int i : b) {
      int& count = counts_[static_cast<std::size_t>(i)];
      if (count > 0) ++ncommon;
      --count;
    }
    for (const Pins pins : {a, b})
      for (const int i : pins) counts_[static_cast<std::size_t>(i)] = 0;
    return ncommon;
  }

  /// Whether two nets have the same pins, in whatever order.
  bool are_same(Pins a, Pins b) { return a.size() == b.size() && count(a, b) == a.size(); }

 private:
  std::vector<int> counts_;
};

}  // namespace quillon::measures
