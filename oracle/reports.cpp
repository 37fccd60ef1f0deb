#include <algorithm>
#include <cmath>
#include <cstdio>

#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

// Weights and list lengths of all cells or of all nets.
struct Figures {
  int minw = kNoMinimum;
  int maxw = 0;
  int totw = 0;
  int minlength = kNoMinimum;
  int maxlength = 0;
  int min_above_0 = kNoMinimum;
  int nempty = 0;
  double avg = 0;
  double std = 0;
  double cov = 0;
};

void count(Figures& figures, int w, int length) {
  if (w < figures.minw) figures.minw = w;
  if (w > figures.maxw) figures.maxw = w;
  figures.totw = sum(figures.totw, w);
  if (length < figures.minlength) figures.minlength = length;
  if (length > figures.maxlength) figures.maxlength = length;
  if (length > 0 && length < figures.min_above_0) figures.min_above_0 = length;
  if (length == 0) ++figures.nempty;
}

Figures cell_figures(const Hypergraph* h) {
  Figures figures;
  for (int i = 1; i <= h->_c; ++i) count(figures, h->_clst[i].w, degree_of(h->_clst[i]));
  figures.avg = static_cast<double>(h->_p) / h->_c;
  double squares = 0;
  for (int i = 1; i <= h->_c; ++i) {
    const double away = degree_of(h->_clst[i]) - figures.avg;
    squares += away * away;
  }
  figures.std = std::sqrt(squares / h->_c);
  figures.cov = figures.std / figures.avg;
  return figures;
}

Figures net_figures(const Hypergraph* h) {
  Figures figures;
  for (int j = 1; j <= h->_n; ++j) count(figures, h->_nlst[j].w, size_of(h->_nlst[j]));
  figures.avg = static_cast<double>(h->_p) / h->_n;
  double squares = 0;
  for (int j = 1; j <= h->_n; ++j) {
    const double away = size_of(h->_nlst[j]) - figures.avg;
    squares += away * away;
  }
  figures.std = std::sqrt(squares / h->_n);
  figures.cov = figures.std / figures.avg;
  return figures;
}

void check_cell_total(const Hypergraph* h, const Figures& cells) {
  if (cells.totw != h->_totcw)
    errexit("computed total cellw=%d but hypergraph->_totcw=%d", cells.totw, h->_totcw);
}

void print_lengths(const char* heading, const Figures& figures) {
  uprintf("%s", heading);
  uprintf("\n\tAvg\t: %8.3lf", figures.avg);
  uprintf("\n\tStd\t: %8.3lf", figures.std);
  uprintf("\n\tCov\t: %8.3lf", figures.cov);
  uprintf("\n\tMin\t: %8d (Zero#: %d)", figures.minlength, figures.nempty);
  uprintf("\n\tMax\t: %8d", figures.maxlength);
}

double percent(int part, int total) { return static_cast<double>(part) / total * 100.0; }

void print_weights(const char* heading, const Figures& figures) {
  uprintf("%s", heading);
  uprintf("\n\tMin\t: %8d (%.3lf%% of total weight)", figures.minw, percent(figures.minw, figures.totw));
  uprintf("\n\tMax\t: %8d (%.3lf%% of total weight)", figures.maxw, percent(figures.maxw, figures.totw));
  uprintf("\n\tTotal\t: %8d", figures.totw);
}

int* zeros(std::int64_t nentries, const char* tag) {
  int* const values = services.imalloc(nentries, tag);
  for (std::int64_t k = 0; k < nentries; ++k) values[k] = 0;
  return values;
}

int occurrences(int value, const int* first, const int* last) {
  int n = 0;
  if (first == nullptr) return n;
  for (const int* entry = first; entry <= last; ++entry)
    if (*entry == value) ++n;
  return n;
}

int occurrences_on_cell(const Hypergraph* h, int j, int i) {
  if (i < 1 || i > h->_c) return 0;
  return occurrences(j, h->_clst[i].nets, h->_clst[i].netsend);
}

int occurrences_on_net(const Hypergraph* h, int i, int j) {
  if (j < 1 || j > h->_n) return 0;
  return occurrences(i, h->_nlst[j].pins, h->_nlst[j].pinsend);
}

// Returns the number of pins.
int check_net(const Hypergraph* h, int j) {
  const Net& net = h->_nlst[j];
  if (net.pins == nullptr) return 0;
  for (const int* pin = net.pins; pin <= net.pinsend; ++pin) {
    const int n = occurrences_on_cell(h, j, *pin);
    if (n != 1)
      errexit(" CheckListsofHypergraph: net %d occurs %d times in the net list of cell %d", j, n, *pin);
  }
  return size_of(net);
}

// Returns the number of nets.
int check_cell(const Hypergraph* h, int i) {
  const Cell& cell = h->_clst[i];
  if (cell.nets == nullptr) return 0;
  for (const int* net = cell.nets; net <= cell.netsend; ++net) {
    const int n = occurrences_on_net(h, i, *net);
    if (n != 1)
      errexit(" CheckListsofHypergraph: cell %d occurs %d times in the cell list of net %d", i, n, *net);
  }
  return degree_of(cell);
}

