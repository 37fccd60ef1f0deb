#include "tests/support/destination.h"

#include <limits>
#include <ostream>

#include "oracle/oracle.h"

namespace quillon {
namespace {

std::size_t entries(int count, int spares) {
  return static_cast<std::size_t>(count) + static_cast<std::size_t>(spares);
}

// Index in the array, or the smallest number for null.
std::int64_t position(const int* at, const std::vector<int>& array) {
  return at == nullptr ? std::numeric_limits<std::int64_t>::min() : at - array.data();
}

template <typename Owner>
Image image_of_sides(const Owner& owner) {
  Image image;
  image.counts = counts_of(owner.h);
  for (const Cell& cell : owner.cells)
    image.cells.push_back({cell.w, cell.inw, cell.pno, cell.wdeg, position(cell.nets, owner.net_list),
                           position(cell.netsend, owner.net_list)});
  for (const Net& net : owner.nets)
    image.nets.push_back(
        {net.w, position(net.pins, owner.cell_list), position(net.pinsend, owner.cell_list)});
  image.arrays = {owner.net_list, owner.cell_list};
  return image;
}

void print_lists(const char* name, const auto& lists, std::ostream* out) {
  *out << "\n  " << name;
  for (const auto& list : lists) {
    *out << " (";
    for (const auto entry : list) *out << " " << entry;
    *out << " )";
  }
}

}  // namespace

int Destination::elsewhere[6] = {};

Destination::Destination(const Hypergraph& source)
    : cells(entries(source._c, 2), Cell{kMarker, kMarker, kMarker, kMarker, nullptr, nullptr}),
      nets(entries(source._n, 2), Net{kMarker, nullptr, nullptr}),
      net_list(entries(source._p, 2), kMarker),
      cell_list(entries(source._p, 2), kMarker),
      clabel(entries(source._c, 1), kMarker),
      nlabel(entries(source._n, 1), kMarker),
      netorder(entries(source._n, 1), kMarker),
      cellperm(entries(source._c, 1), kMarker),
      celldeg(entries(source._c, 1), kMarker),
      cellend(entries(source._c, 1), elsewhere) {
  h._c = h._n = h._p = h._maxwcd = h._maxcd = h._mincd = kMarker;
  h._totcw = h._totinw = h._totnw = h._virtualnets = h._fmt = h._ninternets = h._tag = kMarker;
  h._clst = cells.data();
  h._nlst = nets.data();
  h._net_list = net_list.data();
  h._cell_list = cell_list.data();
  h._clabel = clabel.data();
  h._nlabel = nlabel.data();
  h._aux1 = elsewhere;
  h._aux2 = elsewhere + 1;
  h._iprm = elsewhere + 2;
  h._iprmi = elsewhere + 3;
  h._netmap = elsewhere + 4;
  h._fixedAtPart = elsewhere + 5;
}

int prune(const Hypergraph& from, Destination& to, int maxsize, int mode) {
  return CopyConsHypergraph(&from, &to.h, to.netorder.data(), to.celldeg.data(), to.cellend.data(), maxsize,
                            &to.nmulti, mode);
}

int prune_shuffled(Hypergraph& from, Destination& to, int maxsize, int mode) {
  return CopyPermConsHypergraph(&from, &to.h, to.netorder.data(), to.cellperm.data(), to.celldeg.data(),
                                to.cellend.data(), maxsize, &to.nmulti, mode);
}

int prune_by_oracle(const Hypergraph& from, Destination& to, int maxsize, int mode) {
  return oracle::CopyConsHypergraph(&from, &to.h, to.netorder.data(), to.celldeg.data(), to.cellend.data(),
                                    maxsize, &to.nmulti, mode);
}

int prune_shuffled_by_oracle(Hypergraph& from, Destination& to, int maxsize, int mode) {
  return oracle::CopyPermConsHypergraph(&from, &to.h, to.netorder.data(), to.cellperm.data(),
                                        to.celldeg.data(), to.cellend.data(), maxsize, &to.nmulti, mode);
}

Image image_of(const Record& record) { return image_of_sides(record); }

Image image_of(const Destination& destination) {
  const Destination& d = destination;
  Image image = image_of_sides(d);
  image.arrays.insert(image.arrays.end(), {d.clabel, d.nlabel, d.netorder, d.cellperm, d.celldeg});
  std::vector<int> ends;
  for (int* const end : d.cellend)
    ends.push_back(end == Destination::elsewhere ? kMarker : static_cast<int>(end - d.net_list.data()));
  image.arrays.push_back(ends);
  image.arrays.push_back(left_elsewhere(d.h));
  image.arrays.push_back({d.nmulti, d.h._internets == nullptr ? 0 : 1});
  if (d.h._internets != nullptr)
    for (const std::vector<int>& pair : internets(d.h)) image.arrays.push_back(pair);
  return image;
}

void PrintTo(const Image& image, std::ostream* out) {
  print_lists("counts", std::vector<std::vector<int>>{image.counts}, out);
  print_lists("cells", image.cells, out);
  print_lists("nets", image.nets, out);
  print_lists("arrays", image.arrays, out);
}

std::vector<int> left_elsewhere(const Hypergraph& h) {
  std::vector<int> indexes;
  for (const void* const pointer :
       {h._aux1, h._aux2, static_cast<void*>(h._iprm), static_cast<void*>(h._iprmi),
        static_cast<void*>(h._netmap), static_cast<void*>(h._fixedAtPart)}) {
    int index = -1;
    for (int i = 0; i < 6; ++i)
      if (pointer == Destination::elsewhere + i) index = i;
    indexes.push_back(index);
  }
  return indexes;
}

std::vector<int> counts_of(const Hypergraph& h) {
  return {h._c,      h._n,     h._p,           h._maxwcd, h._maxcd,      h._mincd, h._totcw,
          h._totinw, h._totnw, h._virtualnets, h._fmt,    h._ninternets, h._tag};
}

Lists set_aside_of_cells(const Destination& d) {
  Lists lists;
  for (int j = 1; j <= d.h._c; ++j)
    lists.emplace_back(d.cellend.at(static_cast<std::size_t>(j)), d.h._clst[j + 1].nets);
  return lists;
}

Lists pins_of_nets(const Destination& d, int first, int last) {
  Lists lists;
  for (int i = first; i <= last; ++i) lists.emplace_back(d.h._nlst[i].pins, d.h._nlst[i].pinsend + 1);
  return lists;
}

std::vector<int> source_pins(const Destination& d, int i) {
  std::vector<int> pins = pins_of_nets(d, i, i).front();
  for (int& c : pins) c = d.clabel.at(static_cast<std::size_t>(c));
  return pins;
}

Lists internets(const Hypergraph& h) {
  Lists pairs;
  for (int i = 0; i < h._ninternets; ++i) pairs.push_back({h._internets[i].net, h._internets[i].cell});
  return pairs;
}

}  // namespace quillon
