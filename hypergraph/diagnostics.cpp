#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <span>

#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/pin_finder.h"
#include "hypergraph/detail/statistics.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {
namespace {

void check_cell_total(const Hypergraph* h, const Statistics& cells) {
  if (cells.totw != h->_totcw)
    errexit("computed total cellw=%d but hypergraph->_totcw=%d", cells.totw, h->_totcw);
}

void print_lengths(const char* heading, const Spread& lengths, const Statistics& side) {
  uprintf("%s", heading);
  uprintf("\n\tAvg\t: %8.3lf", lengths.avg);
  uprintf("\n\tStd\t: %8.3lf", lengths.std);
  uprintf("\n\tCov\t: %8.3lf", lengths.cov);
  uprintf("\n\tMin\t: %8d (Zero#: %d)", side.length.min, side.nempty);
  uprintf("\n\tMax\t: %8d", side.length.max);
}

double percent(int part, int total) { return static_cast<double>(part) / total * 100.0; }

void print_weights(const char* heading, const Statistics& side) {
  uprintf("%s", heading);
  uprintf("\n\tMin\t: %8d (%.3lf%% of total weight)", side.weight.min, percent(side.weight.min, side.totw));
  uprintf("\n\tMax\t: %8d (%.3lf%% of total weight)", side.weight.max, percent(side.weight.max, side.totw));
  uprintf("\n\tTotal\t: %8d", side.totw);
}

int occurrences(std::span<const int> list, int value) {
  return static_cast<int>(std::count(list.begin(), list.end(), value));
}

bool is_within(std::span<const int> list, std::span<const int> array) {
  const std::less_equal<const int*> not_after;
  return not_after(array.data(), list.data()) &&
         not_after(list.data() + list.size(), array.data() + array.size());
}

// The item that an entry names, or null if there is none with this number: an entry of a broken record may be
// any number.
template <typename Item>
const Item* item_of_entry(const Item* items, std::int64_t last, int entry) {
  return items == nullptr || entry < 0 || entry > last ? nullptr : items + entry;
}

// The list of the item that an entry names, empty if it names none. The spare items, before the first and
// after the last, are often uninitialised: their lists count only if they lie in the array of lists.
template <typename Item>
std::span<const int> list_of_entry(const Item* items, int count, int entry, const int* array, int npins) {
  const Item* const item = item_of_entry(items, std::int64_t{count} + 1, entry);
  if (item == nullptr) return {};
  const std::span<const int> list = list_of(*item);
  if (entry >= 1 && entry <= count) return list;
  const bool is_set =
      array != nullptr && is_within(list, {array, static_cast<std::size_t>(std::max(npins, 0)) + 2});
  return is_set ? list : std::span<const int>();
}

std::span<const int> nets_of_entry(const Hypergraph* h, int i) {
  return list_of_entry(h->_clst, h->_c, i, h->_net_list, h->_p);
}

std::span<const int> pins_of_entry(const Hypergraph* h, int j) {
  return list_of_entry(h->_nlst, h->_n, j, h->_cell_list, h->_p);
}

// The entries from one start to the next; none if either is absent or they are not in order.
std::span<const int> entries_between(const int* start, const int* next) {
  if (start == nullptr || next == nullptr || next < start) return {};
  return {start, next};
}

// The entries from the start of an item's list to the start of the next one's; none if there is no item i.
std::span<const int> nets_until_next(const Hypergraph* h, int i) {
  const Cell* const cell = i == 0 ? nullptr : item_of_entry(h->_clst, h->_c, i);
  return cell == nullptr ? std::span<const int>() : entries_between(cell[0].nets, cell[1].nets);
}

std::span<const int> pins_until_next(const Hypergraph* h, std::int64_t last, int j) {
  const Net* const net = j == 0 ? nullptr : item_of_entry(h->_nlst, last, j);
  return net == nullptr ? std::span<const int>() : entries_between(net[0].pins, net[1].pins);
}

// Whether a net may be one that a pruning copy set aside, by its size. The end pointer of a sentinel is
// mostly null or uninitialised.
bool may_be_set_aside(const Hypergraph* h, const Net& net) {
  const std::ptrdiff_t size = std::ssize(pins_of(net));
  return size >= 2 && size <= h->_c;
}

// The number of the last net, `nnets` at least. Set-aside nets follow net _n as long as the cells' regions
// have more entries than the nets before.
std::int64_t last_net_of(const Hypergraph* h, int nnets) {
  std::int64_t last = h->_n;
  if (h->_c < 1 || h->_nlst == nullptr) return std::max<std::int64_t>(last, nnets);
  std::ptrdiff_t nleft = std::ssize(entries_between(h->_clst[1].nets, h->_clst[h->_c + 1].nets));
  if (last >= 1) nleft -= std::ssize(entries_between(h->_nlst[1].pins, h->_nlst[last + 1].pins));
  while (nleft > 0 && may_be_set_aside(h, h->_nlst[last + 1])) nleft -= std::ssize(pins_of(h->_nlst[++last]));
  return std::max<std::int64_t>(last, nnets);
}

struct NetTotals {
  int totw = 0;
  int emptyw = 0;  // of nets without pins
  std::int64_t npins = 0;

