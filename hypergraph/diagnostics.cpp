#include <algorithm>
#include <cmath>
#include <cstdio>

#include "hypergraph/hypergraph.h"
#include "hypergraph/lists.h"
#include "util/util.h"

namespace quillon {
namespace {

// The range of one quantity over all cells or all nets.
struct Extremes {
  int min = kNoMinimum;
  int max = 0;

  void take(int value) {
    min = std::min(min, value);
    max = std::max(max, value);
  }
};

// One side of the hypergraph: cells with their degrees, or nets with their sizes.
struct Side {
  int totw = 0;
  Extremes weight;
  Extremes length;  // of the lists: degrees or sizes
  int min_nonzero_length = kNoMinimum;
  int nempty = 0;

  void take(int w, int list_length) {
    add_wrapping(totw, w);
    weight.take(w);
    length.take(list_length);
    if (list_length == 0)
      ++nempty;
    else
      min_nonzero_length = std::min(min_nonzero_length, list_length);
  }
};

struct Figures {
  Side nets;
  Side cells;
};

struct Spread {
  double avg;
  double std;  // of the population: divided by the count
  double cov;
};

Figures gather(const Hypergraph* h) {
  Figures figures;
  for (int j = 1; j <= h->_n; ++j) figures.nets.take(h->_nlst[j].w, net_size(h->_nlst[j]));
  for (int i = 1; i <= h->_c; ++i) figures.cells.take(h->_clst[i].w, degree(h->_clst[i]));
  if (figures.cells.totw != h->_totcw)
    errexit("computed total cellw=%d but hypergraph->_totcw=%d", figures.cells.totw, h->_totcw);
  return figures;
}

double squared(double value) { return value * value; }

// No guard against a count of 0: what the divisions give then is what the reports show.
Spread spread(double avg, double sum_of_squares, int count) {
  const double std = std::sqrt(sum_of_squares / count);
  return {avg, std, std / avg};
}

double average_degree(const Hypergraph* h) { return static_cast<double>(h->_p) / h->_c; }

double average_size(const Hypergraph* h) { return static_cast<double>(h->_p) / h->_n; }

Spread degree_spread(const Hypergraph* h) {
  const double avg = average_degree(h);
  double sum = 0;
  for (int i = 1; i <= h->_c; ++i) sum += squared(degree(h->_clst[i]) - avg);
  return spread(avg, sum, h->_c);
}

Spread size_spread(const Hypergraph* h) {
  const double avg = average_size(h);
  double sum = 0;
  for (int j = 1; j <= h->_n; ++j) sum += squared(net_size(h->_nlst[j]) - avg);
  return spread(avg, sum, h->_n);
}

int* cleared_counts(int largest, const char* tag) {
  const std::int64_t count = std::int64_t{largest} + 1;
  int* const counts = imalloc(count, tag);
  std::fill_n(counts, count, 0);
  return counts;
}

void print_lengths(const char* heading, const Spread& lengths, const Side& side) {
  uprintf("%s", heading);
  uprintf("\n\tAvg\t: %8.3lf", lengths.avg);
  uprintf("\n\tStd\t: %8.3lf", lengths.std);
  uprintf("\n\tCov\t: %8.3lf", lengths.cov);
  uprintf("\n\tMin\t: %8d (Zero#: %d)", side.length.min, side.nempty);
  uprintf("\n\tMax\t: %8d", side.length.max);
}

double percent(int part, int total) { return static_cast<double>(part) / total * 100.0; }

void print_weights(const char* heading, const Side& side) {
  uprintf("%s", heading);
  uprintf("\n\tMin\t: %8d (%.3lf%% of total weight)", side.weight.min, percent(side.weight.min, side.totw));
  uprintf("\n\tMax\t: %8d (%.3lf%% of total weight)", side.weight.max, percent(side.weight.max, side.totw));
  uprintf("\n\tTotal\t: %8d", side.totw);
}

constexpr const char* kDistributionRule = "\n===============================================";

int occurrences(std::span<const int> list, int value) {
  return static_cast<int>(std::count(list.begin(), list.end(), value));
}

// The lists of an entry that a broken record names; out of range it has none.
std::span<const int> nets_of_entry(const Hypergraph* h, int i) {
  if (i < 1 || i > h->_c) return {};
  return nets_of(h->_clst[i]);
}

std::span<const int> pins_of_entry(const Hypergraph* h, int j) {
  if (j < 1 || j > h->_n) return {};
  return pins_of(h->_nlst[j]);
}

// The entries from one start to the next; none where either is absent or they are not in order.
std::span<const int> entries_between(const int* start, const int* next) {
  if (start == nullptr || next == nullptr || next < start) return {};
  return {start, next};
}

std::span<const int> nets_until_next(const Hypergraph* h, int i) {
  return entries_between(h->_clst[i].nets, h->_clst[i + 1].nets);
}

std::span<const int> pins_until_next(const Hypergraph* h, int j) {
  return entries_between(h->_nlst[j].pins, h->_nlst[j + 1].pins);
}

struct NetTotals {
  int totw = 0;
  int emptyw = 0;  // of nets without pins
};

struct CellTotals {
  int totw = 0;
  int totinw = 0;
};

NetTotals check_net_side(const Hypergraph* h) {
  NetTotals totals;
  int npins = 0;
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    if (pins_of(net).empty()) add_wrapping(totals.emptyw, net.w);
    for (const int i : pins_of(net)) {
      const int count = occurrences(nets_of_entry(h, i), j);
      if (count != 1)
        errexit(" CheckListsofHypergraph: net %d occurs %d times in the net list of cell %d", j, count, i);
      ++npins;
    }
    add_wrapping(totals.totw, net.w);
  }
  if (npins != h->_p) errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in cells of nets", npins, h->_p);
  return totals;
}

CellTotals check_cell_side(const Hypergraph* h) {
  CellTotals totals;
  int npins = 0;
  for (int i = 1; i <= h->_c; ++i) {
    const Cell& cell = h->_clst[i];
    for (const int j : nets_of(cell)) {
      const int count = occurrences(pins_of_entry(h, j), i);
      if (count != 1)
        errexit(" CheckListsofHypergraph: cell %d occurs %d times in the cell list of net %d", i, count, j);
      ++npins;
    }
    add_wrapping(totals.totw, cell.w);
    add_wrapping(totals.totinw, cell.inw);
  }
  if (npins != h->_p) {
    const int span = h->_c < 1 ? -1 : static_cast<int>(h->_clst[h->_c].netsend - h->_clst[1].nets);
    errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in nets of cells eptr-start=[%d]", npins, h->_p, span);
  }
  return totals;
}

void check_totals(const Hypergraph* h, const NetTotals& nets, const CellTotals& cells) {
  if (cells.totw != h->_totcw)
    errexit("CheckListsofHypergraph: computed totcw=%d but h->_totcw = %d", cells.totw, h->_totcw);
  if (cells.totinw == h->_totinw) return;

  int totnw = nets.totw;
  add_wrapping(totnw, cells.totinw);
  int with_virtual_nets = totnw;
  add_wrapping(with_virtual_nets, h->_virtualnets);
  if (with_virtual_nets != h->_totnw)
    errexit(
        "CheckListsofHypergraph: totnw=%d but h->_totnw = %d OR virtn=%d and h->_virtualnets=%d "
        "BTW totinw=%d and h->totinw=%d",
        totnw, h->_totnw, nets.emptyw, h->_virtualnets, cells.totinw, h->_totinw);
}

// Whether cell i names the numbers that net i names, given that both name equally many.
void check_same_entries(const Hypergraph* h, int i) {
  for (const int v : nets_of(h->_clst[i])) {
    const int count = occurrences(pins_of(h->_nlst[i]), v);
    if (count == 1) continue;
    if (count > 1)
      errexit("CheckSymmetryinHypergraph: cell %d occurs %d times in the cell list of net %d", v, count, i);
    PrintPins(h, i);
    PrintNets(h, i);
    errexit("\n NOT Symmetric cell %d not occured in cell-list of net %d", v, i);
  }
}

// The text shows i, the degree and i again; the size is handed over all the same.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-extra-args"
void print_length_difference(int i, int cell_degree, int size) {
  uprintf("\n NOT Symmetric beacuse deg[d]=%d size[%d]=%d", i, cell_degree, i, size);
}
#pragma GCC diagnostic pop

void print_list(std::span<const int> list) {
  for (const int& entry : list) uprintf("%d%s", entry, &entry == &list.back() ? "" : ", ");
}

constexpr const char* kDumpRule = "\n********************************************************************";
constexpr const char* kSectionRule = "\n==========================================================";

}  // namespace

