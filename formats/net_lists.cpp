#include "formats/net_lists.h"

#include <algorithm>
#include <limits>

#include "formats/findings.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

constexpr std::int64_t kMostPins = std::numeric_limits<int>::max() - 2;

// Stores the weights in the records; returns their sum.
template <typename Item>
std::int64_t set_weights(Item* items, int count, const std::vector<int>& weights) {
  std::int64_t total = 0;
  for (int i = 1; i <= count; ++i) {
    if (!weights.empty()) items[i].w = weights[static_cast<std::size_t>(i)];
    total += items[i].w;
  }
  return total;
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

}  // namespace

void begin_nets(NetLists& lists, int nnets) {
  lists.nnets = nnets;
  lists.xnadj = {0, 0};
}

void check_pins(std::size_t npins) {
  if (npins > static_cast<std::size_t>(kMostPins))
    throw BadFile({"too-many-pins", Severity::kError, "", 0, 0,
                   "more than " + std::to_string(kMostPins) + " pins are too many", ""});
}

void end_net(NetLists& lists) {
  check_pins(lists.nadj.size());
  lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
}

void group_by_net(NetLists& lists, const std::vector<Pin>& pins) {
  check_pins(pins.size());
  lists.xnadj.assign(static_cast<std::size_t>(lists.nnets) + 2, 0);
  for (const Pin& pin : pins) ++lists.xnadj[static_cast<std::size_t>(pin.net) + 1];
  for (std::size_t j = 1; j < lists.xnadj.size(); ++j) lists.xnadj[j] += lists.xnadj[j - 1];

  std::vector<int> next = lists.xnadj;
  lists.nadj.resize(pins.size());
  for (const Pin& pin : pins)
    lists.nadj[static_cast<std::size_t>(next[static_cast<std::size_t>(pin.net)]++)] = pin.cell;
}

std::int64_t count_repeated_pins(const Hypergraph& h) {
  std::vector<int> last_net(static_cast<std::size_t>(h._c) + 1, 0);
  std::int64_t count = 0;
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j])) {
      int& last = last_net[static_cast<std::size_t>(i)];
      if (last == j) ++count;
      last = j;
    }
  }
  return count;
}

void to_record(const NetLists& lists, Record& record) {
  Hypergraph& h = record.h;
  const int* const diagonal = lists.diagonal.empty() ? nullptr : lists.diagonal.data();
  hypergraph_LoadFromArr(&h, lists.nnets, lists.ncells, lists.xnadj.data(), lists.nadj.data(), diagonal);

  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = -1;
  warn_of_overflow(set_weights(h._clst, h._c, lists.cell_weights), "cells");
  const std::int64_t totnw = set_weights(h._nlst, h._n, lists.net_weights);
  warn_of_overflow(totnw, "nets");
  set_hypergraph_infos(&h);
  h._totnw = static_cast<int>(totnw);
  h._fmt = weight_bit(lists.cell_weights, 1) | weight_bit(lists.net_weights, 2);
}

}  // namespace quillon::formats
