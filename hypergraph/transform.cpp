#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

#include "hypergraph/hypergraph.h"
#include "hypergraph/lists.h"
#include "util/util.h"

namespace quillon {
namespace {

// Copies a list to the cursor and moves the cursor behind it.
void append(int*& cursor, std::span<const int> list) {
  if (!list.empty()) std::memcpy(cursor, list.data(), list.size_bytes());
  cursor += list.size();
}

void copy_totals(const Hypergraph* h, Hypergraph* nh) {
  nh->_totcw = h->_totcw;
  nh->_totinw = h->_totinw;
  nh->_totnw = h->_totnw;
  nh->_virtualnets = h->_virtualnets;
}

void copy_counts_and_totals(const Hypergraph* h, Hypergraph* nh) {
  nh->_c = h->_c;
  nh->_n = h->_n;
  nh->_p = h->_p;
  copy_totals(h, nh);
  nh->_fmt = h->_fmt;
}

void copy_cell(const Cell& from, Cell& to) {
  to.w = from.w;
  to.inw = from.inw;
  to.pno = from.pno;
}

void fill_identity(int* order, int count) {
  for (int i = 1; i <= count; ++i) order[i] = i;
}

// The steps of a pruning copy, in the order in which the two kinds of it take them. Copy net i is source net
// netorder[i]; k nets are kept, m have two pins or more, the rest is pruned.

void begin_pruning(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg) {
  copy_counts_and_totals(h, nh);
  nh->_ninternets = 0;
  std::fill_n(celldeg, std::int64_t{h->_c} + 1, 0);
  fill_identity(netorder, h->_n);
}

// Moves the nets with fewer than two pins behind the others. Each changes places with the last undecided one,
// which is looked at next. Returns m.
int prune_small_nets(const Hypergraph* h, Hypergraph* nh, int* netorder) {
  int m = h->_n;
  for (int i = 1; i <= m;) {
    const int size = net_size(h->_nlst[netorder[i]]);
    if (size > 1) {
      ++i;
      continue;
    }
    std::swap(netorder[i], netorder[m--]);
    if (size == 1) ++nh->_ninternets;
  }
  return m;
}

// Moves the nets of maxsize pins or more behind the others of the first m, in the same way. Returns k.
int set_big_nets_aside(const Hypergraph* h, int* netorder, int m, int maxsize) {
  int k = m;
  for (int i = 1; i <= k;) {
    if (net_size(h->_nlst[netorder[i]]) >= maxsize)
      std::swap(netorder[i], netorder[k--]);
    else
      ++i;
  }
  return k;
}

// Gives every cell a region for all its copied nets, of which none are in its list yet.
void lay_out_cells(Hypergraph* nh, const int* celldeg, int** cellend) {
  nh->_maxwcd = 0;
  nh->_maxcd = 0;
  nh->_mincd = kNoMinimum;
  int* cursor = nh->_net_list;
  for (int j = 1; j <= nh->_c; ++j) {
    Cell& cell = nh->_clst[j];
    cell.nets = cursor;
    cell.netsend = cursor - 1;
    cell.wdeg = 0;
    cursor += celldeg[j];
    cellend[j] = cursor;
  }
  nh->_clst[nh->_c + 1].nets = cursor;
}

// Kept nets fill a cell's region from its start, set-aside ones from its end: there the list does not see
// them.
void fill_cells(Hypergraph* nh, int** cellend, int k, int m) {
  for (int i = 1; i <= k; ++i) {
    const Net& net = nh->_nlst[i];
    for (const int c : pins_of(net)) {
      Cell& cell = nh->_clst[c];
      *++cell.netsend = i;
      add_wrapping(cell.wdeg, net.w);
    }
  }
  for (int i = k + 1; i <= m; ++i) {
    for (const int c : pins_of(nh->_nlst[i])) *--cellend[c] = i;
    nh->_p -= static_cast<int>(nh->_nlst[i + 1].pins - nh->_nlst[i].pins);
  }
}

std::uint64_t internets_bytes(const Hypergraph* nh) {
  return static_cast<std::uint64_t>(nh->_ninternets) * sizeof(InternalNet);
}

// Accounts for the pruned nets. The pair names the cell as the copy numbers it (cellnumber); the weight goes
// to the copy's cell of the source's number, also where the two differ.
void account_for_pruned_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int m,
                             const int* cellnumber) {
  InternalNet* internet = nh->_internets;
  for (int q = m + 1; q <= h->_n; ++q) {
    const Net& net = h->_nlst[netorder[q]];
    if (net_size(net) == 1) {
      const int c = *net.pins;
      *internet++ = {netorder[q], cellnumber[c]};
      add_wrapping(nh->_clst[c].inw, net.w);
      add_wrapping(nh->_totinw, net.w);
    } else {
      add_wrapping(nh->_virtualnets, net.w);
      subtract_wrapping(nh->_totnw, net.w);
    }
  }
}

void finish_pruning(Hypergraph* nh, int k) {
  nh->_n = k;
  nh->_p -= nh->_ninternets;
  for (int j = 1; j <= nh->_c; ++j) {
    const Cell& cell = nh->_clst[j];
    nh->_maxwcd = std::max(nh->_maxwcd, cell.wdeg);
    nh->_mincd = std::min(nh->_mincd, degree(cell));
    nh->_maxcd = std::max(nh->_maxcd, degree(cell));
  }
}

void label_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder) {
  std::copy_n(netorder + 1, h->_n, nh->_nlabel + 1);
}

