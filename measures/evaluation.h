#pragma once
/// @file
/// What a partition is worth: all measures of the cut, and details of parts, pairs of parts and nets.
///
/// L is the connectivity of a net, w its weight; see partition.h. A net that names a cell twice has two pins
/// for it.

#include <cstdint>
#include <optional>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/partition.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// A partition by all measures.
struct Evaluation {
  PartSizes sizes;
  CutSizes cut;

  /// Sum over nets of two pins or more and over the parts that they touch of
  /// w (pins in the part - 1) / (pins - 1): the total weight of these nets if none is cut.
  double absorption = 0;

  /// Sum over nets of w L (L - 1); nothing if it exceeds 64 bits, which no other total can.
  std::optional<std::int64_t> connectivity_pairs;
};

/// Evaluates a partition.
///
/// @param h          Read only. Needs the cells' weights, and the nets' weights and pins.
/// @param partition  Of the cells of `h`.
/// @return           All measures, with `sizes` as from `part_sizes` and `cut` as from `cut_sizes`.
/// @par Errors       As `part_sizes`, under its own name.
/// @par Cost         O(_c + _n + _p + nparts) time; memory of 3 values a part and one a net size.
Evaluation evaluate(const Hypergraph& h, const Partition& partition);

/// What each part has to do with the others, by part number.
struct PartDetails {
  std::vector<std::int64_t> nboundary_cells;   ///< Cells on a cut net.
  std::vector<std::int64_t> ninternal_nets;    ///< Nets with all their pins, at least one, in the part.
  std::vector<std::int64_t> volumes_sent;      ///< Sum of w (L - 1) over the nets that the part owns.
  std::vector<std::int64_t> volumes_received;  ///< Sum of w over the nets that it touches and does not own.
};

/// Looks at the parts one by one. A net belongs to the part of its first pin, which in circuits usually
/// drives it. Both volumes add up to the connectivity minus one.
///
/// @param h          Read only. Needs the nets' weights and pins.
/// @param partition  Of the cells of `h`.
/// @return           `partition.nparts` entries each.
/// @par Errors       As `part_sizes`, under its own name.
/// @par Cost         O(_c + _n + _p + nparts) time; memory of 5 values a part and a byte a cell.
PartDetails part_details(const Hypergraph& h, const Partition& partition);

/// An entry of the matrix between parts.
struct MatrixEntry {
  int part;
  int other;            ///< At least `part`.
  std::int64_t weight;  ///< Of the nets that touch both; for `part == other`, of those that touch the part.
};

/// Weighs the nets between every two parts. Of the symmetric matrix, only entries on and above the diagonal
/// that are not 0 are listed.
///
/// @param h          Read only. Needs the nets' weights and pins.
/// @param partition  Of the cells of `h`.
/// @return           Entries in order of part and other.
/// @par Errors       As `part_sizes`, under its own name.
/// @par Cost         O(_c + _p + sum of squared connectivities + e log e) time for e entries; memory of 16
///                   bytes an entry, and two ints for each net and part that it touches.
std::vector<MatrixEntry> part_matrix(const Hypergraph& h, const Partition& partition);

/// A cut net and what it adds to the connectivity minus one.
struct NetCost {
  int net;
  int connectivity;
  std::int64_t cost;  ///< w (L - 1).
};

/// Finds the cut nets that cost most.
///
/// @param h          Read only. Needs the nets' weights and pins.
/// @param partition  Of the cells of `h`.
/// @param count      Number of nets, fewer if fewer are cut.
/// @return           Dearest first; of equal ones, the lower net number first.
/// @par Errors       As `part_sizes`, under its own name.
/// @par Cost         O(_c + _n log count + _p + nparts) time; memory of `count` entries.
std::vector<NetCost> costliest_nets(const Hypergraph& h, const Partition& partition, int count);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
