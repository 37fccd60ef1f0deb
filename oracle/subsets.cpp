#include "oracle/subsets.h"

#include <algorithm>
#include <iterator>

namespace quillon::oracle {

std::set<int> with_neighbours(const NetSets& nets, const std::set<int>& cells) {
  std::set<int> result = cells;
  for (const std::vector<int>& net : nets)
    for (const int i : net)
      if (cells.count(i) > 0) result.insert(net.begin(), net.end());
  return result;
}

std::vector<std::set<int>> components(const NetSets& nets, int ncells) {
  std::set<std::set<int>> found;
  for (int i = 1; i <= ncells; ++i) {
    std::set<int> cells{i};
    for (std::size_t size = 0; size != cells.size(); cells = with_neighbours(nets, cells))
      size = cells.size();
    found.insert(cells);
  }
  std::vector<std::set<int>> sorted(found.begin(), found.end());  // by first cell
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const std::set<int>& a, const std::set<int>& b) { return a.size() > b.size(); });
  return sorted;
}

std::vector<int> cut_down(const std::vector<int>& net, const std::set<int>& cells) {
  std::vector<int> result;
  for (const int i : net)
    if (const auto place = cells.find(i); place != cells.end())
      result.push_back(static_cast<int>(std::distance(cells.begin(), place)) + 1);
  return result;
}

}  // namespace quillon::oracle