  void add(const Net& net) {
    if (pins_of(net).empty()) add_wrapping(emptyw, net.w);
    add_wrapping(totw, net.w);
    npins += std::ssize(pins_of(net));
  }
};

struct CellTotals {
  int totw = 0;
  int totinw = 0;
  std::int64_t npins = 0;
};

CellTotals cell_totals(const Hypergraph* h) {
  CellTotals totals;
  for (int i = 1; i <= h->_c; ++i) {
    const Cell& cell = h->_clst[i];
    add_wrapping(totals.totw, cell.w);
    add_wrapping(totals.totinw, cell.inw);
    totals.npins += std::ssize(nets_of(cell));
  }
  return totals;
}

// The totals of the nets, and whether both sides certainly name each other once each, given that they hold
// equally many entries. One pass gives both, as loading the records takes as long as checking them.
//
// If each pin has an entry in the list of its cell, and no net has a pin twice, these entries are all
// different. The cells hold no more of them: no entry is left that names a net without the cell, or names it
// twice.
struct CheckedNets {
  NetTotals totals;
  bool agree = true;
};

CheckedNets check_nets(const Hypergraph* h) {
  CheckedNets nets;
  PinFinder finder(h);
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    nets.totals.add(net);
    nets.agree = nets.agree && finder.add_net(j, pins_of(net));
  }
  nets.agree = nets.agree && finder.finish();
  return nets;
}

void check_pins_of_nets(const Hypergraph* h) {
  for (int j = 1; j <= h->_n; ++j) {
    for (const int i : pins_of(h->_nlst[j])) {
      const int count = occurrences(nets_of_entry(h, i), j);
      if (count != 1)
        errexit(" CheckListsofHypergraph: net %d occurs %d times in the net list of cell %d", j, count, i);
    }
  }
}

void check_nets_of_cells(const Hypergraph* h) {
  for (int i = 1; i <= h->_c; ++i) {
    for (const int j : nets_of(h->_clst[i])) {
      const int count = occurrences(pins_of_entry(h, j), i);
      if (count != 1)
        errexit(" CheckListsofHypergraph: cell %d occurs %d times in the cell list of net %d", i, count, j);
    }
  }
}

void check_both_sides(const Hypergraph* h, const CheckedNets& nets, std::int64_t npins_of_cells) {
  const std::int64_t npins_of_nets = nets.totals.npins;
  const bool sure = nets.agree && npins_of_nets == npins_of_cells;
  if (!sure) check_pins_of_nets(h);
  if (npins_of_nets != h->_p)
    errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in cells of nets", static_cast<int>(npins_of_nets),
            h->_p);
  if (!sure) check_nets_of_cells(h);
  if (npins_of_cells != h->_p) {
    const int span = h->_c < 1 ? -1 : static_cast<int>(h->_clst[h->_c].netsend - h->_clst[1].nets);
    errexit("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in nets of cells eptr-start=[%d]",
            static_cast<int>(npins_of_cells), h->_p, span);
  }
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

