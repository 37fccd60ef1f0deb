#pragma once
/// @file
/// Compares the results of two runs.

#include <cstdint>
#include <string>

#include "hypergraph/hypergraph.h"

namespace quillon::bench {

/// Collects the first difference. Pointers into a pin array are compared as positions in it.
class Differences {
 public:
  void values(const std::string& what, std::int64_t a, std::int64_t b);
  void ints(const std::string& what, const int* a, const int* b, std::int64_t count);
  void files(const std::string& a, const std::string& b);

  /// The counts and totals of two records.
  void counts(const Hypergraph& a, const Hypergraph& b);
  /// Weights, pins and list bounds of nets 1 .. nnets, and `npins` entries of the pin arrays.
  void nets(const Hypergraph& a, const Hypergraph& b, int nnets, std::int64_t npins);
  /// Where the sentinel after net `nnets` starts.
  void net_sentinel(const Hypergraph& a, const Hypergraph& b, int nnets);
  /// `w`, `inw` and `pno` of every cell.
  void cells(const Hypergraph& a, const Hypergraph& b);
  /// `wdeg` and list bounds of every cell, the start of the sentinel, and `npins` entries of the arrays of
  /// net lists.
  void cell_lists(const Hypergraph& a, const Hypergraph& b, std::int64_t npins);

  /// Empty as long as there is no difference.
  [[nodiscard]] const std::string& first() const { return first_; }

 private:
  std::string first_;
};

}  // namespace quillon::bench
