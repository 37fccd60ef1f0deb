#pragma once
/// @file
/// What distinguishes two hypergraphs.

#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// What does not count as a difference.
struct Tolerance {
  bool pin_order = false;  ///< The order of the pins of a net.
  bool net_order = false;  ///< The order of the nets.
};

/// Two nets.
struct NetPair {
  int first;   ///< Its number in the first hypergraph.
  int second;  ///< Its number in the second.
};

/// How the pins of two nets differ.
enum class PinChange {
  kNone,       ///< Not at all.
  kReordered,  ///< In their order only.
  kOther,      ///< They have different cells.
};

/// A net and what became of it.
struct ChangedNet {
  int first;        ///< Its number in the first hypergraph.
  int second;       ///< Its number in the second.
  PinChange pins;   ///< How its pins differ.
  bool has_weight;  ///< Whether its weights differ.
};

/// What distinguishes two hypergraphs.
struct Difference {
  int ncells_added = 0;             ///< Cells of the second less those of the first.
  std::vector<int> weights;         ///< Cells of both whose weights `w` differ, in increasing order.
  std::vector<int> only_first;      ///< Nets of the first without a counterpart, in increasing order.
  std::vector<int> only_second;     ///< Nets of the second without a counterpart, in increasing order.
  std::vector<ChangedNet> changed;  ///< Nets with a different counterpart, by the number in the first.
  std::vector<NetPair> moved;       ///< Equal nets whose order differs, by the number in the first.

  /// Whether there is no difference.
  [[nodiscard]] bool is_empty() const;

  /// Whether there is no difference but in the order of nets and pins.
  [[nodiscard]] bool is_order_only() const;
};

/// Finds what distinguishes two hypergraphs.
///
/// Equal nets are matched first, so that the others are as few as possible. If the order of nets counts, as
/// many of them as possible keep their place, and the others have moved. Of the nets left, those with the
/// same cells are matched, then those with half of the cells in common that lie between the same neighbours
/// or are found by a hash, and then neighbours with a common cell. These have changed.
///
/// @param first,second  Read only. Need the nets' pins and weights, and the cells' weights.
/// @param tolerance     What does not count.
/// @return              The differences: empty only if the hypergraphs are the same, since equal hashes are
///                      confirmed by comparing the nets.
/// @par Cost            O(_c + _n + _p) time and up to 100 bytes for each net between the first and the last
///                      that differ; with the order of nets, O(m log m) more for m nets that moved.
Difference difference(const Hypergraph& first, const Hypergraph& second, const Tolerance& tolerance = {});

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
