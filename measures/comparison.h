#pragma once
/// @file
/// What distinguishes two partitions of the same cells.

#include <cstdint>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/partition.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Cells by their parts in two partitions.
struct Overlap {
  int first;   ///< Part in the first partition.
  int second;  ///< Part in the second.
  std::int64_t ncells;
  std::int64_t weight;
};

/// Two partitions of the same cells, whatever their parts are called.
struct Comparison {
  std::vector<Overlap> overlaps;  ///< Pairs of parts with cells in both, by first and second.

  /// The matching of parts that keeps most cells in place. By part of the second partition: its name in the
  /// first, or an unused number; all are different.
  std::vector<int> names;

  int nparts = 0;                 ///< Number of parts under these names: the larger of both numbers.
  std::int64_t ncells_moved = 0;  ///< Cells whose parts are not matched.
  std::int64_t weight_moved = 0;  ///< Their weight.

  /// Mutual information over the mean of the two entropies; 1 if all cells are in one part in both.
  double normalised_mutual_information = 1;

  /// Share of pairs of cells on which the partitions agree, adjusted for chance; 1 if both have one part, or
  /// only parts of single cells.
  double adjusted_rand_index = 1;
};

/// Compares two partitions.
///
/// @param h              Read only. Needs the cells' weights, no lists.
/// @param first,second   Of the cells of `h`.
/// @return               The comparison. Of several best matchings, always the same one.
/// @par Errors           As `part_sizes`, under its own name.
/// @par Cost             O(_c log k) time for the overlaps, and for the exact matching of k parts with e
///                       overlaps O(k e log e) at worst. Measured: 0.5 seconds for two unrelated
///                       partitions of a million cells into 2000 parts, 0.1 if 90 % of the cells stay.
Comparison compare_partitions(const Hypergraph& h, const Partition& first, const Partition& second);

/// Renames the parts of the second partition as the first calls them.
///
/// @param second      As given to `compare_partitions`.
/// @param comparison  Its result.
/// @return            The same parts under their new names.
Partition renamed(const Partition& second, const Comparison& comparison);

/// Nets that only one of two partitions cuts, by number.
struct CutChanges {
  std::vector<int> newly_cut;      ///< Only the second partition cuts them.
  std::vector<int> no_longer_cut;  ///< Only the first partition cuts them.
};

/// Finds the nets that only one of two partitions cuts.
///
/// @param h             Read only. Needs the nets' pins.
/// @param first,second  Of the cells of `h`.
/// @return              Nets in increasing order.
/// @par Errors          As `part_sizes`, under its own name.
/// @par Cost            O(_c + _n + _p + k) time for k parts, a byte a net of memory.
CutChanges cut_changes(const Hypergraph& h, const Partition& first, const Partition& second);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