// Whether two lists of the same length are equal and increase. No early exit: lists are short, and a branch
// per entry costs more than it saves.
bool are_equal_and_increase(std::span<const int> nets, std::span<const int> pins) {
  int nwrong = 0;
  int last = std::numeric_limits<int>::min();
  for (std::size_t t = 0; t < nets.size(); ++t) {
    nwrong += nets[t] != pins[t] ? 1 : 0;
    nwrong += nets[t] <= last ? 1 : 0;
    last = nets[t];
  }
  return nwrong == 0;
}

// Prints pins up to the largest number of a cell with its part and weight, and any others without.
void print_pins(const Hypergraph* h, int j, std::int64_t last_cell) {
  uprintf("\n Pins[%4d] = {", j);
  const std::span<const int> pins = pins_of(h->_nlst[j]);
  for (const int& pin : pins) {
    const Cell* const cell = item_of_entry(h->_clst, last_cell, pin);
    uprintf("%4d(P=%2d, W=%3d)%s", pin, cell == nullptr ? -1 : cell->pno, cell == nullptr ? 0 : cell->w,
            &pin == &pins.back() ? " " : ", ");
  }
  uprintf("}\n");
}

// As `print_pins`.
void print_nets(const Hypergraph* h, int i, std::int64_t last_net) {
  uprintf("\n Nets[%4d] = {", i);
  for (const int j : nets_of(h->_clst[i])) {
    const Net* const net = item_of_entry(h->_nlst, last_net, j);
    uprintf("%4d(W=%3d), ", j, net == nullptr ? 0 : net->w);
  }
  uprintf("}\n");
}

// Ends the program unless net i has each entry of cell i exactly once, given that both lists are equally
// long.
void check_same_entries(const Hypergraph* h, int i) {
  if (are_equal_and_increase(nets_of(h->_clst[i]), pins_of(h->_nlst[i]))) return;
  for (const int v : nets_of(h->_clst[i])) {
    const int count = occurrences(pins_of(h->_nlst[i]), v);
    if (count == 1) continue;
    if (count > 1)
      errexit("CheckSymmetryinHypergraph: cell %d occurs %d times in the cell list of net %d", v, count, i);
    print_pins(h, i, std::int64_t{h->_c} + 1);
    print_nets(h, i, std::int64_t{h->_n} + 1);
    errexit("\n NOT Symmetric cell %d not occured in cell-list of net %d", v, i);
  }
}

// The text shows i, the degree and i again; the size is passed but not shown.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-extra-args"
void print_length_difference(int i, int cell_degree, int size) {
  uprintf("\n NOT Symmetric beacuse deg[d]=%d size[%d]=%d", i, cell_degree, i, size);
}
#pragma GCC diagnostic pop

void print_list(std::span<const int> list) {
  for (const int& entry : list) uprintf("%d%s", entry, &entry == &list.back() ? "" : ", ");
}

void print_rule() { uprintf("\n********************************************************************"); }

}  // namespace

