#include "bench/obvious.h"

#include "util/util.h"

namespace quillon::obvious {

void* take(std::int64_t count, std::size_t each) {
  void* const block = std::malloc(static_cast<std::size_t>(count) * each);
  if (block == nullptr) errexit("obvious: out of memory");
  return block;
}

void take_arrays(Hypergraph* h) {
  h->_clst = static_cast<Cell*>(take(std::int64_t{h->_c} + 2, sizeof(Cell)));
  h->_nlst = static_cast<Net*>(take(std::int64_t{h->_n} + 2, sizeof(Net)));
  h->_cell_list = take_ints(std::int64_t{h->_p} + 2);
  h->_net_list = take_ints(std::int64_t{h->_p} + 2);
}

void release(Hypergraph* h) {
  std::free(h->_clst);
  std::free(h->_nlst);
  std::free(h->_cell_list);
  std::free(h->_net_list);
  std::free(h->_internets);
  std::free(h->_clabel);
  std::free(h->_nlabel);
  h->_clst = nullptr;
  h->_nlst = nullptr;
  h->_cell_list = h->_net_list = h->_clabel = h->_nlabel = nullptr;
  h->_internets = nullptr;
}

int construct_net_list(Hypergraph* h, int* work) {
  for (int i = 0; i <= h->_c; ++i) work[i] = 0;
  for (int j = 1; j <= h->_n; ++j) {
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) ++work[*pin];
  }

  h->_maxwcd = 0;
  h->_maxcd = 0;
  h->_mincd = 2000000000;
  int* at = h->_net_list;
  for (int i = 1; i <= h->_c; ++i) {
    h->_clst[i].wdeg = 0;
    h->_clst[i].nets = at;
    h->_clst[i].netsend = at - 1;
    if (work[i] > h->_maxcd) h->_maxcd = work[i];
    if (work[i] < h->_mincd) h->_mincd = work[i];
    at += work[i];
  }
  h->_clst[h->_c + 1].nets = at;

  for (int j = 1; j <= h->_n; ++j) {
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) {
      // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): pins are cells, which were all set above
      ++h->_clst[*pin].netsend;
      *h->_clst[*pin].netsend = j;
      h->_clst[*pin].wdeg += h->_nlst[j].w;
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
  h->_mincd = 2000000000;
  h->_totcw = 0;
  h->_fmt = 0;
  for (int i = 1; i <= h->_c; ++i) {
    Cell* const cell = &h->_clst[i];
    cell->wdeg = 0;
    for (const int* net = cell->nets; net <= cell->netsend; ++net) cell->wdeg += h->_nlst[*net].w;
    if (cell->wdeg > h->_maxwcd) h->_maxwcd = cell->wdeg;
    h->_totcw += cell->w;
    if (cell->w >= 2) h->_fmt = 1;
    cell->inw = 0;
    const int deg = static_cast<int>(cell->netsend - cell->nets) + 1;
    if (deg < h->_mincd) h->_mincd = deg;
    if (deg > h->_maxcd) h->_maxcd = deg;
  }
}

void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj) {
  *xnadj = take_ints(std::int64_t{h->_n} + 2);
  *nadj = take_ints(std::int64_t{h->_p} + 2);
  int npins = 0;
  for (int j = 1; j <= h->_n; ++j) {
    (*xnadj)[j] = npins;
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) (*nadj)[npins++] = *pin;
  }
  (*xnadj)[h->_n + 1] = npins;
}

void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal) {
  const int fmt = h->_fmt;
  *h = {};
  h->_fmt = fmt;
  h->_c = ncells;
  h->_n = nnets;
  h->_p = xnadj[nnets + 1] + (diagonal != nullptr ? ncells : 0);
  take_arrays(h);

  int* at = h->_cell_list;
  for (int j = 1; j <= nnets; ++j) {
    h->_nlst[j].w = 1;
    h->_nlst[j].pins = at;
    for (int k = xnadj[j]; k < xnadj[j + 1]; ++k) *at++ = nadj[k];
    if (diagonal != nullptr && j <= ncells && diagonal[j] == 0) *at++ = j;
    h->_nlst[j].pinsend = at - 1;
  }
  h->_nlst[nnets + 1].pins = at;
  h->_p = static_cast<int>(at - h->_cell_list);
  for (int i = 1; i <= ncells; ++i) h->_clst[i].w = 1;

  int* const work = take_ints(std::int64_t{ncells} + 2);
  obvious::construct_net_list(h, work);
  std::free(work);
}

}  // namespace quillon::obvious
