#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "hypergraph/detail/lists.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {
namespace {

// Copies lists one after another. Lists that are adjacent in the source are copied together: the call of
// memcpy costs more than copying one list.
class Appender {
 public:
  explicit Appender(int* to) : copied_(to), next_(to) {}

  // Returns where the list will be; it is there once `finish` returns.
  int* append(std::span<const int> list) {
    if (list.empty()) return next_;
    if (list.data() == pending_.data() + pending_.size()) {
      pending_ = {pending_.data(), pending_.size() + list.size()};
    } else {
      copy_pending();
      pending_ = list;
    }
    return std::exchange(next_, next_ + list.size());
  }

  // Returns the end of the last list.
  int* finish() {
    copy_pending();
    pending_ = {};
    return next_;
  }

 private:
  void copy_pending() {
    if (!pending_.empty()) std::memcpy(copied_, pending_.data(), pending_.size_bytes());
    copied_ = next_;
  }

  std::span<const int> pending_;
  int* copied_;  // the end of what has been copied
  int* next_;
};

// Prefetches for a walk over nets order[1 .. n], which may lie anywhere, at net order[i]: the record of a
// later net, and the pins of a nearer one. Without them every net misses the cache once or twice.
constexpr int kAhead = 16;

[[gnu::always_inline]] inline void prefetch_net(const Hypergraph* h, const int* order, int i, int n) {
  if (i > n - 2 * kAhead) return;
  const Net& net = h->_nlst[order[i + 2 * kAhead]];
  prefetch(&net.w);
  prefetch(&net.pinsend);  // may be in another cache line
}

[[gnu::always_inline]] inline void prefetch_pins(const Hypergraph* h, const int* order, int i, int n) {
  if (i > n - kAhead) return;
  const Net& net = h->_nlst[order[i + kAhead]];
  prefetch(net.pins);
  prefetch(net.pinsend);
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

// Replaces each cell in first .. end - 1 by its new number. A pass of its own, so that `number` stays in the
// cache, which the copying of scattered lists would prevent.
void renumber(int* first, const int* end, const int* number) {
  for (int* pin = first; pin != end; ++pin) *pin = number[*pin];
}

// Cell i of the copy is cell order[i] of the source.
void copy_cells_in_order(const Hypergraph* h, Hypergraph* nh, const int* order) {
  for (int i = 1; i <= h->_c; ++i) {
    if (i <= h->_c - kAhead) prefetch(&h->_clst[order[i + kAhead]]);
    copy_cell(h->_clst[order[i]], nh->_clst[i]);
  }
}

void fill_identity(int* order, int count) {
  for (int i = 1; i <= count; ++i) order[i] = i;
}

// The steps of a pruning copy. Copy net i is source net netorder[i].

struct NetCounts {
  int k;  // kept
  int m;  // copied: kept or set aside; the other nets are pruned
};

void begin_pruning(const Hypergraph* h, Hypergraph* nh, int* netorder) {
  copy_counts_and_totals(h, nh);
  nh->_ninternets = 0;
  nh->_internets = nullptr;
  fill_identity(netorder, h->_n);
}

// Moves the nets with fewer than two pins after the others. Each is swapped with the last undecided one,
// which is examined next. Returns m.
int prune_small_nets(const Hypergraph* h, Hypergraph* nh, int* netorder) {
  int m = h->_n;
  for (int i = 1; i <= m;) {
    prefetch_net(h, netorder, i, m);
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

// Moves the nets of maxsize pins or more after the others of the first m, in the same way. Returns k.
int set_big_nets_aside(const Hypergraph* h, int* netorder, int m, int maxsize) {
  int k = m;
  for (int i = 1; i <= k;) {
    prefetch_net(h, netorder, i, k);
    if (net_size(h->_nlst[netorder[i]]) >= maxsize)
      std::swap(netorder[i], netorder[k--]);
    else
      ++i;
  }
  return k;
}

// Removes the nets above k, which are set aside, from a cell's list. They are at its end, and stay after it
// in decreasing number.
void shorten_list(const Hypergraph* nh, Cell& cell, int k) {
  const std::span<int> nets = nets_of(cell);
  auto kept_end = nets.end();
  for (; kept_end != nets.begin() && kept_end[-1] > k; --kept_end)
    subtract_wrapping(cell.wdeg, nh->_nlst[kept_end[-1]].w);
  std::reverse(kept_end, nets.end());
  cell.netsend -= nets.end() - kept_end;
}

// Builds the cells' lists in regions with room for all copied nets of the cell: kept nets fill a region from
// its start, set-aside nets from its end, after the list.
void build_cell_regions(Hypergraph* nh, int* celldeg, NetCounts counts) {
  nh->_n = counts.m;
  construct_net_list(nh, celldeg);
  if (counts.k == counts.m) return;

  Extremes degrees;
  for (int j = 1; j <= nh->_c; ++j) {
    shorten_list(nh, nh->_clst[j], counts.k);
    degrees.add(degree(nh->_clst[j]));
  }
  nh->_maxcd = degrees.max;
  nh->_mincd = degrees.min;
}

void finish_pruning(Hypergraph* nh, int** cellend, NetCounts counts) {
  nh->_n = counts.k;
  nh->_p -= static_cast<int>(nh->_nlst[counts.m + 1].pins - nh->_nlst[counts.k + 1].pins) + nh->_ninternets;
  for (int j = 1; j <= nh->_c; ++j) {
    const Cell& cell = nh->_clst[j];
    cellend[j] = cell.netsend + 1;
    nh->_maxwcd = std::max(nh->_maxwcd, cell.wdeg);
  }
}

// Accounts for the pruned nets. A pair has the copy's number of the cell, cellnumber[c]; the weight goes to
// the copy's cell number c, the source's number, even if the two differ.
//
// @param pruned  Their numbers in the source.
// @param tag     Of the block for the pairs.
void account_for_pruned_nets(const Hypergraph* h, Hypergraph* nh, std::span<const int> pruned,
                             const int* cellnumber, const char* tag) {
  const std::uint64_t bytes = static_cast<std::uint64_t>(nh->_ninternets) * sizeof(InternalNet);
  nh->_internets = static_cast<InternalNet*>(poolalloc(0, bytes, tag));
  InternalNet* internet = nh->_internets;
  for (const int q : pruned) {
    const Net& net = h->_nlst[q];
    if (net_size(net) == 1) {
      const int c = pins_of(net).front();
      *internet++ = {q, cellnumber[c]};
      add_wrapping(nh->_clst[c].inw, net.w);
      add_wrapping(nh->_totinw, net.w);
    } else {
      add_wrapping(nh->_virtualnets, net.w);
      subtract_wrapping(nh->_totnw, net.w);
    }
  }
}

std::span<const int> pruned_nets(const Hypergraph* h, const int* netorder, int m) {
  return {netorder + m + 1, static_cast<std::size_t>(h->_n - m)};
}

void label_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder) {
  std::copy_n(netorder + 1, h->_n, nh->_nlabel + 1);
}

// Writes the pins of net `from` to the cursor in random order (Fisher-Yates, from the end). The source's list
// ends up in the reverse order.
void draw_pins(const Net& from, int*& cursor) {
  const std::span<int> pins = pins_of(from);
  for (int r = net_size(from); r >= 1; --r) {
    std::swap(pins[static_cast<std::size_t>(uRandom(r))], pins[static_cast<std::size_t>(r) - 1]);
    *cursor++ = pins[static_cast<std::size_t>(r) - 1];
  }
}

// Copies the weight and the pins of a net.
void append_net(Appender& pins, const Net& from, Net& net) {
  const std::span<int> list = pins_of(from);
  net.w = from.w;
  net.pins = pins.append(list);
  net.pinsend = net.pins + list.size() - 1;
}

// Copies nets 1 .. m with their pins in the order of the source.
void copy_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int m) {
  Appender pins(nh->_cell_list);
  for (int i = 1; i <= m; ++i) append_net(pins, h->_nlst[netorder[i]], nh->_nlst[i]);
  nh->_nlst[m + 1].pins = pins.finish();
}

// Copies nets 1 .. m with their pins in random order, renumbered.
void draw_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int m, const int* cellperm) {
  int* cursor = nh->_cell_list;
  for (int i = 1; i <= m; ++i) {
    prefetch_net(h, netorder, i, m);
    prefetch_pins(h, netorder, i, m);
    const Net& from = h->_nlst[netorder[i]];
    Net& net = nh->_nlst[i];
    net.w = from.w;
    net.pins = cursor;
    draw_pins(from, cursor);
    net.pinsend = cursor - 1;
  }
  nh->_nlst[m + 1].pins = cursor;
  renumber(nh->_cell_list, cursor, cellperm);
}

}  // namespace

