#include "formats/net_lists.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <span>
#include <utility>

#include "formats/beside.h"
#include "formats/findings.h"
#include "formats/short_nets.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

struct Free {
  void operator()(void* block) const { _usfree(block); }
};

template <typename Entry>
using Allocation = std::unique_ptr<Entry[], Free>;

// Room for items 1 .. count and two more, as records have.
template <typename Entry>
Allocation<Entry> allocate(int count, const char* tag) {
  const std::uint64_t entries = static_cast<std::uint64_t>(count) + 2;
  return Allocation<Entry>(static_cast<Entry*>(umalloc(entries * sizeof(Entry), tag)));
}

int weight_of(const std::vector<int>& weights, int item) {
  return weights.empty() ? 1 : weights[static_cast<std::size_t>(item)];
}

std::int64_t total_of(const std::vector<int>& weights, int count) {
  return weights.empty() ? count : std::accumulate(weights.begin() + 1, weights.end(), std::int64_t{0});
}

int weight_bit(const std::vector<int>& weights, int bit) {
  const bool counts =
      !weights.empty() && std::any_of(weights.begin() + 1, weights.end(), [](int w) { return w != 1; });
  return counts ? bit : 0;
}

void warn_of_overflow(std::int64_t total, const char* what) {
  if (total != static_cast<int>(total))
    uwarning("the weights of all %s are %lld together, more than 32 bits hold", what,
             static_cast<long long>(total));
}

bool lacks_diagonal(const NetLists& lists, int j) {
  return j <= lists.ncells && lists.diagonal[static_cast<std::size_t>(j)] == 0;
}

// Gives each net without a pin on the diagonal that pin, after its others. The last net moves first, so that
// no pin is overwritten before it has moved.
void insert_diagonal(NetLists& lists) {
  std::size_t nmissing = 0;
  for (int j = 1; j <= lists.nnets; ++j) nmissing += lacks_diagonal(lists, j) ? 1 : 0;
  const std::size_t npins = lists.nadj.size();
  if (npins + nmissing > kMostPins)
    errexit("hypergraph_LoadFromArr: %d pins and a diagonal of %d are too many", static_cast<int>(npins),
            lists.ncells);
  lists.nadj.resize(npins + nmissing);
  int* const pins = lists.nadj.data();
  std::size_t end = npins + nmissing;
  for (int j = lists.nnets; j >= 1; --j) {
    int& net_end = lists.xnadj[static_cast<std::size_t>(j) + 1];
    const int size = net_end - lists.xnadj[static_cast<std::size_t>(j)];
    const int* const old_end = pins + net_end;
    net_end = static_cast<int>(end);
    if (lacks_diagonal(lists, j)) pins[--end] = j;
    std::copy_backward(old_end - size, old_end, pins + end);
    end -= static_cast<std::size_t>(size);
  }
}

void fill_cells(const Hypergraph& h, const std::vector<int>& weights) {
  for (int i = 1; i <= h._c; ++i) {
    Cell& cell = h._clst[i];
    cell.w = weight_of(weights, i);
    cell.inw = 0;
    cell.pno = -1;
    cell.nets = nullptr;
    cell.netsend = nullptr;
  }
}

void fill_nets(const Hypergraph& h, const NetLists& lists) {
  const int* const starts = lists.xnadj.data();
  for (int j = 1; j <= h._n; ++j)
    h._nlst[j] = {weight_of(lists.net_weights, j), h._cell_list + starts[j],
                  h._cell_list + starts[j + 1] - 1};
}

// As the folding reader of the module does with net j, which has fewer than two pins.
void fold(Hypergraph& h, const Net& net, int j) {
  if (net_size(net) == 1) {
    add_wrapping(h._clst[*net.pins].inw, net.w);
    add_wrapping(h._totinw, net.w);
    return;
  }
  if (net.w >= 2)
    throw BadFile({"heavy-pinless-net", Severity::kError, "", 0, 0,
                   "net " + std::to_string(j) + " has weight " + std::to_string(net.w) +
                       " but no pins, so it cannot be folded",
                   ""});
  subtract_wrapping(h._totnw, net.w);
  add_wrapping(h._virtualnets, net.w);
}

// Removes the nets of fewer than two pins, with their pins and names. Returns their number.
int fold_small_nets(Hypergraph& h, std::vector<std::string>& names) {
  int nkept = 0;
  int* pins_end = h._cell_list;
  for (int j = 1; j <= h._n; ++j) {
    const Net net = h._nlst[j];
    if (net_size(net) < 2) {
      fold(h, net, j);
      continue;
    }
    int* const pins = std::exchange(pins_end, std::copy(net.pins, net.pinsend + 1, pins_end));
    h._nlst[++nkept] = {net.w, pins, pins_end - 1};
    if (!names.empty()) std::swap(names[static_cast<std::size_t>(nkept)], names[static_cast<std::size_t>(j)]);
  }
  if (!names.empty()) names.resize(static_cast<std::size_t>(nkept) + 1);
  const int nfolded = h._n - nkept;
  h._n = nkept;
  h._p = static_cast<int>(pins_end - h._cell_list);
  return nfolded;
}

void sum_weights(Hypergraph& h, const NetLists& lists) {
  const std::int64_t totcw = total_of(lists.cell_weights, h._c);
  const std::int64_t totnw = total_of(lists.net_weights, h._n);
  warn_of_overflow(totcw, "cells");
  warn_of_overflow(totnw, "nets");
  h._totcw = static_cast<int>(totcw);
  h._totnw = static_cast<int>(totnw);
}

}  // namespace