void prinfo_hypergraph(const Hypergraph* h) {
  const Statistics cells = gather(h->_clst, h->_c, h->_p);
  check_cell_total(h, cells);
  const Statistics nets = gather(h->_nlst, h->_n, h->_p);
  const Spread degrees = spread(cells, h->_c);
  const Spread sizes = spread(nets, h->_n);
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
  ShortLengths counts = {};
  const Statistics cells = gather(h->_clst, h->_c, h->_p, &counts);
  check_cell_total(h, cells);
  const int maxdegree = cells.length.max;
  int* const degcnt = count_all_lengths(counts, h->_clst, h->_c, maxdegree, "detailinfo: degcnt");

  counts.fill(0);
  const Statistics nets = gather(h->_nlst, h->_n, h->_p, &counts);
  const int maxsize = nets.length.max;
  int* const sizecnt = count_all_lengths(counts, h->_nlst, h->_n, maxsize, "detailinfo: sizecnt");

  uprintf(" H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  print_lengths("\nCell Degree", spread(cells, h->_c), cells);
  print_lengths("\nNet Size", spread(nets, h->_n), nets);
  print_weights("\nCell Weights", cells);
  print_weights("\nNet Weights", nets);

  uprintf("\n\n Cell Degree distribution\n===============================================");
  for (std::int64_t d = 0; d <= maxdegree; ++d)
    if (degcnt[d] != 0)
      uprintf("\n CelDeg= %4d --> %6d cell(s) (%8.2lf%%)", static_cast<int>(d), degcnt[d],
              percent(degcnt[d], h->_c));

  uprintf("\n\n Net Size  distribution\n===============================================");
  for (std::int64_t s = 0; s <= maxsize; ++s)
    if (sizecnt[s] != 0)
      uprintf("\n NetSize= %4d --> %6d net(s) (%8.2lf%%)", static_cast<int>(s), sizecnt[s],
              percent(sizecnt[s], h->_n));
  uprintf("\n\n");
}

void CheckListsofHypergraph(const Hypergraph* h) {
  uprintf("\n CheckListsofHypergraph: Checking Hypergraph H=(%5d, %5d, %7d) TNW=%d TINW=%d VirtNets=%d",
          h->_c, h->_n, h->_p, h->_totnw, h->_totinw, h->_virtualnets);
  const CheckedNets nets = check_nets(h);
  const CellTotals cells = cell_totals(h);
  check_both_sides(h, nets, cells.npins);
  check_totals(h, nets.totals, cells);
  if (nets.totals.emptyw != 0) uwarning("hypergraph has nets with no pins");
  uprintf("\n Checking DONE....\n");
}

void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets) {
  const std::int64_t last_net = last_net_of(h, nnets);
  for (int j = 1; j <= h->_c; ++j) {
    for (const int net : nets_until_next(h, j)) {
      const int count = occurrences(pins_until_next(h, last_net, net), j);
      if (count != 1)
        errexit(" CheckListsofContinuesHypergraph: cell %d occurs %d times in the cell list of net %d", j,
                count, net);
    }
  }
  for (int i = 1; i <= nnets; ++i) {
    for (const int cell : pins_until_next(h, last_net, i)) {
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

void PrintPins(const Hypergraph* h, int j) { print_pins(h, j, std::numeric_limits<int>::max()); }

void PrintNets(const Hypergraph* h, int i) { print_nets(h, i, std::numeric_limits<int>::max()); }

void PrintHypergraph(const Hypergraph* h) {
  print_rule();
  uprintf("\n H=(%d, %d, %d)", h->_c, h->_n, h->_p);
  uprintf("\n totcw=%d totnw=%d totinw=%d virtnets=%d\n", h->_totcw, h->_totnw, h->_totinw, h->_virtualnets);

  uprintf("\n Nets connectted to the cells\n==========================================================");
  for (int i = 1; i <= h->_c; ++i) {
    const Cell& cell = h->_clst[i];
    uprintf("\n w=%5d inw=%5d pno=%4d Nets[%6d] = {", cell.w, cell.inw, cell.pno, i);
    print_list(nets_of(cell));
    uprintf("}");
  }

  uprintf("\n Cells connectted to the nets\n==========================================================");
  for (int j = 1; j <= h->_n; ++j) {
    uprintf("\n w=%5d Pins[%6d] = {", h->_nlst[j].w, j);
    print_list(pins_of(h->_nlst[j]));
    uprintf("}");
  }
  print_rule();
}

}  // namespace quillon
