#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "oracle/services.h"

namespace quillon::oracle {
namespace {

void lay_out_cells(Hypergraph* h, const int* degrees) {
  int* at = h->_net_list;
  for (int i = 1; i <= h->_c; ++i) {
    h->_clst[i].wdeg = 0;
    h->_clst[i].nets = at;
    h->_clst[i].netsend = at - 1;
    if (degrees[i] > h->_maxcd) h->_maxcd = degrees[i];
    if (degrees[i] < h->_mincd) h->_mincd = degrees[i];
    at += degrees[i];
  }
  h->_clst[h->_c + 1].nets = at;
}

}  // namespace

void malloc_hypergraph(Hypergraph* h) {
  Hypergraph fresh = {};
  fresh._c = h->_c;
  fresh._n = h->_n;
  fresh._p = h->_p;
  fresh._fmt = h->_fmt;
  *h = fresh;
  h->_clst =
      static_cast<Cell*>(services.umalloc(bytes_with_spares(h->_c, sizeof(Cell)), "malloc_hypergraph: clst"));
  h->_nlst =
      static_cast<Net*>(services.umalloc(bytes_with_spares(h->_n, sizeof(Net)), "malloc_hypergraph: nlst"));
  h->_cell_list = static_cast<int*>(
      services.umalloc(bytes_with_spares(h->_p, sizeof(int)), "malloc_hypergraph: cell_list"));
  h->_net_list = static_cast<int*>(
      services.umalloc(bytes_with_spares(h->_p, sizeof(int)), "malloc_hypergraph: net_list"));
}

void free_hypergraph(Hypergraph* h) {
  services.free(h->_clst);
  services.free(h->_nlst);
  services.free(h->_cell_list);
  services.free(h->_net_list);
  h->_clst = nullptr;
  h->_nlst = nullptr;
  h->_cell_list = h->_net_list = nullptr;
}

int construct_net_list(Hypergraph* h, int* work) {
  for (int i = 0; i <= h->_c; ++i) work[i] = 0;
  for (int j = 1; j <= h->_n; ++j) {
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) ++work[*pin];
  }

  h->_maxwcd = 0;
  h->_maxcd = 0;
  h->_mincd = kNoMinimum;
  lay_out_cells(h, work);

  for (int j = 1; j <= h->_n; ++j) {
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) {
      Cell& cell = h->_clst[*pin];
      // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): pins are cells, which were all set above
      ++cell.netsend;
      *cell.netsend = j;
      cell.wdeg = sum(cell.wdeg, h->_nlst[j].w);
    }
  }
  return 0;
}

int construct_cell_list(Hypergraph* h, int* work) {
  for (int j = 0; j <= h->_n; ++j) work[j] = 0;
  for (int i = 1; i <= h->_c; ++i)
    for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) ++work[*net];

  int* at = h->_cell_list;
  for (int j = 1; j <= h->_n; ++j) {
    h->_nlst[j].pins = at;
    h->_nlst[j].pinsend = at - 1;
    at += work[j];
  }
  h->_nlst[h->_n + 1].pins = at;

  for (int i = 1; i <= h->_c; ++i) {
    for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) {
      ++h->_nlst[*net].pinsend;
      *h->_nlst[*net].pinsend = i;
    }
  }
  return 0;
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
    for (const int* net = cell.nets; net <= cell.netsend; ++net) cell.wdeg = sum(cell.wdeg, h->_nlst[*net].w);
    if (cell.wdeg > h->_maxwcd) h->_maxwcd = cell.wdeg;
    h->_totcw = sum(h->_totcw, cell.w);
    if (cell.w >= 2) h->_fmt = 1;
    cell.inw = 0;
    if (degree_of(cell) < h->_mincd) h->_mincd = degree_of(cell);
    if (degree_of(cell) > h->_maxcd) h->_maxcd = degree_of(cell);
  }
}

}  // namespace quillon::oracle