void check_lists(const Hypergraph* h) {
  int npins = 0;
  for (int j = 1; j <= h->_n; ++j) npins += check_net(h, j);
  if (npins != h->_p) errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in cells of nets", npins, h->_p);

  npins = 0;
  for (int i = 1; i <= h->_c; ++i) npins += check_cell(h, i);
  if (npins == h->_p) return;
  const int span = h->_c < 1 ? -1 : static_cast<int>(h->_clst[h->_c].netsend - h->_clst[1].nets);
  errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in nets of cells eptr-start=[%d]", npins, h->_p, span);
}

int weight_without_pins(const Hypergraph* h) {
  int weight = 0;
  for (int j = 1; j <= h->_n; ++j)
    if (size_of(h->_nlst[j]) == 0) weight = sum(weight, h->_nlst[j].w);
  return weight;
}

void check_totals(const Hypergraph* h) {
  int totcw = 0;
  int totinw = 0;
  for (int i = 1; i <= h->_c; ++i) {
    totcw = sum(totcw, h->_clst[i].w);
    totinw = sum(totinw, h->_clst[i].inw);
  }
  if (totcw != h->_totcw)
    errexit("CheckListsofHypergraph: computed totcw=%d but h->_totcw = %d", totcw, h->_totcw);

  int totnw = totinw;
  for (int j = 1; j <= h->_n; ++j) totnw = sum(totnw, h->_nlst[j].w);
  if (totinw != h->_totinw && sum(totnw, h->_virtualnets) != h->_totnw)
    errexit(
        "CheckListsofHypergraph: totnw=%d but h->_totnw = %d OR virtn=%d and h->_virtualnets=%d "
        "BTW totinw=%d and h->totinw=%d",
        totnw, h->_totnw, weight_without_pins(h), h->_virtualnets, totinw, h->_totinw);
}

// The number of the last net. Set-aside nets, of 2 to _c pins, follow net _n while the cells have more
// entries than the nets before.
std::int64_t last_net(const Hypergraph* h, int nnets) {
  std::int64_t last = h->_n;
  std::ptrdiff_t npins = 0;
  std::ptrdiff_t nentries = 0;
  if (h->_c > 0 && h->_clst[1].nets != nullptr && h->_clst[h->_c + 1].nets != nullptr)
    nentries = std::max<std::ptrdiff_t>(0, h->_clst[h->_c + 1].nets - h->_clst[1].nets);
  if (h->_n > 0 && h->_nlst[1].pins != nullptr && h->_nlst[h->_n + 1].pins != nullptr)
    npins = std::max<std::ptrdiff_t>(0, h->_nlst[h->_n + 1].pins - h->_nlst[1].pins);
  for (; npins < nentries; ++last) {
    const Net& net = h->_nlst[last + 1];
    const std::ptrdiff_t size = net.pins == nullptr ? 0 : net.pinsend - net.pins + 1;
    if (size < 2 || size > h->_c) break;
    npins += size;
  }
  return std::max(last, std::int64_t{nnets});
}

// Occurrences of a value between one start and the next; 0 if either is null or they are not in order.
int occurrences_between(int value, const int* start, const int* next) {
  return start == nullptr || next == nullptr ? 0 : occurrences(value, start, next - 1);
}

void check_continuous_cell(const Hypergraph* h, int i, std::int64_t last) {
  const int* const next = h->_clst[i + 1].nets;
  if (h->_clst[i].nets == nullptr || next == nullptr) return;
  for (const int* net = h->_clst[i].nets; net < next; ++net) {
    const bool is_net = *net >= 1 && *net <= last;
    const int n = is_net ? occurrences_between(i, h->_nlst[*net].pins, h->_nlst[*net + 1].pins) : 0;
    if (n != 1)
      errexit(" CheckListsofContinuesHypergraph: cell %d occurs %d times in the cell list of net %d", i, n,
              *net);
  }
}

void check_continuous_net(const Hypergraph* h, int j) {
  const int* const next = h->_nlst[j + 1].pins;
  if (h->_nlst[j].pins == nullptr || next == nullptr) return;
  for (const int* pin = h->_nlst[j].pins; pin < next; ++pin) {
    const bool is_cell = *pin >= 1 && *pin <= h->_c;
    const int n = is_cell ? occurrences_between(j, h->_clst[*pin].nets, h->_clst[*pin + 1].nets) : 0;
    if (n != 1)
      errexit(" CheckListsofContinuesHypergraph: net %d occurs %d times in the net list of cell %d", j, n,
              *pin);
  }
}

void check_same_entries(const Hypergraph* h, int i) {
  if (h->_clst[i].nets == nullptr) return;
  for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) {
    const int n = occurrences_on_net(h, *net, i);
    if (n == 1) continue;
    if (n > 1)
      errexit("CheckSymmetryinHypergraph: cell %d occurs %d times in the cell list of net %d", *net, n, i);
    oracle::PrintPins(h, i);
    oracle::PrintNets(h, i);
    errexit("\n NOT Symmetric cell %d not occured in cell-list of net %d", *net, i);
  }
}

}  // namespace

