#pragma once
// Orders of cells and nets, and hypergraphs renumbered by them.

#include <cstddef>
#include <vector>

#include "formats/format.h"
#include "hypergraph/hypergraph.h"

namespace quillon::tool {

/// Where the items of a new hypergraph come from: by new number, the old number of a cell or net. Entry 0 is
/// not used. A new hypergraph may have fewer items than the old one.
struct OldNumbers {
  std::vector<int> cells;
  std::vector<int> nets;
};

/// The order that changes nothing.
std::vector<int> identity(int count);

/// By old number, the new number of an item.
std::vector<int> inverse_of(const std::vector<int>& order);

/// Values of the new items; empty where the old ones have none.
template <typename Value>
std::vector<Value> renumbered(const std::vector<Value>& values, const std::vector<int>& numbers) {
  if (values.empty()) return {};
  std::vector<Value> result(numbers.size());
  for (std::size_t k = 1; k < numbers.size(); ++k) result[k] = values[static_cast<std::size_t>(numbers[k])];
  return result;
}

/// The names of the new items; empty where there are none.
formats::Labels renumbered(const formats::Labels& labels, const OldNumbers& numbers);

/// Copies a hypergraph in a new order.
///
/// @param h          Read only. Needs both sides.
/// @param orders     A number for each cell and net, each once.
/// @param reordered  Out, fresh; with arrays on the heap.
/// @par Errors       Out of memory is fatal.
void permute(const Hypergraph& h, const OldNumbers& orders, Hypergraph& reordered);

/// Copies a hypergraph with its cells sorted by part, and its nets by the lowest part that they touch: within
/// it those of this part alone come first. Nets without pins come last. In a symmetric hypergraph, the nets
/// are renumbered like the cells instead. Equal ones keep their order.
///
/// @param h          Needs both sides. Its `pno` are set to the ranks of the parts.
/// @param parts      By cell, of any value; entry 0 is not used.
/// @param reordered  Out, fresh; with arrays on the heap.
/// @return           The old numbers.
/// @par Errors       Out of memory is fatal, and must throw (see `is_symmetric`).
OldNumbers reorder_by_part(Hypergraph& h, const std::vector<int>& parts, Hypergraph& reordered);

}  // namespace quillon::tool
