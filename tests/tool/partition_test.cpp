#include "measures/partition.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

namespace quillon::tool_test {
namespace {

// Independent of the tool's way of counting: a set of parts for each net.
TEST(CutSizes, AgreesWithASetOfPartsPerNet) {
  unsigned state = 1;
  const auto random = [&state](unsigned below) {
    state = state * 1664525U + 1013904223U;
    return static_cast<int>((state >> 8U) % below);
  };
  for (int round = 0; round < 200; ++round) {
    const int ncells = 1 + random(12);
    const int nnets = random(12);
    std::vector<std::vector<int>> pins(static_cast<std::size_t>(nnets));
    std::vector<int> cell_list;
    for (auto& list : pins) {
      for (int size = random(6); size > 0; --size) list.push_back(1 + random(static_cast<unsigned>(ncells)));
      cell_list.insert(cell_list.end(), list.begin(), list.end());
    }
    std::vector<Net> nets(pins.size() + 2);
    std::vector<Cell> cells(static_cast<std::size_t>(ncells) + 2);
    std::vector<int> parts{0};
    for (int i = 1; i <= ncells; ++i) parts.push_back(random(4));

    cell_list.push_back(0);
    int* cursor = cell_list.data();
    std::int64_t cut = 0;
    std::int64_t km1 = 0;
    std::int64_t soed = 0;
    for (std::size_t j = 0; j < pins.size(); ++j) {
      const int w = random(5);
      nets[j + 1] = {w, cursor, cursor + pins[j].size() - 1};
      cursor += pins[j].size();
      std::set<int> touched;
      for (const int i : pins[j]) touched.insert(parts[static_cast<std::size_t>(i)]);
      if (touched.size() < 2) continue;
      const auto connectivity = static_cast<std::int64_t>(touched.size());
      cut += w;
      km1 += w * (connectivity - 1);
      soed += w * connectivity;
    }
    Hypergraph h{};
    h._c = ncells;
    h._n = nnets;
    h._nlst = nets.data();
    h._clst = cells.data();

    const tool::CutSizes sizes = tool::cut_sizes(h, parts, 4);
    EXPECT_EQ(sizes.cut, cut) << round;
    EXPECT_EQ(sizes.connectivity_minus_one, km1) << round;
    EXPECT_EQ(sizes.sum_of_external_degrees, soed) << round;
  }
}

TEST(Imbalance, IsTheShareByWhichTheHeaviestPartExceedsTheAverage) {
  EXPECT_EQ(tool::imbalance({{1, 1}, {5, 5}}), 0);
  EXPECT_EQ(tool::imbalance({{1, 1}, {6, 2}}), 0.5);
  EXPECT_EQ(tool::imbalance({{2, 0}, {0, 0}}), 0);
}

}  // namespace
}  // namespace quillon::tool_test
