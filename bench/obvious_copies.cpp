#include "bench/obvious.h"
#include "util/util.h"

namespace quillon::obvious {
namespace {

int size_of(const Net& net) {
  if (net.pins == nullptr) return 0;
  return static_cast<int>(net.pinsend - net.pins) + 1;
}

void swap_entries(int* values, int a, int b) {
  const int value = values[a];
  values[a] = values[b];
  values[b] = value;
}

void copy_totals(const Hypergraph* h, Hypergraph* nh) {
  nh->_totcw = h->_totcw;
  nh->_totinw = h->_totinw;
  nh->_totnw = h->_totnw;
  nh->_virtualnets = h->_virtualnets;
}

void copy_counts(const Hypergraph* h, Hypergraph* nh) {
  nh->_c = h->_c;
  nh->_n = h->_n;
  nh->_p = h->_p;
  nh->_fmt = h->_fmt;
}

void copy_cell(const Cell& from, Cell& to) {
  to.w = from.w;
  to.inw = from.inw;
  to.pno = from.pno;
}

// Entries 1 .. count.
void fill_identity(int* values, int count) {
  for (int i = 1; i <= count; ++i) values[i] = i;
}

void shuffle(int* values, int count) {
  for (int i = count; i > 1; --i) swap_entries(values, i, uRandom(i) + 1);
}

// Moves the nets with fewer than two pins behind the others; returns how many others there are.
int prune(const Hypergraph* h, Hypergraph* nh, int* netorder) {
  nh->_ninternets = 0;
  int nmulti = h->_n;
  int i = 1;
  while (i <= nmulti) {
    const int size = size_of(h->_nlst[netorder[i]]);
    if (size >= 2) {
      ++i;
    } else {
      if (size == 1) ++nh->_ninternets;
      swap_entries(netorder, i, nmulti);
      --nmulti;
    }
  }
  return nmulti;
}

// Moves the nets of maxsize pins or more behind the others of the first nmulti; returns how many are kept.
int set_aside(const Hypergraph* h, int* netorder, int nmulti, int maxsize) {
  int nkept = nmulti;
  int i = 1;
  while (i <= nkept) {
    if (size_of(h->_nlst[netorder[i]]) < maxsize) {
      ++i;
    } else {
      swap_entries(netorder, i, nkept);
      --nkept;
    }
  }
  return nkept;
}

void copy_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int nmulti) {
  int* at = nh->_cell_list;
  for (int i = 1; i <= nmulti; ++i) {
    const Net& from = h->_nlst[netorder[i]];
    nh->_nlst[i].w = from.w;
    nh->_nlst[i].pins = at;
    for (const int* pin = from.pins; pin <= from.pinsend; ++pin) *at++ = *pin;
    nh->_nlst[i].pinsend = at - 1;
  }
  nh->_nlst[nmulti + 1].pins = at;
}

void copy_nets_shuffled(const Hypergraph* h, Hypergraph* nh, const int* netorder, int nmulti,
                        const int* cellperm) {
  int* at = nh->_cell_list;
  for (int i = 1; i <= nmulti; ++i) {
    const Net& from = h->_nlst[netorder[i]];
    nh->_nlst[i].w = from.w;
    nh->_nlst[i].pins = at;
    for (int r = size_of(from); r >= 1; --r) {
      swap_entries(from.pins, uRandom(r), r - 1);
      *at++ = cellperm[from.pins[r - 1]];
    }
    nh->_nlst[i].pinsend = at - 1;
  }
  nh->_nlst[nmulti + 1].pins = at;
}

// Kept nets fill a cell's region from its start, set-aside ones from its end.
void build_cell_side(Hypergraph* nh, int* celldeg, int** cellend, int nkept, int nmulti) {
  for (int i = 0; i <= nh->_c; ++i) celldeg[i] = 0;
  for (int j = 1; j <= nmulti; ++j)
    for (const int* pin = nh->_nlst[j].pins; pin <= nh->_nlst[j].pinsend; ++pin) ++celldeg[*pin];

  int* at = nh->_net_list;
  for (int i = 1; i <= nh->_c; ++i) {
    nh->_clst[i].wdeg = 0;
    nh->_clst[i].nets = at;
    nh->_clst[i].netsend = at - 1;
    at += celldeg[i];
    cellend[i] = at;
  }
  nh->_clst[nh->_c + 1].nets = at;

  for (int j = 1; j <= nkept; ++j) {
    for (const int* pin = nh->_nlst[j].pins; pin <= nh->_nlst[j].pinsend; ++pin) {
      ++nh->_clst[*pin].netsend;
      *nh->_clst[*pin].netsend = j;
      nh->_clst[*pin].wdeg += nh->_nlst[j].w;
    }
  }
  for (int j = nkept + 1; j <= nmulti; ++j) {
    for (const int* pin = nh->_nlst[j].pins; pin <= nh->_nlst[j].pinsend; ++pin) {
      --cellend[*pin];
      *cellend[*pin] = j;
      --nh->_p;
    }
  }
}

void keep_internal_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int nmulti,
                        const int* cellnumber) {
  nh->_internets = static_cast<InternalNet*>(take(std::int64_t{nh->_ninternets} + 1, sizeof(InternalNet)));
  int ninternets = 0;
  for (int i = nmulti + 1; i <= h->_n; ++i) {
    const Net& net = h->_nlst[netorder[i]];
    if (size_of(net) == 1) {
      nh->_internets[ninternets].net = netorder[i];
      nh->_internets[ninternets].cell = cellnumber[*net.pins];
      ++ninternets;
      nh->_clst[*net.pins].inw += net.w;
      nh->_totinw += net.w;
    } else {
      nh->_virtualnets += net.w;
      nh->_totnw -= net.w;
    }
  }
}

