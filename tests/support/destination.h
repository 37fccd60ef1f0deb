#pragma once
// What a hypergraph is copied into: a record with arrays of its own, and the work arrays of the pruning
// copies.

#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/support/records.h"

namespace quillon {

/// Arrays as long as the module asks for, so that the address sanitizer sees one entry more. Every entry, and
/// every count of the record, holds kMarker; the pointers that no copy has to do with point to `elsewhere`.
class Destination {
 public:
  explicit Destination(const Hypergraph& source);
  Destination(Destination&&) = default;

  Hypergraph h = {};

  // The arrays that `h` points to.
  std::vector<Cell> cells;
  std::vector<Net> nets;
  std::vector<int> net_list;
  std::vector<int> cell_list;
  std::vector<int> clabel;
  std::vector<int> nlabel;

  // What the caller of a pruning copy gets beside it.
  std::vector<int> netorder;
  std::vector<int> cellperm;
  std::vector<int> celldeg;
  std::vector<int*> cellend;
  int nmulti = kMarker;

  static int elsewhere[6];
};

/// `CopyConsHypergraph` and `CopyPermConsHypergraph`; the result is in `to.h` and in the arrays of `to`.
int prune(const Hypergraph& from, Destination& to, int maxsize, int mode);
int prune_shuffled(Hypergraph& from, Destination& to, int maxsize, int mode);

/// The pointers of a record that copies into it leave alone, as indexes into `elsewhere` (-1 for others).
std::vector<int> left_elsewhere(const Hypergraph& h);

/// The counts and totals of a record, in the order of its fields.
std::vector<int> counts_of(const Hypergraph& h);

/// The nets that stand behind each cell's list, up to where the next cell's begins, as they stand there.
Lists set_aside_of_cells(const Destination& d);

/// The pins of copy nets first .. last.
Lists pins_of_nets(const Destination& d, int first, int last);

/// The pins of copy net i by their numbers in the source.
std::vector<int> source_pins(const Destination& d, int i);

/// The pairs of one-pin nets and their cells.
Lists internets(const Hypergraph& h);

}  // namespace quillon
