#pragma once
/// @file
/// A hypergraph record that owns its arrays.

#include "hypergraph/hypergraph.h"

namespace quillon::formats {

/// A hypergraph and what its reader left out of it. Freed with this object.
struct Record {
  Hypergraph h{};   ///< In heap memory of the utility layer.
  int nfolded = 0;  ///< Nets of one pin or none that the reader folded into totals.

  Record() = default;
  ~Record() { free_hypergraph(&h); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
};

}  // namespace quillon::formats