void prinfo_hypergraph(const Hypergraph* h) {
  const Figures figures = gather(h);
  const Side& cells = figures.cells;
  const Side& nets = figures.nets;
  const Spread degrees = degree_spread(h);
  const Spread sizes = size_spread(h);
  std::printf(
      "%d\t%d\t%d\t%.2lf\t%.2lf\t%.2lf\t%d\t%d\t%d\t%.2lf\t%.2lf\t%.2lf\t%d\t%d\t%d\t%d\t%d\t%d\t%d\t%d\t%"
      "d\n",
      h->_c, h->_n, h->_p,                                                                              //
      degrees.avg, degrees.std, degrees.cov, cells.min_nonzero_length, cells.nempty, cells.length.max,  //
      sizes.avg, sizes.std, sizes.cov, nets.min_nonzero_length, nets.nempty, nets.length.max,           //
      cells.weight.min, cells.weight.max, cells.totw,                                                   //
      nets.weight.min, nets.weight.max, nets.totw);
}

void pr_detailinfo_hypergraph(const Hypergraph* h) {
  const Figures figures = gather(h);
  const int maxdegree = figures.cells.length.max;
  const int maxsize = figures.nets.length.max;
  int* const degcnt = cleared_counts(maxdegree, "detailinfo: degcnt");
  int* const sizecnt = cleared_counts(maxsize, "detailinfo: sizecnt");
  for (int i = 1; i <= h->_c; ++i) ++degcnt[degree(h->_clst[i])];
  for (int j = 1; j <= h->_n; ++j) ++sizecnt[net_size(h->_nlst[j])];

  uprintf(" H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  print_lengths("\nCell Degree", degree_spread(h), figures.cells);
  print_lengths("\nNet Size", size_spread(h), figures.nets);
  print_weights("\nCell Weights", figures.cells);
  print_weights("\nNet Weights", figures.nets);

  uprintf("\n\n Cell Degree distribution");
  uprintf("%s", kDistributionRule);
  for (std::int64_t d = 0; d <= maxdegree; ++d)
    if (degcnt[d] != 0)
      uprintf("\n CelDeg= %4d --> %6d cell(s) (%8.2lf%%)", static_cast<int>(d), degcnt[d],
              percent(degcnt[d], h->_c));

  uprintf("\n\n Net Size  distribution");
  uprintf("%s", kDistributionRule);
  for (std::int64_t s = 0; s <= maxsize; ++s)
    if (sizecnt[s] != 0)
      uprintf("\n NetSize= %4d --> %6d net(s) (%8.2lf%%)", static_cast<int>(s), sizecnt[s],
              percent(sizecnt[s], h->_n));
  uprintf("\n\n");
}

void CheckListsofHypergraph(const Hypergraph* h) {
  uprintf("\n CheckListsofHypergraph: Checking Hypergraph H=(%5d, %5d, %7d) TNW=%d TINW=%d VirtNets=%d",
          h->_c, h->_n, h->_p, h->_totnw, h->_totinw, h->_virtualnets);
  const NetTotals nets = check_net_side(h);
  const CellTotals cells = check_cell_side(h);
  check_totals(h, nets, cells);
  if (nets.emptyw != 0) uwarning("hypergraph has nets with no pins");
  uprintf("\n Checking DONE....\n");
}

void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets) {
  for (int j = 1; j <= h->_c; ++j) {
    for (const int net : nets_until_next(h, j)) {
      const int count = occurrences(pins_until_next(h, net), j);
      if (count != 1)
        errexit(" CheckListsofContinuesHypergraph: cell %d occurs %d times in the cell list of net %d", j,
                count, net);
    }
  }
  for (int i = 1; i <= nnets; ++i) {
    for (const int cell : pins_until_next(h, i)) {
      const int count = occurrences(nets_until_next(h, cell), i);
      if (count != 1)
        errexit(" CheckListsofContinuesHypergraph: net %d occurs %d times in the net list of cell %d", i,
                count, cell);
    }
  }
}