void prinfo_hypergraph(const Hypergraph* h) {
  const Figures cells = cell_figures(h);
  check_cell_total(h, cells);
  const Figures nets = net_figures(h);
  std::printf("%d\t%d\t%d", h->_c, h->_n, h->_p);
  std::printf("\t%.2lf\t%.2lf\t%.2lf", cells.avg, cells.std, cells.cov);
  std::printf("\t%d\t%d\t%d", cells.min_above_0, cells.nempty, cells.maxlength);
  std::printf("\t%.2lf\t%.2lf\t%.2lf", nets.avg, nets.std, nets.cov);
  std::printf("\t%d\t%d\t%d", nets.min_above_0, nets.nempty, nets.maxlength);
  std::printf("\t%d\t%d\t%d", cells.minw, cells.maxw, cells.totw);
  std::printf("\t%d\t%d\t%d\n", nets.minw, nets.maxw, nets.totw);
}

void pr_detailinfo_hypergraph(const Hypergraph* h) {
  const Figures cells = cell_figures(h);
  check_cell_total(h, cells);
  int* const ncells = zeros(std::int64_t{cells.maxlength} + 1, "detailinfo: degcnt");
  for (int i = 1; i <= h->_c; ++i) ++ncells[degree_of(h->_clst[i])];
  const Figures nets = net_figures(h);
  int* const nnets = zeros(std::int64_t{nets.maxlength} + 1, "detailinfo: sizecnt");
  for (int j = 1; j <= h->_n; ++j) ++nnets[size_of(h->_nlst[j])];

  uprintf(" H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  print_lengths("\nCell Degree", cells);
  print_lengths("\nNet Size", nets);
  print_weights("\nCell Weights", cells);
  print_weights("\nNet Weights", nets);
  uprintf("\n\n Cell Degree distribution\n===============================================");
  for (int d = 0; d <= cells.maxlength; ++d)
    if (ncells[d] != 0)
      uprintf("\n CelDeg= %4d --> %6d cell(s) (%8.2lf%%)", d, ncells[d], percent(ncells[d], h->_c));
  uprintf("\n\n Net Size  distribution\n===============================================");
  for (int s = 0; s <= nets.maxlength; ++s)
    if (nnets[s] != 0)
      uprintf("\n NetSize= %4d --> %6d net(s) (%8.2lf%%)", s, nnets[s], percent(nnets[s], h->_n));
  uprintf("\n\n");
}

void CheckListsofHypergraph(const Hypergraph* h) {
  uprintf("\n CheckListsofHypergraph: Checking Hypergraph H=(%5d, %5d, %7d) TNW=%d TINW=%d VirtNets=%d",
          h->_c, h->_n, h->_p, h->_totnw, h->_totinw, h->_virtualnets);
  check_lists(h);
  check_totals(h);
  if (weight_without_pins(h) != 0) uwarning("hypergraph has nets with no pins");
  uprintf("\n Checking DONE....\n");
}

void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets) {
  for (int i = 1; i <= h->_c; ++i) check_continuous_cell(h, i, last_net(h, nnets));
  for (int j = 1; j <= nnets; ++j) check_continuous_net(h, j);
}

int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose) {
  if (verbose != 0) uprintf("\n Checking Symmetry in Hypergraph H=(%5d, %5d, %7d)", h->_c, h->_n, h->_p);
  if (h->_c != h->_n) {
    if (verbose != 0) uprintf("\n NOT Symmetric because of #cells(%d) != #nets(%d)", h->_c, h->_n);
    return 0;
  }
  for (int i = 1; i <= h->_c; ++i) {
    const int degree = h->_clst[i].nets == nullptr ? 0 : degree_of(h->_clst[i]);
    if (degree != size_of(h->_nlst[i])) {
      // The text shows i twice and not the size.
      if (verbose != 0) uprintf("\n NOT Symmetric beacuse deg[d]=%d size[%d]=%d", i, degree, i);
      return 0;
    }
    check_same_entries(h, i);
  }
  return 1;
}

void PrintPins(const Hypergraph* h, int j) {
  const Net& net = h->_nlst[j];
  uprintf("\n Pins[%4d] = {", j);
  if (net.pins != nullptr)
    for (const int* pin = net.pins; pin <= net.pinsend; ++pin)
      uprintf("%4d(P=%2d, W=%3d)%s", *pin, h->_clst[*pin].pno, h->_clst[*pin].w,
              pin == net.pinsend ? " " : ", ");
  uprintf("}\n");
}

void PrintNets(const Hypergraph* h, int i) {
  const Cell& cell = h->_clst[i];
  uprintf("\n Nets[%4d] = {", i);
  if (cell.nets != nullptr)
    for (const int* net = cell.nets; net <= cell.netsend; ++net)
      uprintf("%4d(W=%3d), ", *net, h->_nlst[*net].w);
  uprintf("}\n");
}

}  // namespace quillon::oracle
