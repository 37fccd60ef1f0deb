#pragma once
/// @file
/// Nets with the same cells. Internal to `formats/`.

#include <vector>

#include "formats/ints.h"
#include "formats/net_lists.h"

namespace quillon::formats {

/// A net with the same cells as an earlier one, each counted once.
struct ParallelNet {
  int net;
  int earlier;  ///< The first such net.

  bool operator==(const ParallelNet&) const = default;
};

/// Consecutive nets, for one thread.
struct NetsOfPart {
  int first;
  int last;  ///< Less than `first` if there are none.
};

/// Finds nets with the same cells by their fingerprints, which differ for nearly all others.
///
/// @param prints  By net: a number that depends on the set of its cells only; 0 for nets not to be compared.
/// @param parts   All nets, ascending. Each part gets a thread.
/// @return        All such nets, ascending.
/// @par Cost      O(nets) time unless many are parallel. Memory of 4 to 5 bytes per net.
std::vector<ParallelNet> find_parallel_nets(const NetLists& lists, const Ints& prints,
                                            const std::vector<NetsOfPart>& parts);

}  // namespace quillon::formats