void check_room(int ncells, int nnets) {
  // cppcheck-suppress unreadVariable
  const Allocation<Cell> cells = allocate<Cell>(ncells, "to_record: clst");
  // cppcheck-suppress unreadVariable
  const Allocation<Net> nets = allocate<Net>(nnets, "to_record: nlst");
}

void begin_nets(NetLists& lists, int nnets) {
  lists.nnets = nnets;
  lists.xnadj.clear();
  constexpr int kMostTrusted = 1 << 24;  // nets; memory that is not used costs nothing
  if (!lists.grow_slowly) check_room(lists.ncells, nnets);
  const int nexpected = lists.grow_slowly ? std::min(nnets, kMostTrusted) : nnets;
  lists.xnadj.reserve(static_cast<std::size_t>(nexpected) + 2);
  lists.xnadj.resize(2, 0);
}

void check_pins(std::size_t npins) {
  if (npins > kMostPins)
    throw BadFile({"too-many-pins", Severity::kError, "", 0, 0,
                   "more than " + std::to_string(kMostPins) + " pins are too many", ""});
}

void end_net(NetLists& lists) {
  check_pins(lists.nadj.size());
  lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
}

void drop_net(NetLists& lists, bool has_weights) {
  const int end = lists.xnadj.back();
  lists.nadj.resize(static_cast<std::size_t>(end));
  lists.xnadj.push_back(end);
  if (has_weights) lists.net_weights.resize(lists.xnadj.size() - 1, 1);
}

void group_by_net(NetLists& lists, const std::vector<Pin>& pins) {
  check_pins(pins.size());
  lists.xnadj.assign(static_cast<std::size_t>(lists.nnets) + 2, 0);
  for (const Pin& pin : pins) ++lists.xnadj[static_cast<std::size_t>(pin.net) + 1];
  for (std::size_t j = 1; j < lists.xnadj.size(); ++j) lists.xnadj[j] += lists.xnadj[j - 1];

  std::vector<int> next(lists.xnadj.begin(), lists.xnadj.end());
  lists.nadj.resize(pins.size());
  for (const Pin& pin : pins)
    lists.nadj[static_cast<std::size_t>(next[static_cast<std::size_t>(pin.net)]++)] = pin.cell;
}

namespace {

// Of nets `first` to `last`.
std::int64_t count_repeated_pins(const Hypergraph& h, int first, int last) {
  std::vector<int> last_net;  // by cell, for long nets
  const int* const end = h._cell_list + h._p;
  std::int64_t count = 0;
  for (int j = first; j <= last; ++j) {
    const std::span<const int> pins = pins_of(h._nlst[j]);
    if (pins.size() <= kShortNet) {
      count += count_bits(repeated_pins(pins, end));
      continue;
    }
    if (last_net.empty()) last_net.resize(static_cast<std::size_t>(h._c) + 1);
    for (const int i : pins)
      if (std::exchange(last_net[static_cast<std::size_t>(i)], j) == j) ++count;
  }
  return count;
}

}  // namespace

std::int64_t count_repeated_pins(const Hypergraph& h) {
  const int middle = h._n / 2;
  std::int64_t count = 0;
  Beside first_half([&] { count = count_repeated_pins(h, 1, middle); }, h._p);
  const std::int64_t second_half = count_repeated_pins(h, middle + 1, h._n);
  first_half.wait();
  return count + second_half;
}

void to_net_side(NetLists&& lists, Record& record, SmallNets small_nets) {
  if (!lists.diagonal.empty()) insert_diagonal(lists);
  Hypergraph h{};
  h._c = lists.ncells;
  h._n = lists.nnets;
  h._p = static_cast<int>(lists.nadj.size());
  h._fmt = weight_bit(lists.cell_weights, 1) | weight_bit(lists.net_weights, 2);
  Allocation<Cell> cells = allocate<Cell>(h._c, "to_record: clst");
  Allocation<Net> nets = allocate<Net>(h._n, "to_record: nlst");
  Allocation<int> pins(lists.nadj.release(2));
  h._clst = cells.get();
  h._nlst = nets.get();
  h._cell_list = pins.get();

  sum_weights(h, lists);
  fill_cells(h, lists.cell_weights);
  fill_nets(h, lists);
  lists.xnadj.free();
  lists.cell_weights = {};
  lists.net_weights = {};
  const int nfolded = small_nets == SmallNets::kFold ? fold_small_nets(h, lists.net_names) : 0;
  h._nlst[h._n + 1].pins = h._cell_list + h._p;
  record.h = h;
  record.nfolded = nfolded;
  (void)cells.release();  // the record owns the arrays now
  (void)nets.release();
  (void)pins.release();
}

void add_cell_side(Record& record, SmallNets small_nets) {
  Hypergraph& h = record.h;
  Allocation<int> net_list = allocate<int>(h._p, "to_record: net_list");
  const Allocation<int> work = allocate<int>(h._c, "to_record: work");
  h._net_list = net_list.release();
  construct_net_list(&h, work.get());
  if (small_nets != SmallNets::kKeep) return;
  const int fmt = h._fmt;
  set_hypergraph_infos(&h);
  h._fmt = fmt;
}

void to_record(NetLists&& lists, Record& record, SmallNets small_nets) {
  Record made;
  to_net_side(std::move(lists), made, small_nets);
  add_cell_side(made, small_nets);
  std::swap(record.h, made.h);
  record.nfolded = made.nfolded;
}

}  // namespace quillon::formats
