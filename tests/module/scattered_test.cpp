// Hypergraphs in which neighbouring nets name cells far apart, many enough for the ways that are taken only
// then.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon {
namespace {

struct Shape {
  int ncells;
  int nnets;
  int most_pins;
  bool weights;
  unsigned seed;
};

// In place of the bytes, of which some belong to no member.
void PrintTo(const Shape& shape, std::ostream* out) {
  *out << shape.ncells << " cells, " << shape.nnets << " nets of up to " << shape.most_pins << " pins, seed "
       << shape.seed;
}

// A record with the pins of its nets, and the obvious other side of it.
struct Scattered {
  Hypergraph h{};
  std::vector<Net> nets;
  std::vector<Cell> cells;
  std::vector<int> cell_list;
  std::vector<int> net_list;
  std::vector<std::vector<int>> nets_of_cell;
  std::vector<int> wdeg;

  explicit Scattered(const Shape& shape) : nets(entries(shape.nnets)), cells(entries(shape.ncells)) {
    std::mt19937 draw(shape.seed);
    const auto below = [&draw](int bound) { return static_cast<int>(draw() % static_cast<unsigned>(bound)); };
    cell_list.reserve(16);  // so that it stands somewhere also when there are no pins
    nets_of_cell.resize(cells.size());
    wdeg.resize(cells.size());
    std::vector<int> starts(nets.size());
    std::vector<int> sizes(nets.size());
    for (int j = 1; j <= shape.nnets; ++j) {
      const auto at = static_cast<std::size_t>(j);
      nets[at].w = shape.weights ? below(1000) : 3;
      starts[at] = static_cast<int>(cell_list.size());
      sizes[at] = below(shape.most_pins + 1);
      for (int k = 0; k < sizes[at]; ++k) {
        const bool again = k > 0 && below(50) == 0;
        const int i = again ? cell_list.back() : 1 + below(shape.ncells);
        cell_list.push_back(i);
        nets_of_cell[static_cast<std::size_t>(i)].push_back(j);
        wdeg[static_cast<std::size_t>(i)] += nets[at].w;
      }
    }
    for (int j = 1; j <= shape.nnets; ++j) {
      const auto at = static_cast<std::size_t>(j);
      nets[at].pins = cell_list.data() + starts[at];
      nets[at].pinsend = nets[at].pins + sizes[at] - 1;
      if (sizes[at] == 0 && j % 2 == 0) nets[at].pins = nets[at].pinsend = nullptr;  // no list at all
    }
    // There is nothing behind the last net: to look at this would end the program.
    auto* const nowhere = reinterpret_cast<int*>(64);  // NOLINT(performance-no-int-to-ptr)
    nets.back() = {0, nowhere, nowhere + 1};
    net_list.assign(cell_list.size() + 2, -7);
    h._c = shape.ncells;
    h._n = shape.nnets;
    h._p = static_cast<int>(cell_list.size());
    h._clst = cells.data();
    h._nlst = nets.data();
    h._cell_list = cell_list.data();
    h._net_list = net_list.data();
  }

