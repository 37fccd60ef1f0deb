#pragma once
// From a file to a record with both sides built.

#include <string>

#include "hypergraph/hypergraph.h"

namespace quillon::tool {

enum class SmallNets { kFold, kKeep };

struct Loaded {
  Hypergraph h;     // heap record, release with free_hypergraph
  int nsmall_nets;  // removed by the reader
};

/// Reads a hypergraph and builds the cell side. Fatal on bad input, which includes one that ends in a comment
/// line where more is due: the readers of the module would wait for ever.
///
/// @param name  File name, or - for standard input.
/// @param warn  Warn about cells named twice and missing cell weights.
Loaded load(const std::string& name, SmallNets small_nets, bool warn);

}  // namespace quillon::tool
