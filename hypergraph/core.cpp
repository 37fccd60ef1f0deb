#include <algorithm>
#include <cstdio>

#include "hypergraph/hypergraph.h"
#include "hypergraph/lists.h"
#include "util/util.h"

namespace quillon {
namespace {

// Counts are widened before they are multiplied: four bytes for each of 2^31 pins are more than 32 bits hold.
std::uint64_t bytes_for(int count, std::uint64_t each, std::uint64_t extra) {
  return each * static_cast<std::uint64_t>(count) + extra;
}

std::uint64_t cell_bytes(const Hypergraph* h) { return bytes_for(h->_c, sizeof(Cell), 2 * sizeof(Cell)); }
std::uint64_t net_bytes(const Hypergraph* h) { return bytes_for(h->_n, sizeof(Net), 2 * sizeof(Net)); }
std::uint64_t pin_bytes(const Hypergraph* h) { return bytes_for(h->_p, sizeof(int), 2 * sizeof(int)); }

// Sets every summary to zero and every pointer to null. The counts and the weight format are the caller's.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name it has always had, and not seen outside this file
void _InitHypergraph(Hypergraph* h) {
  Hypergraph fresh{};
  fresh._c = h->_c;
  fresh._n = h->_n;
  fresh._p = h->_p;
  fresh._fmt = h->_fmt;
  *h = fresh;
}

int* pool_ints(int pool, std::uint64_t bytes, const char* tag) {
  return static_cast<int*>(poolalloc(pool, bytes, tag));
}

// Releasing a block takes every younger one with it, so the one at the higher address has to go first: a
// pruning copy may take _internets before or after the new record's nets.
void release_nets_and_internets(const Hypergraph* h) {
  if (h->_internets == nullptr) {
    poolfree_upto(0, h->_nlst, "destroy_hypergraph_data: nlst");
  } else if (reinterpret_cast<std::uintptr_t>(h->_nlst) >= reinterpret_cast<std::uintptr_t>(h->_internets)) {
    poolfree_upto(0, h->_nlst, "destroy_hypergraph_data: nlst");
    poolfree_upto(0, h->_internets, "destroy_hypergraph_data: internnets");
  } else {
    poolfree_upto(0, h->_internets, "destroy_hypergraph_data: internnets");
    poolfree_upto(0, h->_nlst, "destroy_hypergraph_data: nlst");
  }
}

}  // namespace

Hypergraph* create_hypergraph(int tag) {
  auto* const h = static_cast<Hypergraph*>(poolalloc(0, sizeof(Hypergraph), "create_hypergraph: h"));
  _InitHypergraph(h);
  h->_tag = tag;
  return h;
}

int destroy_hypergraph(Hypergraph* h) { return poolfree_upto(0, h, "destroy_hypergraph: hygre"); }

void create_hypergraph_data(Hypergraph* h, int withNetList, int withFixed, int withLabels) {
  if (withLabels != 0) {
    h->_nlabel = pool_ints(0, bytes_for(h->_n, sizeof(int), 4), "create_hypergraph_data: nlabel");
    h->_clabel = pool_ints(0, bytes_for(h->_c, sizeof(int), 4), "create_hypergraph_data: clabel");
  }
  if (withFixed != 0)
    h->_fixedAtPart = pool_ints(0, bytes_for(h->_c, sizeof(int), 8), "create_hypergraph_data: fixedAtPart");

  h->_clst = static_cast<Cell*>(poolalloc(0, cell_bytes(h), "create_hypergraph_data: clst"));
  h->_iprm = pool_ints(0, bytes_for(h->_c, sizeof(int), 8), "create_hypergraph_data: iprm");
  h->_iprmi = pool_ints(0, bytes_for(h->_c, sizeof(int), 8), "create_hypergraph_data: iprmi");
  h->_netmap = pool_ints(0, bytes_for(h->_n, sizeof(int), 4), "create_hypergraph_data: netmap");
  h->_nlst = static_cast<Net*>(poolalloc(0, net_bytes(h), "create_hypergraph_data: nlst"));

  h->_cell_list = pool_ints(1, pin_bytes(h), "create_hypergraph_data: cell_list");
  h->_net_list = withNetList != 0 ? pool_ints(1, pin_bytes(h), "create_hypergraph_data: net_list") : nullptr;
}

void destroy_hypergraph_data(Hypergraph* h) {
  if (h->_net_list != nullptr) poolfree_upto(1, h->_net_list, "destroy_hypergraph_data: net_list");
  poolfree_upto(1, h->_cell_list, "destroy_hypergraph_data: cell_list");

  release_nets_and_internets(h);
  poolfree_upto(0, h->_netmap, "destroy_hypergraph_data: netmap");
  poolfree_upto(0, h->_iprmi, "destroy_hypergraph_data: iprmi");
  poolfree_upto(0, h->_iprm, "destroy_hypergraph_data: iprm");
  poolfree_upto(0, h->_clst, "destroy_hypergraph_data: clst");

  if (h->_fixedAtPart != nullptr) poolfree_upto(0, h->_fixedAtPart, "destroy_hypergraph_data: fixedAtPart");
  if (h->_nlabel != nullptr) {
    poolfree_upto(0, h->_clabel, "destroy_hypergraph_data: clabel");
    poolfree_upto(0, h->_nlabel, "destroy_hypergraph_data: nlabel");
  }
}

void malloc_hypergraph(Hypergraph* h) {
  _InitHypergraph(h);
  h->_clst = static_cast<Cell*>(umalloc(cell_bytes(h), "malloc_hypergraph: clst"));
  h->_nlst = static_cast<Net*>(umalloc(net_bytes(h), "malloc_hypergraph: nlst"));
  h->_cell_list = static_cast<int*>(umalloc(pin_bytes(h), "malloc_hypergraph: cell_list"));
  h->_net_list = static_cast<int*>(umalloc(pin_bytes(h), "malloc_hypergraph: net_list"));
}

void free_hypergraph(Hypergraph* h) {
  _usfree(h->_clst);
  h->_clst = nullptr;
  _usfree(h->_nlst);
  h->_nlst = nullptr;
  _usfree(h->_cell_list);
  h->_cell_list = nullptr;
  _usfree(h->_net_list);
  h->_net_list = nullptr;
}

int construct_net_list(Hypergraph* h, int* work) {
  std::fill_n(work, std::int64_t{h->_c} + 1, 0);
  for (int j = 1; j <= h->_n; ++j)
    for (const int i : pins_of(h->_nlst[j])) ++work[i];

  h->_maxwcd = 0;
  h->_maxcd = 0;
  h->_mincd = kNoMinimum;
  int* cursor = h->_net_list;
  for (int i = 1; i <= h->_c; ++i) {
    Cell& cell = h->_clst[i];
    cell.wdeg = 0;
    cell.nets = cursor;
    cell.netsend = cursor - 1;
    if (work[i] < h->_mincd) h->_mincd = work[i];
    if (work[i] > h->_maxcd) h->_maxcd = work[i];
    cursor += work[i];
  }
  h->_clst[h->_c + 1].nets = cursor;

  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    for (const int i : pins_of(net)) {
      Cell& cell = h->_clst[i];
      *++cell.netsend = j;
      add_wrapping(cell.wdeg, net.w);
    }
  }
  return 0;
}

