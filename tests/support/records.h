#pragma once
// Small hypergraphs for tests, built by plain code that shares nothing with the module.

#include <cstddef>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon {

/// One list per item: the cells of net 1, 2, .. or the nets of cell 1, 2, ...
using Lists = std::vector<std::vector<int>>;

/// Description of a hypergraph. Without weights all are 1, without parts all are -1.
struct Shape {
  int ncells = 0;
  Lists pins = {};
  std::vector<int> net_weights = {};
  std::vector<int> cell_weights = {};
  std::vector<int> parts = {};
};

/// The side of the incidence that is built. The other one has null lists, but room for them.
enum class Side { kNets, kCells, kBoth };

inline std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// The value of every entry that has not been set.
inline constexpr int kMarker = -7;

/// A hypergraph whose arrays are exactly as long as those of the module and belong to the Record.
///
/// Lists follow one another in the order of their items, a cell's nets in increasing number. A side that is
/// built has the start pointer of its sentinel set. `_totcw` and `_totnw` are the sums, `_totinw`,
/// `_virtualnets` and every `inw` 0. The other summaries, `wdeg`, `_fmt`, `_tag` and all spare entries hold
/// kMarker, and the pointers to other arrays are null.
class Record {
 public:
  explicit Record(const Shape& shape, Side side = Side::kBoth);
  Record(Record&&) = default;

  Hypergraph h = {};

  // The arrays that `h` points to.
  std::vector<Cell> cells;
  std::vector<Net> nets;
  std::vector<int> net_list;
  std::vector<int> cell_list;
};

/// The nets of each cell of a shape, in increasing number, one entry per pin.
Lists nets_of_cells(const Shape& shape);

/// The lists of a record, by its pointers: item 1 first; an absent list is empty.
Lists nets_of_cells(const Hypergraph& h);
Lists pins_of_nets(const Hypergraph& h);

/// One field of cells 1 .. `_c` or nets 1 .. `_n`.
std::vector<int> of_cells(const Hypergraph& h, int Cell::*field);
std::vector<int> of_nets(const Hypergraph& h, int Net::*field);

/// Upper limits for a random hypergraph; the counts may be 0.
struct RandomLimits {
  int ncells = 9;
  int nnets = 9;
  int weight = 9;           ///< Weights are 0 .. weight.
  int nparts = 3;           ///< Parts are 0 .. nparts - 1.
  bool duplicates = false;  ///< Whether a net may list a cell more than once.
};

/// The same hypergraph for the same seed everywhere; pins in no order, with empty nets and cells without
/// nets.
Shape random_shape(unsigned seed, const RandomLimits& limits = {});
Record random_record(unsigned seed, const RandomLimits& limits = {}, Side side = Side::kBoth);

}  // namespace quillon