// Writes the pins of net `from` to the cursor, drawn one by one from those not drawn yet (Fisher-Yates, from
// the end), under their new numbers. The drawn ones pile up at the end of the source's list, which so changes
// its order.
void draw_pins(const Net& from, int*& cursor, const int* cellperm) {
  for (int r = net_size(from); r >= 1; --r) {
    std::swap(from.pins[uRandom(r)], from.pins[r - 1]);
    *cursor++ = cellperm[from.pins[r - 1]];
  }
}

// Copies nets 1 .. m with their pins: as they stand, or drawn and renumbered by `cellperm` if there is one.
void copy_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int m, const int* cellperm,
               int* celldeg) {
  int* cursor = nh->_cell_list;
  for (int i = 1; i <= m; ++i) {
    const Net& from = h->_nlst[netorder[i]];
    Net& net = nh->_nlst[i];
    net.w = from.w;
    net.pins = cursor;
    if (cellperm == nullptr)
      append(cursor, pins_of(from));
    else
      draw_pins(from, cursor, cellperm);
    net.pinsend = cursor - 1;
    for (const int c : pins_of(net)) ++celldeg[c];
  }
  nh->_nlst[m + 1].pins = cursor;
}

}  // namespace

int CopyHypergraph(Hypergraph* nh, const Hypergraph* h) {
  *nh = *h;
  malloc_hypergraph(nh);
  copy_totals(h, nh);
  nh->_ninternets = h->_ninternets;

  int* cursor = nh->_cell_list;
  for (int i = 1; i <= h->_n; ++i) {
    Net& net = nh->_nlst[i];
    net.w = h->_nlst[i].w;
    net.pins = cursor;
    append(cursor, pins_of(h->_nlst[i]));
    net.pinsend = cursor - 1;
  }
  nh->_nlst[h->_n + 1].pinsend = cursor;

  cursor = nh->_net_list;
  for (int j = 1; j <= h->_c; ++j) {
    Cell& cell = nh->_clst[j];
    copy_cell(h->_clst[j], cell);
    cell.wdeg = h->_clst[j].wdeg;
    cell.nets = cursor;
    append(cursor, nets_of(h->_clst[j]));
    cell.netsend = cursor - 1;
  }
  nh->_clst[h->_c + 1].nets = cursor;
  return 0;
}

