#pragma once
/// @file
/// Measures of a partition: sizes and balance of the parts, and the nets that they cut.
///
/// The connectivity of a net is the number of parts that its pins lie in; a net of connectivity 2 or more is
/// cut.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hypergraph/hypergraph.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// The part of every cell.
struct Partition {
  std::vector<int> parts;  ///< By cell number, _c + 1 entries, each 0 .. nparts - 1; entry 0 is not read.
  int nparts = 0;          ///< Number of parts; some may be empty.
};

/// Sizes of the parts, by part number.
struct PartSizes {
  std::vector<std::int64_t> ncells;   ///< Numbers of cells.
  std::vector<std::int64_t> weights;  ///< Sums of the cells' `w`.
};

/// Sums over the cut nets, with w the weight of a net and L its connectivity.
struct CutSizes {
  std::int64_t ncut_nets = 0;                ///< Number of cut nets.
  std::int64_t cut = 0;                      ///< Sum of w.
  std::int64_t connectivity_minus_one = 0;   ///< Sum of w (L - 1).
  std::int64_t sum_of_external_degrees = 0;  ///< Sum of w L.
};

/// Weights of the nets between groups of parts; symmetric.
struct CutMatrix {
  int nparts = 0;   ///< Number of parts.
  int ngroups = 0;  ///< Groups are runs of parts as in groups.h; with `nparts` groups, parts.
  std::vector<std::int64_t> weights;  ///< ngroups x ngroups entries, row by row.

  /// Reads an entry.
  ///
  /// @param a,b  Groups, 0-based.
  /// @return     Weight of the nets with pins in both groups; for `a == b`, of those with all pins in the
  ///             group. A net without pins counts nowhere.
  [[nodiscard]] std::int64_t at(int a, int b) const {
    return weights[static_cast<std::size_t>(a) * static_cast<std::size_t>(ngroups) +
                   static_cast<std::size_t>(b)];
  }
};

/// Counts and weighs the cells of each part.
///
/// @param h          Read only. Needs the cells' weights, no lists.
/// @param partition  Of the cells of `h`.
/// @return           `partition.nparts` entries each.
/// @par Errors       A vector of another length than _c + 1, or a part out of range, is fatal: "part_sizes:
///                   cell %d is in part %d of %d". `cut_sizes` and `cut_matrix` check the same under their
///                   own names.
/// @par Cost         O(_c + nparts).
PartSizes part_sizes(const Hypergraph& h, const Partition& partition);

/// Sums up the cut nets.
///
/// @param h          Read only. Needs the nets' weights and pins.
/// @param partition  Of the cells of `h`.
/// @return           All 0 if no net is cut.
/// @par Cost         O(_c + _n + _p + nparts) time, 2 nparts ints of memory.
CutSizes cut_sizes(const Hypergraph& h, const Partition& partition);

/// By how much the heaviest part exceeds the average weight, as a share of the average: 0 is perfect balance.
///
/// @param sizes  From `part_sizes`.
/// @return       max weight / (total weight / number of parts) - 1; 0 if the total is 0.
double imbalance(const PartSizes& sizes);

/// The imbalance of a partition whose heaviest part weighs so much.
///
/// @param heaviest  Weight of the heaviest part.
/// @param total     Weight of all cells.
/// @param nparts    Number of parts.
/// @return          heaviest / (total / nparts) - 1; 0 if the total is 0.
double imbalance_of(std::int64_t heaviest, std::int64_t total, std::int64_t nparts);

/// Counts the parts that the pins of a net lie in.
///
/// @param net        Read only. Needs its pins.
/// @param partition  Not checked: parts must be in range for the net's pins.
/// @return           The connectivity; 0 for a net without pins.
/// @par Cost         O(s log s) time for s pins, s ints of memory.
int connectivity(const Net& net, const Partition& partition);

/// Weighs the nets between each two parts, or groups of parts if there are more than `most_groups`.
///
/// @param h            Read only. Needs the nets' weights and pins.
/// @param partition    Of the cells of `h`.
/// @param most_groups  Largest number of rows, at least 1.
/// @return             A row for each part, or for each group.
/// @par Cost           O(_c + _p + sum of squared connectivities) time, and the matrix.
CutMatrix cut_matrix(const Hypergraph& h, const Partition& partition, int most_groups);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
