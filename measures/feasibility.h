#pragma once
/// @file
/// What no partition of given weights can reach: lower bounds on the heaviest part, and reasons why limits
/// cannot hold.

#include <cstdint>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/balance.h"

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon::measures {

/// Why some part weighs at least so much.
enum class BoundReason {
  kAverage,     ///< The total over the number of parts, rounded up.
  kDivisor,     ///< The same, rounded up to a multiple of the divisor that all weights have.
  kHeaviest,    ///< It has the heaviest cell.
  kSharedPart,  ///< Of the heaviest cells, some `ncells` are in one part, and weigh at least so much.
  kFixed,       ///< The cells fixed to it weigh so much.
};

/// A weight that the heaviest part has at least.
struct LowerBound {
  std::int64_t weight = 0;
  BoundReason reason = BoundReason::kAverage;
  std::int64_t divisor = 1;    ///< Greatest common divisor of the weights.
  int cell = 0;                ///< Of `kHeaviest`: the heaviest cell.
  int ncells = 0;              ///< Of `kSharedPart`: number of cells that share a part.
  std::int64_t nheaviest = 0;  ///< Of `kSharedPart`: number of heaviest cells that have no other choice.
  int part = -1;               ///< Of `kFixed`.
};

/// Cells of a hypergraph that are to be partitioned.
struct CellWeights {
  std::vector<int> sorted;  ///< Heaviest first.
  std::int64_t total = 0;
  std::int64_t divisor = 0;                 ///< Greatest common divisor; 0 if all weights are 0.
  int heaviest = 0;                         ///< The heaviest cell, the first of equal ones; 0 without cells.
  std::vector<std::int64_t> fixed_weights;  ///< By part: sum over the cells fixed to it; empty if none is.
};

/// Collects what the functions below need.
///
/// @param h       Read only. Needs the cells' weights, at least 0.
/// @param fixed   By cell number: the part that the cell is fixed to, or -1; empty if none is.
/// @param nparts  Number of parts; fixed parts are below.
/// @par Cost      O(_c log _c).
CellWeights cell_weights_of(const Hypergraph& h, const std::vector<int>& fixed, int nparts);

/// Finds a lower bound on the weight of the heaviest part.
///
/// @param weights  Of the cells.
/// @param nparts   Number of parts, at least 1.
/// @return         The largest of the bounds that the reasons give; of equal ones, the first reason.
/// @par Cost       O(_c + nparts).
LowerBound heaviest_part_bound(const CellWeights& weights, int nparts);

/// Why no partition is within its bounds.
struct Obstacle {
  enum class Kind {
    kTotalAboveMost,   ///< All parts together can hold `available`, the cells weigh `needed`.
    kTotalBelowLeast,  ///< All parts together need `needed`, the cells weigh `available`.
    kCell,             ///< The heaviest cell, `cell`, weighs `needed`, the largest bound is `available`.
    kManyCells,   ///< `needed` cells weigh `weight` or more, the parts have room for `available` of them.
    kSharedPart,  ///< Some heavy cells share a part, see `heaviest_part_bound`, and weigh `needed`; the
                  ///< largest bound is `available`.
    kFixed,       ///< The cells fixed to `part` weigh `needed`, its bound is `available`.
    kEmptyParts,  ///< `needed` parts must not be empty, there are `available` cells with weight.
  };
  Kind kind;
  std::int64_t needed = 0;
  std::int64_t available = 0;
  int cell = 0;
  int part = -1;
  std::int64_t weight = 0;
};

/// Looks for reasons why no partition is within its bounds. Finding none proves nothing: whether there is
/// such a partition is hard to tell.
///
/// @param weights  Of the cells.
/// @param bounds   Of the parts.
/// @return         One obstacle of each kind at most, in the order of the kinds.
/// @par Cost       O(_c + 64 nparts).
std::vector<Obstacle> obstacles(const CellWeights& weights, const Bounds& bounds);

}  // namespace quillon::measures

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
