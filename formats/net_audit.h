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
/// @param lists    Cells and offsets are not checked; `nnets` may be more than there are nets.
/// @param damaged  Nets to omit, ascending.
/// @return         By cell, entry 0 not used: 1 if it is on a net, else 0.
/// @par Cost       O(cells + nets + pins) time, more for nets with repeated pins and parallel ones; O(nets)
///                 memory and a byte for each cell, if all nets have 16 pins at most; else O(cells + nets).
std::vector<char> visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor);

}  // namespace quillon::formats