  static std::size_t entries(int count) { return static_cast<std::size_t>(count) + 2; }
};

class ScatteredCells : public testing::TestWithParam<Shape> {};

TEST_P(ScatteredCells, GetTheListsThatCountingAndFillingGives) {
  Scattered r(GetParam());
  std::vector<int> work(r.cells.size(), -7);

  construct_net_list(&r.h, work.data());

  const int* next = r.net_list.data();
  for (std::size_t i = 1; i + 1 < r.cells.size(); ++i) {
    const Cell& cell = r.cells[i];
    ASSERT_EQ(cell.nets, next) << "cell " << i;
    ASSERT_EQ(std::vector<int>(cell.nets, cell.netsend + 1), r.nets_of_cell[i]) << "cell " << i;
    ASSERT_EQ(cell.wdeg, r.wdeg[i]) << "cell " << i;
    ASSERT_EQ(work[i], static_cast<int>(r.nets_of_cell[i].size())) << "cell " << i;
    next = cell.netsend + 1;
  }
  EXPECT_EQ(r.cells.back().nets, next);
  EXPECT_EQ(work.front(), 0);
  EXPECT_EQ(work.back(), -7);
  EXPECT_EQ(std::vector<int>(r.net_list.end() - 2, r.net_list.end()), (std::vector<int>{-7, -7}));
  const auto [least, most] = std::minmax_element(work.begin() + 1, work.end() - 1);
  EXPECT_EQ(r.h._mincd, *least);
  EXPECT_EQ(r.h._maxcd, *most);
  EXPECT_EQ(r.h._maxwcd, 0);
}

TEST_P(ScatteredCells, GiveTheNetsTheirPinsBackInOrder) {
  Scattered r(GetParam());
  std::vector<int> work(std::max(r.cells.size(), r.nets.size()), -7);
  construct_net_list(&r.h, work.data());
  std::vector<std::vector<int>> pins(r.nets.size());
  for (std::size_t i = 1; i < r.cells.size(); ++i)
    for (const int j : r.nets_of_cell[i]) pins[static_cast<std::size_t>(j)].push_back(static_cast<int>(i));
  std::fill(r.cell_list.begin(), r.cell_list.end(), -7);

  construct_cell_list(&r.h, work.data());

  const int* next = r.cell_list.data();
  for (std::size_t j = 1; j + 1 < r.nets.size(); ++j) {
    ASSERT_EQ(r.nets[j].pins, next) << "net " << j;
    ASSERT_EQ(std::vector<int>(r.nets[j].pins, r.nets[j].pinsend + 1), pins[j]) << "net " << j;
    ASSERT_EQ(work[j], static_cast<int>(pins[j].size())) << "net " << j;
    next = r.nets[j].pinsend + 1;
  }
  EXPECT_EQ(r.nets.back().pins, next);
}

// Entries that wait for their turn say how many nets the one before is away. Here one is a million away,
// among so many cells that there are not bits enough.
TEST(ScatteredCellsFarFromOneAnother, GetTheirListsToo) {
  constexpr unsigned kHalf = 1U << 21;
  constexpr int kCells = 2 * kHalf;
  constexpr int kNets = (1 << 20) + 10;
  const auto cell_of = [](int j) {
    return j == kNets ? kCells : 1 + static_cast<int>(static_cast<unsigned>(j) * 600001U % kHalf);
  };
  std::vector<Cell> cells(kCells + 2);
  std::vector<Net> nets(kNets + 2);
  std::vector<int> cell_list(kNets + 2);
  std::vector<int> net_list(kNets + 2);
  std::vector<int> work(kCells + 2);
  for (int j = 1; j <= kNets; ++j) {
    int* const pin = &cell_list[static_cast<std::size_t>(j) - 1];
    *pin = cell_of(j);
    nets[static_cast<std::size_t>(j)] = {1, pin, pin};
  }
  Hypergraph h{};
  h._c = kCells;
  h._n = h._p = kNets;
  h._clst = cells.data();
  h._nlst = nets.data();
  h._cell_list = cell_list.data();
  h._net_list = net_list.data();

  construct_net_list(&h, work.data());

  EXPECT_EQ(cells[kCells + 1].nets, net_list.data() + kNets);
  for (int j = 1; j <= kNets; ++j) {
    const Cell& cell = cells[static_cast<std::size_t>(cell_of(j))];
    ASSERT_EQ(cell.nets, cell.netsend) << "net " << j;
    ASSERT_EQ(*cell.nets, j);
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, ScatteredCells,
                         testing::Values(Shape{200000, 30000, 9, false, 1}, Shape{200000, 30000, 9, true, 2},
                                         Shape{131072, 140000, 3, true, 3}, Shape{300001, 200, 700, false, 4},
                                         Shape{140000, 1, 5, true, 5}, Shape{1000, 3000, 6, true, 6},
                                         Shape{20000, 600000, 2, true, 7}));

}  // namespace
}  // namespace quillon
