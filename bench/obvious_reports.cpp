#include <cmath>
#include <cstdio>

#include "bench/obvious.h"
#include "util/util.h"

namespace quillon::obvious {
namespace {

// Weights and list lengths of all cells or of all nets.
struct Figures {
  int minw = 2000000000;
  int maxw = 0;
  int totw = 0;
  int minlength = 2000000000;
  int maxlength = 0;
  int min_above_0 = 2000000000;
  int nempty = 0;
  double avg = 0;
  double std = 0;
  double cov = 0;
};

int degree_of(const Hypergraph* h, int i) {
  return static_cast<int>(h->_clst[i].netsend - h->_clst[i].nets) + 1;
}

int size_of(const Hypergraph* h, int j) {
  if (h->_nlst[j].pins == nullptr) return 0;
  return static_cast<int>(h->_nlst[j].pinsend - h->_nlst[j].pins) + 1;
}

void take_figures(Figures& figures, int w, int length) {
  if (w < figures.minw) figures.minw = w;
  if (w > figures.maxw) figures.maxw = w;
  figures.totw += w;
  if (length < figures.minlength) figures.minlength = length;
  if (length > figures.maxlength) figures.maxlength = length;
  if (length > 0 && length < figures.min_above_0) figures.min_above_0 = length;
  if (length == 0) ++figures.nempty;
}

Figures cell_figures(const Hypergraph* h) {
  Figures figures;
  for (int i = 1; i <= h->_c; ++i) take_figures(figures, h->_clst[i].w, degree_of(h, i));
  figures.avg = static_cast<double>(h->_p) / h->_c;
  double sum = 0;
  for (int i = 1; i <= h->_c; ++i) {
    const double away = degree_of(h, i) - figures.avg;
    sum += away * away;
  }
  figures.std = std::sqrt(sum / h->_c);
  figures.cov = figures.std / figures.avg;
  return figures;
}

Figures net_figures(const Hypergraph* h) {
  Figures figures;
  for (int j = 1; j <= h->_n; ++j) take_figures(figures, h->_nlst[j].w, size_of(h, j));
  figures.avg = static_cast<double>(h->_p) / h->_n;
  double sum = 0;
  for (int j = 1; j <= h->_n; ++j) {
    const double away = size_of(h, j) - figures.avg;
    sum += away * away;
  }
  figures.std = std::sqrt(sum / h->_n);
  figures.cov = figures.std / figures.avg;
  return figures;
}

void print_lengths(const char* heading, const Figures& figures) {
  std::printf("%s", heading);
  std::printf("\n\tAvg\t: %8.3lf", figures.avg);
  std::printf("\n\tStd\t: %8.3lf", figures.std);
  std::printf("\n\tCov\t: %8.3lf", figures.cov);
  std::printf("\n\tMin\t: %8d (Zero#: %d)", figures.minlength, figures.nempty);
  std::printf("\n\tMax\t: %8d", figures.maxlength);
}

void print_weights(const char* heading, const Figures& figures) {
  std::printf("%s", heading);
  std::printf("\n\tMin\t: %8d (%.3lf%% of total weight)", figures.minw,
              static_cast<double>(figures.minw) / figures.totw * 100.0);
  std::printf("\n\tMax\t: %8d (%.3lf%% of total weight)", figures.maxw,
              static_cast<double>(figures.maxw) / figures.totw * 100.0);
  std::printf("\n\tTotal\t: %8d", figures.totw);
}

int* zeros(int count) {
  int* const values = take_ints(count);
  for (int k = 0; k < count; ++k) values[k] = 0;
  return values;
}

void print_cell_distribution(const Hypergraph* h, int maxdeg) {
  int* const counts = zeros(maxdeg + 1);
  for (int i = 1; i <= h->_c; ++i) ++counts[degree_of(h, i)];
  std::printf("\n\n Cell Degree distribution\n===============================================");
  for (int d = 0; d <= maxdeg; ++d)
    if (counts[d] != 0)
      std::printf("\n CelDeg= %4d --> %6d cell(s) (%8.2lf%%)", d, counts[d],
                  static_cast<double>(counts[d]) / h->_c * 100.0);
  std::free(counts);
}

void print_net_distribution(const Hypergraph* h, int maxsize) {
  int* const counts = zeros(maxsize + 1);
  for (int j = 1; j <= h->_n; ++j) ++counts[size_of(h, j)];
  std::printf("\n\n Net Size  distribution\n===============================================");
  for (int s = 0; s <= maxsize; ++s)
    if (counts[s] != 0)
      std::printf("\n NetSize= %4d --> %6d net(s) (%8.2lf%%)", s, counts[s],
                  static_cast<double>(counts[s]) / h->_n * 100.0);
  std::free(counts);
}

void check_net(const Hypergraph* h, int j) {
  for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) {
    if (*pin < 1 || *pin > h->_c) errexit("obvious: net %d names no cell", j);
    int count = 0;
    for (const int* net = h->_clst[*pin].nets; net <= h->_clst[*pin].netsend; ++net)
      if (*net == j) ++count;
    if (count != 1) errexit("obvious: net %d occurs %d times on cell %d", j, count, *pin);
  }
}

void check_cell(const Hypergraph* h, int i) {
  for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) {
    if (*net < 1 || *net > h->_n) errexit("obvious: cell %d names no net", i);
    if (h->_nlst[*net].pins == nullptr) errexit("obvious: net %d of cell %d has no pins", *net, i);
    int count = 0;
    for (const int* pin = h->_nlst[*net].pins; pin <= h->_nlst[*net].pinsend; ++pin)
      if (*pin == i) ++count;
    if (count != 1) errexit("obvious: cell %d occurs %d times on net %d", i, count, *net);
  }
}