int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode) {
  begin_pruning(h, nh, netorder, celldeg);
  const int m = *nmulti = prune_small_nets(h, nh, netorder);
  const int k = set_big_nets_aside(h, netorder, m, maxsize);
  for (int i = k + 1; i <= m; ++i) subtract_wrapping(nh->_totnw, h->_nlst[netorder[i]].w);

  label_nets(h, nh, netorder);
  fill_identity(nh->_clabel, h->_c);

  copy_nets(h, nh, netorder, m, nullptr, celldeg);
  for (int j = 1; j <= h->_c; ++j) copy_cell(h->_clst[j], nh->_clst[j]);
  lay_out_cells(nh, celldeg, cellend);
  fill_cells(nh, cellend, k, m);
  nh->_internets = nullptr;
  if (mode == 2) {
    nh->_internets =
        static_cast<InternalNet*>(poolalloc(0, internets_bytes(nh), "CopyConsHypergraph: nh->_internets"));
    account_for_pruned_nets(h, nh, netorder, m, nh->_clabel);  // which is the identity here
  }
  finish_pruning(nh, k);
  return 0;
}

int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode) {
  begin_pruning(h, nh, netorder, celldeg);
  PermuteInPlace(netorder + 1, h->_n);
  const int m = *nmulti = prune_small_nets(h, nh, netorder);
  const int k = set_big_nets_aside(h, netorder, m, maxsize);  // their weights stay in _totnw

  fill_identity(cellperm, h->_c);
  PermuteInPlace(cellperm + 1, h->_c);
  label_nets(h, nh, netorder);
  for (int j = 1; j <= h->_c; ++j) nh->_clabel[cellperm[j]] = j;

  copy_nets(h, nh, netorder, m, cellperm, celldeg);
  for (int j = 1; j <= h->_c; ++j) copy_cell(h->_clst[j], nh->_clst[cellperm[j]]);
  lay_out_cells(nh, celldeg, cellend);
  fill_cells(nh, cellend, k, m);
  nh->_internets = nullptr;
  if (mode == 2) {
    nh->_internets = static_cast<InternalNet*>(
        poolalloc(0, internets_bytes(nh), "CopyPermConsHypergraph: nh->_internets"));
    account_for_pruned_nets(h, nh, netorder, m, cellperm);
  }
  finish_pruning(nh, k);
  return 0;
}

int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm) {
  int* const reverse = imalloc(std::int64_t{h->_c} + 2, "rcwork");
  for (int i = 1; i <= h->_c; ++i) reverse[cellperm[i]] = i;

  copy_counts_and_totals(h, nh);
  int* cursor = nh->_cell_list;
  for (int j = 1; j <= h->_n; ++j) {
    const Net& from = h->_nlst[netperm[j]];
    Net& net = nh->_nlst[j];
    net.w = from.w;
    net.pins = cursor;
    for (const int c : pins_of(from)) *cursor++ = reverse[c];
    net.pinsend = cursor - 1;
  }
  nh->_nlst[h->_n + 1].pins = cursor;

  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[cellperm[i]], nh->_clst[i]);
  construct_net_list(nh, cellperm);
  _usfree(reverse);
  return 0;
}

void SymmetricPermute(const Hypergraph* h, int k, Hypergraph* nh) {
  if (h->_c != h->_n)
    errexit("SymmetricPermute only run in symmetric hypergraphs (#C:%d #N:%d)", h->_c, h->_n);
  int* const next = imalloc(k, "con");
  int* const order = imalloc(std::int64_t{h->_c} + 2, "cwork");

  std::fill_n(next, k, 0);
  for (int i = 1; i <= h->_c; ++i) {
    assert(h->_clst[i].pno >= 0 && h->_clst[i].pno < k);
    ++next[h->_clst[i].pno];
  }
  for (int part = 0, start = 1; part < k; ++part) start += std::exchange(next[part], start);
  for (int i = 1; i <= h->_c; ++i) order[next[h->_clst[i].pno]++] = i;

  PermuteHypergraph(h, nh, order, order);
  _usfree(order);
  _usfree(next);
}

}  // namespace quillon