int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose) {
  if (verbose != 0) uprintf("\n Checking Symmetry in Hypergraph H=(%5d, %5d, %7d)", h->_c, h->_n, h->_p);
  if (h->_c != h->_n) {
    if (verbose != 0) uprintf("\n NOT Symmetric because of #cells(%d) != #nets(%d)", h->_c, h->_n);
    return 0;
  }
  for (int i = 1; i <= h->_c; ++i) {
    const int cell_degree = static_cast<int>(nets_of(h->_clst[i]).size());
    const int size = static_cast<int>(pins_of(h->_nlst[i]).size());
    if (cell_degree != size) {
      if (verbose != 0) print_length_difference(i, cell_degree, size);
      return 0;
    }
    check_same_entries(h, i);
  }
  return 1;
}

void PrintPins(const Hypergraph* h, int j) {
  uprintf("\n Pins[%4d] = {", j);
  const std::span<const int> pins = pins_of(h->_nlst[j]);
  for (const int& pin : pins) {
    const Cell& cell = h->_clst[pin];
    uprintf("%4d(P=%2d, W=%3d)%s", pin, cell.pno, cell.w, &pin == &pins.back() ? " " : ", ");
  }
  uprintf("}\n");
}

void PrintNets(const Hypergraph* h, int i) {
  uprintf("\n Nets[%4d] = {", i);
  for (const int j : nets_of(h->_clst[i])) uprintf("%4d(W=%3d), ", j, h->_nlst[j].w);
  uprintf("}\n");
}

void PrintHypergraph(const Hypergraph* h) {
  uprintf("%s", kDumpRule);
  uprintf("\n H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  uprintf("\n totcw=%d totnw=%d totinw=%d virtnets=%d\n", h->_totcw, h->_totnw, h->_totinw, h->_virtualnets);

  uprintf("\n Nets connectted to the cells%s", kSectionRule);
  for (int i = 1; i <= h->_c; ++i) {
    const Cell& cell = h->_clst[i];
    uprintf("\n w=%5d inw=%5d pno=%4d Nets[%6d] = {", cell.w, cell.inw, cell.pno, i);
    print_list(nets_of(cell));
    uprintf("}");
  }

  uprintf("\n Cells connectted to the nets%s", kSectionRule);
  for (int j = 1; j <= h->_n; ++j) {
    uprintf("\n w=%5d Pins[%6d] = {", h->_nlst[j].w, j);
    print_list(pins_of(h->_nlst[j]));
    uprintf("}");
  }
  uprintf("%s", kDumpRule);
}

}  // namespace quillon