int CopyHypergraph(Hypergraph* nh, const Hypergraph* h) {
  *nh = *h;
  malloc_hypergraph(nh);
  copy_totals(h, nh);
  nh->_ninternets = h->_ninternets;

  Appender pins(nh->_cell_list);
  for (int i = 1; i <= h->_n; ++i) append_net(pins, h->_nlst[i], nh->_nlst[i]);
  nh->_nlst[h->_n + 1].pinsend = pins.finish();

  Appender nets(nh->_net_list);
  for (int j = 1; j <= h->_c; ++j) {
    const std::span<int> list = nets_of(h->_clst[j]);
    Cell& cell = nh->_clst[j];
    copy_cell(h->_clst[j], cell);
    cell.wdeg = h->_clst[j].wdeg;
    cell.nets = nets.append(list);
    cell.netsend = cell.nets + list.size() - 1;
  }
  nh->_clst[h->_c + 1].nets = nets.finish();
  return 0;
}

int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode) {
  begin_pruning(h, nh, netorder);
  const int m = *nmulti = prune_small_nets(h, nh, netorder);
  const int k = set_big_nets_aside(h, netorder, m, maxsize);
  for (int i = k + 1; i <= m; ++i) subtract_wrapping(nh->_totnw, h->_nlst[netorder[i]].w);

  label_nets(h, nh, netorder);
  fill_identity(nh->_clabel, h->_c);

  copy_nets(h, nh, netorder, m);
  for (int j = 1; j <= h->_c; ++j) copy_cell(h->_clst[j], nh->_clst[j]);
  build_cell_regions(nh, celldeg, {k, m});
  finish_pruning(nh, cellend, {k, m});
  if (mode == 2)
    account_for_pruned_nets(h, nh, pruned_nets(h, netorder, m), nh->_clabel,  // the identity
                            "CopyConsHypergraph: nh->_internets");
  return 0;
}

