#pragma once
// From a file to a record with both sides built.

#include <string>

#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Number of pins of a net, 0 for one that has no pin list at all.
inline int size_of(const Net& net) {
  return net.pins == nullptr ? 0 : static_cast<int>(net.pinsend - net.pins) + 1;
}

enum class SmallNets { kFold, kKeep };

/// A hypergraph that gives its arrays back.
struct Loaded {
  Hypergraph h{};       // on the heap
  int nsmall_nets = 0;  // removed by the reader

  Loaded() = default;
  ~Loaded() { free_hypergraph(&h); }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;
};

/// Reads a hypergraph and builds the cell side. Fatal on bad input, which includes one that ends in a comment
/// line, or a line too long, where more is due: the readers of the module would wait for ever.
///
/// @param loaded  Out, fresh.
/// @param name    File name, or - for standard input.
/// @param warn    Warn about cells named twice and missing cell weights.
void load(Loaded& loaded, const std::string& name, SmallNets small_nets, bool warn);

}  // namespace quillon::tool
