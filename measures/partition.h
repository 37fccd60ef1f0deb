#pragma once
/// @file
/// Measures of a partition: sizes and balance of the parts, the nets that they cut, and details of parts,
/// pairs of parts and nets.
///
/// The connectivity L of a net is the number of parts that its pins lie in; a net of connectivity 2 or more
/// is cut. w is the weight of a net. A net that names a cell twice has two pins for it.
///
/// `evaluate` has all measures of the cut; `part_sizes` and `cut_sizes` are parts of it for callers that need
/// no more.

#include <cstddef>
#include <cstdint>
#include <optional>
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

/// Sums over the cut nets.
struct CutSizes {
  std::int64_t ncut_nets = 0;                ///< Number of cut nets.
  std::int64_t cut = 0;                      ///< Sum of w.
  std::int64_t connectivity_minus_one = 0;   ///< Sum of w (L - 1).
  std::int64_t sum_of_external_degrees = 0;  ///< Sum of w L.
};

/// Counts and weighs the cells of each part.
///
/// @param h          Read only. Needs the cells' weights, no lists.
/// @param partition  Of the cells of `h`.
/// @return           `partition.nparts` entries each.
/// @par Errors       A vector of another length than _c + 1, or a part out of range, is fatal: "part_sizes:
///                   cell %d is in part %d of %d". Other functions check the same under their
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

/// A partition by all measures.
struct Evaluation {
  PartSizes sizes;  ///< As from `part_sizes`.
  CutSizes cut;     ///< As from `cut_sizes`.

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
/// @return           All measures.
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
  int part;             ///< From 0.
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

/// The same in full, between groups of parts.
struct CutMatrix {
  int nparts = 0;   ///< Number of parts.
  int ngroups = 0;  ///< Groups are runs of parts as in groups.h; with `nparts` groups, parts.
  std::vector<std::int64_t> weights;  ///< ngroups x ngroups entries, row by row; symmetric.

  /// Reads an entry.
  ///
  /// @param a,b  Groups, 0-based.
  /// @return     Weight of the nets that touch both groups.
  [[nodiscard]] std::int64_t at(int a, int b) const {
    return weights[static_cast<std::size_t>(a) * static_cast<std::size_t>(ngroups) +
                   static_cast<std::size_t>(b)];
  }
};

/// Weighs the nets between every two parts, or groups of parts if there are more than `most_groups`.
///
/// @param h            Read only. Needs the nets' weights and pins.
/// @param partition    Of the cells of `h`.
/// @param most_groups  Largest number of rows, at least 1.
/// @return             A row for each part, or for each group; entries as from `part_matrix`.
/// @par Errors         As `part_sizes`, under its own name.
/// @par Cost           As `part_matrix` of a partition into groups, and the matrix.
CutMatrix cut_matrix(const Hypergraph& h, const Partition& partition, int most_groups);

/// A cut net and what it adds to the connectivity minus one.
struct NetCost {
  int net;            ///< From 1.
  int connectivity;   ///< Number of parts that it touches, L.
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
