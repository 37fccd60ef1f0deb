#pragma once
/// @file
/// A hypergraph that is handed over net by net, for files that need not fit in memory.

#include <cstdint>
#include <span>
#include <string>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Nets in order, once. Cells and nets count from 1.
class NetStream {
 public:
  NetStream() = default;
  virtual ~NetStream();
  NetStream(const NetStream&) = delete;
  NetStream& operator=(const NetStream&) = delete;

  int ncells = 0;          ///< Number of cells.
  int nnets = 0;           ///< Number of nets.
  std::int64_t npins = 0;  ///< Number of pins.
  int weights = 0;         ///< Weights other than 1: bit 1 = of cells, bit 2 = of nets.
  std::string comment;     ///< A line for files with comments; or empty.

  /// @return  The cells of the next net, valid until the next call.
  virtual std::span<const int> next_net() = 0;

  /// @return  The weight of net j.
  [[nodiscard]] virtual int net_weight(int j) const = 0;

  /// @return  The weight of cell i.
  [[nodiscard]] virtual int cell_weight(int i) const = 0;
};

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
