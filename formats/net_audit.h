#pragma once
/// @file
/// What the nets of a file say of it: repeated pins, parallel nets and the like. Internal to `formats/`.

#include <cstdint>
#include <vector>

#include "formats/net_lists.h"

namespace quillon::formats {

/// A pin that repeats a cell of its net. Pins count from 0.
struct RepeatedPin {
  int net;
  int first;   ///< The pin that it repeats.
  int second;  ///< The pin itself.
};

/// A net with the same cells as an earlier one, each counted once.
struct ParallelNet {
  int net;
  int earlier;  ///< The first such net.
};

/// Cells on no net.
struct IsolatedCells {
  std::int64_t count = 0;
  int first = 0;  ///< The first of them, or 0.
};

/// What to look for in nets. Each function is called for the nets in ascending order, that on parallel nets
/// after all others.
class NetVisitor {
 public:
  virtual ~NetVisitor() = default;
  virtual void empty_net(int j) = 0;
  virtual void one_pin_net(int j) = 0;
  virtual void repeated_pin(const RepeatedPin& pin) = 0;
  virtual void parallel_net(const ParallelNet& net) = 0;
};

/// Looks at all nets.
///
/// @param lists    Cells are those of the lists; `nnets` may be more than there are nets.
/// @param damaged  Nets to omit, ascending. Their cells are on a net nevertheless.
/// @par Cost       O(cells + nets + pins) time, more for nets with repeated pins and parallel ones. Memory of
///                 6 to 8 bytes per net and a bit per cell; four bytes per cell more if a net has over 16
///                 pins.
IsolatedCells visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor);

}  // namespace quillon::formats