void check_totals(const Hypergraph* h, int totcw, int totinw, int totnw) {
  if (totcw != h->_totcw) errexit("obvious: totcw=%d", totcw);
  if (totinw != h->_totinw && totnw + totinw + h->_virtualnets != h->_totnw)
    errexit("obvious: totnw=%d totinw=%d", totnw, totinw);
}

}  // namespace

void prinfo_hypergraph(const Hypergraph* h) {
  const Figures cells = cell_figures(h);
  const Figures nets = net_figures(h);
  if (cells.totw != h->_totcw) errexit("obvious: totcw=%d", cells.totw);
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
  const Figures nets = net_figures(h);
  if (cells.totw != h->_totcw) errexit("obvious: totcw=%d", cells.totw);
  std::printf(" H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  print_lengths("\nCell Degree", cells);
  print_lengths("\nNet Size", nets);
  print_weights("\nCell Weights", cells);
  print_weights("\nNet Weights", nets);
  print_cell_distribution(h, cells.maxlength);
  print_net_distribution(h, nets.maxlength);
  std::printf("\n\n");
}

void CheckListsofHypergraph(const Hypergraph* h) {
  std::printf("\n CheckListsofHypergraph: Checking Hypergraph H=(%5d, %5d, %7d) TNW=%d TINW=%d VirtNets=%d",
              h->_c, h->_n, h->_p, h->_totnw, h->_totinw, h->_virtualnets);
  int npins = 0;
  int totnw = 0;
  int emptyw = 0;
  for (int j = 1; j <= h->_n; ++j) {
    if (h->_nlst[j].pins != nullptr) check_net(h, j);
    npins += size_of(h, j);
    totnw += h->_nlst[j].w;
    if (size_of(h, j) == 0) emptyw += h->_nlst[j].w;
  }
  if (npins != h->_p) errexit("obvious: %d pins on the nets", npins);

  npins = 0;
  int totcw = 0;
  int totinw = 0;
  for (int i = 1; i <= h->_c; ++i) {
    check_cell(h, i);
    npins += degree_of(h, i);
    totcw += h->_clst[i].w;
    totinw += h->_clst[i].inw;
  }
  if (npins != h->_p) errexit("obvious: %d pins on the cells", npins);
  check_totals(h, totcw, totinw, totnw);
  if (emptyw != 0) uwarning("hypergraph has nets with no pins");
  std::printf("\n Checking DONE....\n");
}

int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose) {
  if (verbose != 0) std::printf("\n Checking Symmetry in Hypergraph H=(%5d, %5d, %7d)", h->_c, h->_n, h->_p);
  if (h->_c != h->_n) return 0;
  for (int i = 1; i <= h->_c; ++i) {
    if (degree_of(h, i) != size_of(h, i)) return 0;
    for (const int* net = h->_clst[i].nets; net <= h->_clst[i].netsend; ++net) {
      int count = 0;
      for (const int* pin = h->_nlst[i].pins; pin <= h->_nlst[i].pinsend; ++pin)
        if (*pin == *net) ++count;
      if (count != 1) errexit("obvious: %d occurs %d times on net %d", *net, count, i);
    }
  }
  return 1;
}

}  // namespace quillon::obvious