int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode) {
  begin_pruning(h, nh, netorder);
  PermuteInPlace(netorder + 1, h->_n);
  const int m = *nmulti = prune_small_nets(h, nh, netorder);
  const int k = set_big_nets_aside(h, netorder, m, maxsize);  // their weights stay in _totnw

  fill_identity(cellperm, h->_c);
  PermuteInPlace(cellperm + 1, h->_c);
  label_nets(h, nh, netorder);
  for (int j = 1; j <= h->_c; ++j) nh->_clabel[cellperm[j]] = j;

  draw_nets(h, nh, netorder, m, cellperm);
  copy_cells_in_order(h, nh, nh->_clabel);
  build_cell_regions(nh, celldeg, {k, m});
  finish_pruning(nh, cellend, {k, m});
  if (mode == 2)
    account_for_pruned_nets(h, nh, pruned_nets(h, netorder, m), cellperm,
                            "CopyPermConsHypergraph: nh->_internets");
  return 0;
}

void CopySetAsideNets(const Hypergraph* nh, int nmulti, Hypergraph* aside) {
  const Net* const nets = nh->_nlst + nh->_n;  // of which 1 .. aside->_n are set aside
  aside->_c = nh->_c;
  aside->_n = nmulti - nh->_n;
  aside->_p = static_cast<int>(nets[aside->_n + 1].pins - nets[1].pins);
  aside->_fmt = nh->_fmt;
  malloc_hypergraph(aside);

  Appender pins(aside->_cell_list);
  for (int j = 1; j <= aside->_n; ++j) {
    append_net(pins, nets[j], aside->_nlst[j]);
    add_wrapping(aside->_totnw, nets[j].w);
  }
  aside->_nlst[aside->_n + 1].pins = pins.finish();

  for (int i = 1; i <= aside->_c; ++i) {
    copy_cell(nh->_clst[i], aside->_clst[i]);
    aside->_clst[i].inw = 0;
  }
  aside->_totcw = nh->_totcw;
  int* const work = imalloc(std::int64_t{aside->_c} + 1, "CopySetAsideNets: work");
  construct_net_list(aside, work);
  _usfree(work);
}

int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm) {
  int* const reverse = imalloc(std::int64_t{h->_c} + 2, "rcwork");
  for (int i = 1; i <= h->_c; ++i) reverse[cellperm[i]] = i;

  copy_counts_and_totals(h, nh);
  Appender pins(nh->_cell_list);
  for (int j = 1; j <= h->_n; ++j) {
    prefetch_net(h, netperm, j, h->_n);
    prefetch_pins(h, netperm, j, h->_n);
    append_net(pins, h->_nlst[netperm[j]], nh->_nlst[j]);
  }
  nh->_nlst[h->_n + 1].pins = pins.finish();
  renumber(nh->_cell_list, nh->_nlst[h->_n + 1].pins, reverse);

  copy_cells_in_order(h, nh, cellperm);
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
  for (int i = 1; i <= h->_c; ++i)
    if (const int part = h->_clst[i].pno; part >= 0 && part < k) ++next[part];
  int start = 1;
  for (int part = 0; part < k; ++part) start += std::exchange(next[part], start);
  for (int i = 1; i <= h->_c; ++i) {
    const int part = h->_clst[i].pno;
    order[part >= 0 && part < k ? next[part]++ : start++] = i;
  }

  PermuteHypergraph(h, nh, order, order);
  _usfree(order);
  _usfree(next);
}

}  // namespace quillon
