#include "oracle/nets.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>

#include "oracle/lists.h"

namespace quillon::oracle {

std::vector<NetValue> nets_of(const Hypergraph& h, bool sorted) {
  std::vector<NetValue> nets;
  for (int j = 1; j <= h._n; ++j) {
    const Net& net = h._nlst[j];
    NetValue value{net.w, {}};
    for (int k = 0; k < size_of(net); ++k) value.second.push_back(net.pins[k]);
    if (sorted) std::sort(value.second.begin(), value.second.end());
    nets.push_back(value);
  }
  return nets;
}

int count_missing(const std::vector<NetValue>& a, const std::vector<NetValue>& b) {
  std::map<NetValue, int> left;
  for (const NetValue& net : b) ++left[net];
  int count = 0;
  for (const NetValue& net : a)
    if (--left[net] < 0) ++count;
  return count;
}

int longest_common(const std::vector<NetValue>& a, const std::vector<NetValue>& b) {
  std::vector<std::vector<int>> length(a.size() + 1, std::vector<int>(b.size() + 1, 0));
  for (std::size_t j = 1; j <= a.size(); ++j)
    for (std::size_t k = 1; k <= b.size(); ++k)
      length[j][k] =
          a[j - 1] == b[k - 1] ? length[j - 1][k - 1] + 1 : std::max(length[j - 1][k], length[j][k - 1]);
  return length[a.size()][b.size()];
}

std::vector<NetValue> distinct(const std::vector<NetValue>& nets) {
  std::set<NetValue> seen;
  std::vector<NetValue> kept;
  for (const NetValue& net : nets) {
    NetValue sorted = net;
    std::sort(sorted.second.begin(), sorted.second.end());
    if (seen.insert(sorted).second) kept.push_back(net);
  }
  return kept;
}

namespace {

// By number, so that the nets keep their order.
using NumberedNets = std::map<int, NetValue>;

void drop_repeated_pins(NumberedNets& nets) {
  for (auto& [number, net] : nets) {
    std::vector<int> kept;
    for (const int i : net.second)
      if (std::count(kept.begin(), kept.end(), i) == 0) kept.push_back(i);
    net.second = kept;
  }
}

void merge_parallel(NumberedNets& nets) {
  std::map<std::set<int>, int> first;
  std::vector<int> merged;
  for (auto& [number, net] : nets) {
    const auto [entry, is_new] = first.insert({std::set<int>(net.second.begin(), net.second.end()), number});
    if (is_new) continue;
    nets[entry->second].first += net.first;
    merged.push_back(number);
  }
  for (const int number : merged) nets.erase(number);
}

}  // namespace

Simple simplify(const Hypergraph& h, const Steps& steps) {
  NumberedNets nets;
  for (const NetValue& net : nets_of(h, false)) nets[static_cast<int>(nets.size()) + 1] = net;
  if (steps.repeated_pins) drop_repeated_pins(nets);
  if (steps.small_nets) std::erase_if(nets, [](const auto& net) { return net.second.second.size() < 2; });
  if (steps.parallel_nets) merge_parallel(nets);
  Simple simple;
  std::set<int> used;
  for (const auto& [number, net] : nets) {
    simple.nets.push_back(net);
    simple.net_origins.push_back(number);
    used.insert(net.second.begin(), net.second.end());
  }
  for (int i = 1; i <= h._c; ++i)
    if (!steps.isolated_cells || used.count(i) > 0) simple.cells.push_back(i);
  return simple;
}

}  // namespace quillon::oracle
