#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

void swap_entries(int* values, int a, int b) {
  const int value = values[a];
  values[a] = values[b];
  values[b] = value;
}

void copy_counts_and_totals(const Hypergraph* h, Hypergraph* nh) {
  nh->_c = h->_c;
  nh->_n = h->_n;
  nh->_p = h->_p;
  nh->_fmt = h->_fmt;
  nh->_totcw = h->_totcw;
  nh->_totinw = h->_totinw;
  nh->_totnw = h->_totnw;
  nh->_virtualnets = h->_virtualnets;
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

// Moves the nets with fewer than two pins after the others; returns the number of others.
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

// Moves the nets of maxsize pins or more after the others of the first nmulti; returns the number kept.
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

// Appends the pins of a net at `at`.
void copy_pins(const Net& from, Net& to, int*& at) {
  to.w = from.w;
  to.pins = at;
  if (from.pins != nullptr)
    for (const int* pin = from.pins; pin <= from.pinsend; ++pin) *at++ = *pin;
  to.pinsend = at - 1;
}

void copy_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int nmulti) {
  int* at = nh->_cell_list;
  for (int i = 1; i <= nmulti; ++i) copy_pins(h->_nlst[netorder[i]], nh->_nlst[i], at);
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

void lay_out_regions(Hypergraph* nh, int* celldeg, int** cellend, int nmulti) {
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
}

// Kept nets fill a cell's region from its start, set-aside ones from its end.
void build_cell_side(Hypergraph* nh, int* celldeg, int** cellend, int nkept, int nmulti) {
  lay_out_regions(nh, celldeg, cellend, nmulti);
  for (int j = 1; j <= nkept; ++j) {
    for (const int* pin = nh->_nlst[j].pins; pin <= nh->_nlst[j].pinsend; ++pin) {
      Cell& cell = nh->_clst[*pin];
      ++cell.netsend;
      *cell.netsend = j;
      cell.wdeg = sum(cell.wdeg, nh->_nlst[j].w);
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

void close_copy(Hypergraph* nh, int nkept) {
  nh->_n = nkept;
  nh->_p -= nh->_ninternets;
  nh->_maxwcd = 0;
  nh->_maxcd = 0;
  nh->_mincd = kNoMinimum;
  for (int i = 1; i <= nh->_c; ++i) {
    const int deg = degree_of(nh->_clst[i]);
    if (nh->_clst[i].wdeg > nh->_maxwcd) nh->_maxwcd = nh->_clst[i].wdeg;
    if (deg > nh->_maxcd) nh->_maxcd = deg;
    if (deg < nh->_mincd) nh->_mincd = deg;
  }
  nh->_internets = nullptr;
}

// The pair names the copy's number of the cell; the weight goes to the cell that has the source's number.
void keep_internal_nets(const Hypergraph* h, Hypergraph* nh, const int* netorder, int nmulti,
                        const int* cellnumber) {
  int ninternets = 0;
  for (int i = nmulti + 1; i <= h->_n; ++i) {
    const Net& net = h->_nlst[netorder[i]];
    if (size_of(net) == 1) {
      nh->_internets[ninternets].net = netorder[i];
      nh->_internets[ninternets].cell = cellnumber[*net.pins];
      ++ninternets;
      nh->_clst[*net.pins].inw = sum(nh->_clst[*net.pins].inw, net.w);
      nh->_totinw = sum(nh->_totinw, net.w);
    } else {
      nh->_virtualnets = sum(nh->_virtualnets, net.w);
      nh->_totnw = difference(nh->_totnw, net.w);
    }
  }
}

InternalNet* allocate_internets(const Hypergraph* nh, const char* tag) {
  const std::uint64_t bytes = static_cast<std::uint64_t>(nh->_ninternets) * sizeof(InternalNet);
  return static_cast<InternalNet*>(services.poolalloc(0, bytes, tag));
}

}  // namespace

int CopyHypergraph(Hypergraph* nh, const Hypergraph* h) {
  *nh = {};
  copy_counts_and_totals(h, nh);
  oracle::malloc_hypergraph(nh);
  copy_counts_and_totals(h, nh);
  nh->_ninternets = h->_ninternets;

  int* at = nh->_cell_list;
  for (int j = 1; j <= h->_n; ++j) copy_pins(h->_nlst[j], nh->_nlst[j], at);
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
  copy_counts_and_totals(h, nh);
  fill_identity(netorder, h->_n);
  *nmulti = prune(h, nh, netorder);
  const int nkept = set_aside(h, netorder, *nmulti, maxsize);
  for (int i = nkept + 1; i <= *nmulti; ++i) nh->_totnw = difference(nh->_totnw, h->_nlst[netorder[i]].w);

  for (int i = 1; i <= h->_n; ++i) nh->_nlabel[i] = netorder[i];
  fill_identity(nh->_clabel, h->_c);
  copy_nets(h, nh, netorder, *nmulti);
  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[i], nh->_clst[i]);
  build_cell_side(nh, celldeg, cellend, nkept, *nmulti);
  close_copy(nh, nkept);
  if (mode == 2) {
    nh->_internets = allocate_internets(nh, "CopyConsHypergraph: nh->_internets");
    keep_internal_nets(h, nh, netorder, *nmulti, nh->_clabel);
  }
  return 0;
}

int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode) {
  copy_counts_and_totals(h, nh);
  fill_identity(netorder, h->_n);
  PermuteInPlace(netorder + 1, h->_n);
  *nmulti = prune(h, nh, netorder);
  const int nkept = set_aside(h, netorder, *nmulti, maxsize);

  fill_identity(cellperm, h->_c);
  PermuteInPlace(cellperm + 1, h->_c);
  for (int i = 1; i <= h->_n; ++i) nh->_nlabel[i] = netorder[i];
  for (int i = 1; i <= h->_c; ++i) nh->_clabel[cellperm[i]] = i;
  copy_nets_shuffled(h, nh, netorder, *nmulti, cellperm);
  for (int i = 1; i <= h->_c; ++i) copy_cell(h->_clst[i], nh->_clst[cellperm[i]]);
  build_cell_side(nh, celldeg, cellend, nkept, *nmulti);
  close_copy(nh, nkept);
  if (mode == 2) {
    nh->_internets = allocate_internets(nh, "CopyPermConsHypergraph: nh->_internets");
    keep_internal_nets(h, nh, netorder, *nmulti, cellperm);
  }
  return 0;
}

int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm) {
  int* const reverse = services.imalloc(std::int64_t{h->_c} + 2, "rcwork");
  for (int i = 1; i <= h->_c; ++i) reverse[cellperm[i]] = i;

  copy_counts_and_totals(h, nh);
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
  oracle::construct_net_list(nh, cellperm);
  services.free(reverse);
  return 0;
}

void SymmetricPermute(const Hypergraph* h, int k, Hypergraph* nh) {
  if (h->_c != h->_n)
    errexit("SymmetricPermute only run in symmetric hypergraphs (#C:%d #N:%d)", h->_c, h->_n);
  int* const next = services.imalloc(k, "con");
  int* const order = services.imalloc(std::int64_t{h->_c} + 2, "cwork");

  int start = 1;
  for (int part = 0; part < k; ++part) {
    next[part] = start;
    for (int i = 1; i <= h->_c; ++i)
      if (h->_clst[i].pno == part) ++start;
  }
  for (int i = 1; i <= h->_c; ++i) order[next[h->_clst[i].pno]++] = i;

  oracle::PermuteHypergraph(h, nh, order, order);
  services.free(order);
  services.free(next);
}

}  // namespace quillon::oracle
