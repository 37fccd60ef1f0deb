#pragma once
// The rest of a record whose nets are set. Not installed.

#include "hypergraph/hypergraph.h"

namespace quillon::measures {

/// Builds the cells' lists, the summaries of `set_hypergraph_infos`, `_totnw` and `_fmt`, which tells which
/// weights are not all 1. Sets every `inw` to 0.
///
/// @param h  Of `malloc_hypergraph`; needs its nets with their weights, and the cells' `w`.
void complete(Hypergraph& h);

}  // namespace quillon::measures