int construct_cell_list(Hypergraph* h, int* work) {
  std::fill_n(work, std::int64_t{h->_n} + 1, 0);
  for (int i = 1; i <= h->_c; ++i)
    for (const int j : nets_of(h->_clst[i])) ++work[j];

  int* cursor = h->_cell_list;
  h->_nlst[1].pins = cursor;
  for (int j = 1; j <= h->_n; ++j) {
    h->_nlst[j].pinsend = cursor - 1;
    cursor += work[j];
    h->_nlst[j + 1].pins = cursor;
  }

  for (int i = 1; i <= h->_c; ++i)
    for (const int j : nets_of(h->_clst[i])) *++h->_nlst[j].pinsend = i;
  return 0;
}

void SortPins(Hypergraph* h) {
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    if (net.pins != nullptr) uqsorti(pins_of(net).size(), net.pins);
  }
}

void set_hypergraph_infos(Hypergraph* h) {
  h->_maxwcd = 1;
  h->_maxcd = 0;
  h->_mincd = kNoMinimum;
  h->_totcw = 0;
  h->_fmt = 0;
  for (int i = 1; i <= h->_c; ++i) {
    Cell& cell = h->_clst[i];
    cell.wdeg = 0;
    for (const int j : nets_of(cell)) add_wrapping(cell.wdeg, h->_nlst[j].w);
    if (cell.wdeg > h->_maxwcd) h->_maxwcd = cell.wdeg;
    add_wrapping(h->_totcw, cell.w);
    if (cell.w >= 2) h->_fmt = 1;
    cell.inw = 0;

    const int d = degree(cell);
    if (d < h->_mincd) h->_mincd = d;
    if (d > h->_maxcd) h->_maxcd = d;
  }
}

void clear_weights(Hypergraph* h) {
  for (int j = 1; j <= h->_n; ++j) h->_nlst[j].w = 1;
  h->_totcw = h->_c;
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].w = 1;
}

char* HygrInfo(const Hypergraph* h) {
  static char text[500];
  std::snprintf(text, sizeof text, "\nH(%d, %d, %d) MWCD=%d MINCD=%d TOTCW=%d\nTOTNW=%d TOTINW=%d VN=%d\n",
                h->_c, h->_n, h->_p, h->_maxwcd, h->_mincd, h->_totcw, h->_totnw, h->_totinw,
                h->_virtualnets);
  return text;
}

}  // namespace quillon