void close_copy(Hypergraph* nh, int nkept) {
  nh->_n = nkept;
  nh->_p -= nh->_ninternets;
  nh->_maxwcd = 0;
  nh->_maxcd = 0;
  nh->_mincd = 2000000000;
  for (int i = 1; i <= nh->_c; ++i) {
    const int deg = static_cast<int>(nh->_clst[i].netsend - nh->_clst[i].nets) + 1;
    if (nh->_clst[i].wdeg > nh->_maxwcd) nh->_maxwcd = nh->_clst[i].wdeg;
    if (deg > nh->_maxcd) nh->_maxcd = deg;
    if (deg < nh->_mincd) nh->_mincd = deg;
  }
}

}  // namespace

int CopyHypergraph(Hypergraph* nh, const Hypergraph* h) {
  *nh = {};
  copy_counts(h, nh);
  copy_totals(h, nh);
  nh->_ninternets = h->_ninternets;
  take_arrays(nh);

  int* at = nh->_cell_list;
  for (int j = 1; j <= h->_n; ++j) {
    nh->_nlst[j].w = h->_nlst[j].w;
    nh->_nlst[j].pins = at;
    if (h->_nlst[j].pins != nullptr)
      for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) *at++ = *pin;
    nh->_nlst[j].pinsend = at - 1;
  }
  nh->_nlst[h->_n + 1].pinsend = at;

  at = nh->_net_list;
  for (int i = 1; i <= h->_c; ++i) {
    copy_cell(h->_clst[i], nh->_clst[i]);
    nh->_clst[i].wdeg = h->_clst[i].wdeg;
    nh->_clst[i].nets = at;
    for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) *at++ = *net;
    nh->_clst[i].netsend = at - 1;
  }
  nh->_clst[h->_c + 1].nets = at;
  return 0;
}

int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode) {
  copy_counts(h, nh);
  copy_totals(h, nh);
  fill_identity(netorder, h->_n);
  *nmulti = prune(h, nh, netorder);
  const int nkept = set_aside(h, netorder, *nmulti, maxsize);
  for (int i = nkept + 1; i <= *nmulti; ++i) nh->_totnw -= h->_nlst[netorder[i]].w;

  for (int i = 1; i <= h->_n; ++i) nh->_nlabel[i] = netorder[i];
  fill_identity(nh->_clabel, h->_c);
  copy_nets(h, nh, netorder, *nmulti);
  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[i], nh->_clst[i]);
  build_cell_side(nh, celldeg, cellend, nkept, *nmulti);
  if (mode == 2) keep_internal_nets(h, nh, netorder, *nmulti, nh->_clabel);
  close_copy(nh, nkept);
  return 0;
}

int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode) {
  copy_counts(h, nh);
  copy_totals(h, nh);
  fill_identity(netorder, h->_n);
  shuffle(netorder, h->_n);
  *nmulti = prune(h, nh, netorder);
  const int nkept = set_aside(h, netorder, *nmulti, maxsize);

  fill_identity(cellperm, h->_c);
  shuffle(cellperm, h->_c);
  for (int i = 1; i <= h->_n; ++i) nh->_nlabel[i] = netorder[i];
  for (int i = 1; i <= h->_c; ++i) nh->_clabel[cellperm[i]] = i;
  copy_nets_shuffled(h, nh, netorder, *nmulti, cellperm);
  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[i], nh->_clst[cellperm[i]]);
  build_cell_side(nh, celldeg, cellend, nkept, *nmulti);
  if (mode == 2) keep_internal_nets(h, nh, netorder, *nmulti, cellperm);
  close_copy(nh, nkept);
  return 0;
}

int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm) {
  int* const reverse = take_ints(std::int64_t{h->_c} + 1);
  for (int i = 1; i <= h->_c; ++i) reverse[cellperm[i]] = i;

  copy_counts(h, nh);
  copy_totals(h, nh);
  int* at = nh->_cell_list;
  for (int j = 1; j <= h->_n; ++j) {
    const Net& from = h->_nlst[netperm[j]];
    nh->_nlst[j].w = from.w;
    nh->_nlst[j].pins = at;
    if (from.pins != nullptr)
      for (const int* pin = from.pins; pin <= from.pinsend; ++pin) *at++ = reverse[*pin];
    nh->_nlst[j].pinsend = at - 1;
  }
  nh->_nlst[h->_n + 1].pins = at;

  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[cellperm[i]], nh->_clst[i]);
  obvious::construct_net_list(nh, cellperm);
  std::free(reverse);
  return 0;
}

}  // namespace quillon::obvious
