#include "formats/net_lists.h"

#include <algorithm>
#include <limits>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr std::int64_t kMostPins = std::numeric_limits<int>::max() - 2;

// Where every weight stands in its records; returns the sum.
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

void begin_nets(Arrays& arrays, int nnets) {
  arrays.nnets = nnets;
  arrays.xnadj = {0, 0};
}

void check_pins(std::size_t npins) {
  if (npins > static_cast<std::size_t>(kMostPins))
    errexit("more than %lld pins are too many", static_cast<long long>(kMostPins));
}

void end_net(Arrays& arrays) {
  check_pins(arrays.nadj.size());
  arrays.xnadj.push_back(static_cast<int>(arrays.nadj.size()));
}

void group_by_net(Arrays& arrays, const std::vector<Pin>& pins) {
  check_pins(pins.size());
  arrays.xnadj.assign(static_cast<std::size_t>(arrays.nnets) + 2, 0);
  for (const Pin& pin : pins) ++arrays.xnadj[static_cast<std::size_t>(pin.net) + 1];
  for (std::size_t j = 1; j < arrays.xnadj.size(); ++j) arrays.xnadj[j] += arrays.xnadj[j - 1];

  std::vector<int> next = arrays.xnadj;
  arrays.nadj.resize(pins.size());
  for (const Pin& pin : pins)
    arrays.nadj[static_cast<std::size_t>(next[static_cast<std::size_t>(pin.net)]++)] = pin.cell;
}

std::int64_t count_repeated_pins(const Hypergraph& h) {
  std::vector<int> last_net(static_cast<std::size_t>(h._c) + 1, 0);
  std::int64_t count = 0;
  for (int j = 1; j <= h._n; ++j) {
    for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin) {
      int& last = last_net[static_cast<std::size_t>(*pin)];
      if (last == j) ++count;
      last = j;
    }
  }
  return count;
}

void to_record(const Arrays& arrays, Loaded& loaded) {
  Hypergraph& h = loaded.h;
  const int* const diagonal = arrays.diagonal.empty() ? nullptr : arrays.diagonal.data();
  hypergraph_LoadFromArr(&h, arrays.nnets, arrays.ncells, arrays.xnadj.data(), arrays.nadj.data(), diagonal);

  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = -1;
  warn_of_overflow(set_weights(h._clst, h._c, arrays.cell_weights), "cells");
  const std::int64_t totnw = set_weights(h._nlst, h._n, arrays.net_weights);
  warn_of_overflow(totnw, "nets");
  set_hypergraph_infos(&h);
  h._totnw = static_cast<int>(totnw);
  h._fmt = weight_bit(arrays.cell_weights, 1) | weight_bit(arrays.net_weights, 2);
}

std::string counted(std::int64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void note(std::vector<std::string>& notes, std::int64_t count, const std::string& what,
          const std::string& more) {
  if (count > 0) notes.push_back(counted(count, what) + more);
}

}  // namespace quillon::tool
