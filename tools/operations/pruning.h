#pragma once
// Copies of hypergraphs without their smallest and largest nets.

#include <cstdint>
#include <vector>

#include "formats/format.h"
#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// How to prune.
struct PruneChoice {
  int max_size = 0;      ///< Nets of so many pins or more are set aside.
  bool shuffle = false;  ///< Puts nets, cells and the pins of each net in random order.
  std::uint64_t seed = 0;
};

/// A pruning copy and what comes with it. The record is in the pools, and is destroyed with this object.
struct Pruned {
  Hypergraph* h = nullptr;
  int nkept = 0;
  int ncopied = 0;            ///< Kept and set aside.
  std::vector<int> netorder;  ///< As `CopyConsHypergraph` fills it.

  Pruned() = default;
  ~Pruned();
  Pruned(const Pruned&) = delete;
  Pruned& operator=(const Pruned&) = delete;
};

/// Copies a hypergraph without its nets of fewer than two pins, and with large nets set aside.
///
/// @param source  Needs both sides. With `shuffle`, the pins of its nets are reordered.
/// @param pruned  Out, fresh.
/// @par Errors    Fatal if a pool cannot grow.
void prune(Hypergraph& source, const PruneChoice& choice, Pruned& pruned);

/// Of the names of the source, those of the cells and of the nets first .. last of the copy.
formats::Labels names_of_copy(const formats::Labels& names, const Hypergraph& copy, int first, int last);

}  // namespace quillon::tool
