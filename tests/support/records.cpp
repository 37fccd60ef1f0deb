#include "tests/support/records.h"

#include <numeric>
#include <random>

namespace quillon {
namespace {

// The value of item k, from 1, or a default if no values are given.
int given(const std::vector<int>& values, int k, int otherwise) {
  return values.empty() ? otherwise : values.at(static_cast<std::size_t>(k) - 1);
}

// Sums wrap, as in the module.
int total(const std::vector<int>& values, int count) {
  if (values.empty()) return count;
  unsigned sum = 0;
  for (const int value : values) sum += static_cast<unsigned>(value);
  return static_cast<int>(sum);
}

std::size_t with_spares(int count) { return static_cast<std::size_t>(count) + 2; }

int count_pins(const Shape& shape) {
  std::size_t npins = 0;
  for (const std::vector<int>& pins : shape.pins) npins += pins.size();
  return static_cast<int>(npins);
}

Hypergraph summary_of(const Shape& shape) {
  Hypergraph h = {};
  h._c = shape.ncells;
  h._n = static_cast<int>(shape.pins.size());
  h._p = count_pins(shape);
  h._maxwcd = h._maxcd = h._mincd = h._fmt = h._tag = kMarker;
  h._totcw = total(shape.cell_weights, h._c);
  h._totnw = total(shape.net_weights, h._n);
  return h;
}

// Stores the lists one after another and passes the first and last entry of each to `set`, then the end for
// the sentinel.
template <typename SetRange>
void lay_out(const Lists& lists, std::vector<int>& array, const SetRange& set) {
  std::size_t at = 0;
  std::size_t item = 1;
  for (const std::vector<int>& list : lists) {
    int* const first = array.data() + at;
    for (const int entry : list) array.at(at++) = entry;
    set(item++, first, array.data() + at - 1);
  }
  set(item, array.data() + at, nullptr);
}

std::vector<int> list_between(const int* first, const int* last) {
  std::vector<int> list;
  if (first == nullptr) return list;
  for (const int* entry = first; entry <= last; ++entry) list.push_back(*entry);
  return list;
}

}  // namespace

Record::Record(const Shape& shape, Side side)
    : h(summary_of(shape)),
      cells(with_spares(h._c), Cell{kMarker, kMarker, kMarker, kMarker, nullptr, nullptr}),
      nets(with_spares(h._n), Net{kMarker, nullptr, nullptr}),
      net_list(with_spares(h._p), kMarker),
      cell_list(with_spares(h._p), kMarker) {
  h._clst = cells.data();
  h._nlst = nets.data();
  h._net_list = net_list.data();
  h._cell_list = cell_list.data();
  for (int i = 1; i <= h._c; ++i) {
    h._clst[i].w = given(shape.cell_weights, i, 1);
    h._clst[i].inw = 0;
    h._clst[i].pno = given(shape.parts, i, -1);
  }
  for (int j = 1; j <= h._n; ++j) h._nlst[j].w = given(shape.net_weights, j, 1);

  if (side != Side::kCells)
    lay_out(shape.pins, cell_list, [this](std::size_t j, int* first, int* last) {
      nets.at(j).pins = first;
      nets.at(j).pinsend = last;
    });
  if (side != Side::kNets)
    lay_out(nets_of_cells(shape), net_list, [this](std::size_t i, int* first, int* last) {
      cells.at(i).nets = first;
      cells.at(i).netsend = last;
    });
}

Lists nets_of_cells(const Shape& shape) {
  Lists nets(static_cast<std::size_t>(shape.ncells));
  int j = 1;
  for (const std::vector<int>& pins : shape.pins) {
    for (const int i : pins) nets.at(static_cast<std::size_t>(i) - 1).push_back(j);
    ++j;
  }
  return nets;
}

Lists nets_of_cells(const Hypergraph& h) {
  Lists lists;
  for (int i = 1; i <= h._c; ++i) lists.push_back(list_between(h._clst[i].nets, h._clst[i].netsend));
  return lists;
}

Lists pins_of_nets(const Hypergraph& h) {
  Lists lists;
  for (int j = 1; j <= h._n; ++j) lists.push_back(list_between(h._nlst[j].pins, h._nlst[j].pinsend));
  return lists;
}

std::vector<int> of_cells(const Hypergraph& h, int Cell::*field) {
  std::vector<int> values;
  for (int i = 1; i <= h._c; ++i) values.push_back(h._clst[i].*field);
  return values;
}

std::vector<int> of_nets(const Hypergraph& h, int Net::*field) {
  std::vector<int> values;
  for (int j = 1; j <= h._n; ++j) values.push_back(h._nlst[j].*field);
  return values;
}

Shape random_shape(unsigned seed, const RandomLimits& limits) {
  std::mt19937 generator(seed);
  // The generator is the same in every standard library, the distributions are not.
  const auto below = [&generator](int bound) {
    return static_cast<int>(generator() % static_cast<unsigned>(bound));
  };

  Shape shape;
  shape.ncells = below(limits.ncells + 1);
  const int nnets = below(limits.nnets + 1);
  for (int j = 1; j <= nnets; ++j) {
    std::vector<int> left(static_cast<std::size_t>(shape.ncells));
    std::iota(left.begin(), left.end(), 1);
    std::vector<int> pins;
    for (int n = below(shape.ncells + 1); n > 0; --n) {
      const auto chosen = left.begin() + below(static_cast<int>(left.size()));
      pins.push_back(*chosen);
      if (!limits.duplicates) left.erase(chosen);
    }
    shape.pins.push_back(pins);
    shape.net_weights.push_back(below(limits.weight + 1));
  }
  for (int i = 1; i <= shape.ncells; ++i) {
    shape.cell_weights.push_back(below(limits.weight + 1));
    shape.parts.push_back(below(limits.nparts));
  }
  return shape;
}

Record random_record(unsigned seed, const RandomLimits& limits, Side side) {
  return Record(random_shape(seed, limits), side);
}

}  // namespace quillon
