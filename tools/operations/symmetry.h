#pragma once
// Symmetry of hypergraphs with as many nets as cells.

#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Whether cell j is on net i exactly when cell i is on net j. Prints nothing.
bool is_symmetric(const Hypergraph& h);

}  // namespace quillon::tool
