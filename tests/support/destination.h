#pragma once
// The destination of a copy: a record with its own arrays, and the work arrays of the pruning copies.

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/support/records.h"

namespace quillon {

/// Arrays exactly as long as the module requires, so that the address sanitizer sees an access beyond their
/// ends. Every entry and every count of the record holds kMarker; pointers that copies do not use point to
/// `elsewhere`.
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

  // Further results of a pruning copy.
  std::vector<int> netorder;
  std::vector<int> cellperm;
  std::vector<int> celldeg;
  std::vector<int*> cellend;
  int nmulti = kMarker;

  static int elsewhere[6];
};

/// The mode that accounts for pruned nets.
inline constexpr int kAccount = 2;

/// `CopyConsHypergraph` and `CopyPermConsHypergraph`; the result is in `to.h` and in the arrays of `to`.
int prune(const Hypergraph& from, Destination& to, int maxsize, int mode);
int prune_shuffled(Hypergraph& from, Destination& to, int maxsize, int mode);

/// The same by their twins.
int prune_by_oracle(const Hypergraph& from, Destination& to, int maxsize, int mode);
int prune_shuffled_by_oracle(Hypergraph& from, Destination& to, int maxsize, int mode);

/// All fields of a record and its arrays, including spare entries, with positions in the pin arrays instead
/// of pointers: equal after a function and after its twin.
struct Image {
  std::vector<int> counts;
  std::vector<std::vector<std::int64_t>> cells;  ///< w, inw, pno, wdeg, first and last net.
  std::vector<std::vector<std::int64_t>> nets;   ///< w, first and last pin.
  std::vector<std::vector<int>> arrays;
  bool operator==(const Image&) const = default;
};

Image image_of(const Record& record);

/// With the labels, the further results and the pairs of one-pin nets.
Image image_of(const Destination& destination);

void PrintTo(const Image& image, std::ostream* out);

/// The pointers of a record that copies do not change, as indexes into `elsewhere` (-1: points to another
/// place).
std::vector<int> left_elsewhere(const Hypergraph& h);

/// The counts and totals of a record, in the order of its fields.
std::vector<int> counts_of(const Hypergraph& h);

/// The entries after each cell's list, up to the start of the next cell's.
Lists set_aside_of_cells(const Destination& d);

/// The pins of copy nets first .. last.
Lists pins_of_nets(const Destination& d, int first, int last);

/// The pins of copy net i by their numbers in the source.
std::vector<int> source_pins(const Destination& d, int i);

/// The pairs of one-pin nets and their cells.
Lists internets(const Hypergraph& h);

}  // namespace quillon
