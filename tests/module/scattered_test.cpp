// Hypergraphs in which neighbouring nets name distant cells, large enough for the path that uses buckets.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"

namespace quillon {
namespace {

struct Dimensions {
  int ncells;
  int nnets;
  int most_pins;
  bool weights;
  unsigned seed;
  bool hub = false;  ///< Whether cell 1 is on every net that has pins.
};

// Otherwise gtest prints the bytes, including padding.
void PrintTo(const Dimensions& shape, std::ostream* out) {
  *out << shape.ncells << " cells, " << shape.nnets << " nets of up to " << shape.most_pins << " pins, seed "
       << shape.seed;
}

// A record with the pins of its nets.
struct Scattered {
  Hypergraph h{};
  std::vector<Net> nets;
  std::vector<Cell> cells;
  std::vector<int> cell_list;
  std::vector<int> net_list;

  explicit Scattered(const Dimensions& shape) : nets(entries(shape.nnets)), cells(entries(shape.ncells)) {
    std::mt19937 draw(shape.seed);
    const auto below = [&draw](int bound) { return static_cast<int>(draw() % static_cast<unsigned>(bound)); };
    cell_list.reserve(16);  // not null even without pins
    std::vector<int> starts(nets.size());
    std::vector<int> sizes(nets.size());
    for (int j = 1; j <= shape.nnets; ++j) {
      const auto at = static_cast<std::size_t>(j);
      nets[at].w = shape.weights ? below(1000) : 3;
      starts[at] = static_cast<int>(cell_list.size());
      sizes[at] = below(shape.most_pins + 1);
      for (int k = 0; k < sizes[at]; ++k) {
        if (k == 0 && shape.hub) {
          cell_list.push_back(1);
          continue;
        }
        const bool again = k > 0 && below(50) == 0;
        cell_list.push_back(again ? cell_list.back() : 1 + below(shape.ncells));
      }
    }
    for (int j = 1; j <= shape.nnets; ++j) {
      const auto at = static_cast<std::size_t>(j);
      nets[at].pins = cell_list.data() + starts[at];
      nets[at].pinsend = nets[at].pins + sizes[at] - 1;
      if (sizes[at] == 0 && j % 2 == 0) nets[at].pins = nets[at].pinsend = nullptr;  // no list at all
    }
    // The entry after the last net must not be read: that would end the program.
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

// Compares lists one by one: the records are large, and a failure prints only the first different list.
template <typename Item>
void expect_same_lists(const std::vector<Item>& seen, const std::vector<Item>& expected, int* Item::*first,
                       int* Item::*last, const std::vector<int>& seen_list,
                       const std::vector<int>& expected_list) {
  ASSERT_TRUE(seen_list == expected_list);
  for (std::size_t k = 1; k < seen.size(); ++k)
    ASSERT_EQ(seen[k].*first - seen_list.data(), expected[k].*first - expected_list.data()) << "item " << k;
  for (std::size_t k = 1; k + 1 < seen.size(); ++k)
    ASSERT_EQ(seen[k].*last - seen_list.data(), expected[k].*last - expected_list.data()) << "item " << k;
}

class ScatteredCells : public testing::TestWithParam<Dimensions> {};

TEST_P(ScatteredCells, GetTheListsThatTheTwinGives) {
  Scattered r(GetParam());
  Scattered expected(GetParam());
  std::vector<int> work(3 * r.cells.size(), -7);  // those beyond its cells must stay
  std::vector<int> expected_work = work;
  construct_net_list(&r.h, work.data());
  oracle::construct_net_list(&expected.h, expected_work.data());

  expect_same_lists(r.cells, expected.cells, &Cell::nets, &Cell::netsend, r.net_list, expected.net_list);
  for (std::size_t i = 1; i + 1 < r.cells.size(); ++i)
    ASSERT_EQ(r.cells[i].wdeg, expected.cells[i].wdeg) << "cell " << i;
  EXPECT_TRUE(work == expected_work);
  EXPECT_EQ(r.h._mincd, expected.h._mincd);
  EXPECT_EQ(r.h._maxcd, expected.h._maxcd);
  EXPECT_EQ(r.h._maxwcd, expected.h._maxwcd);
}

TEST_P(ScatteredCells, GiveTheNetsTheirPinsBackAsTheTwinDoes) {
  Scattered r(GetParam());
  Scattered expected(GetParam());
  std::vector<int> work(std::max(r.cells.size(), r.nets.size()), -7);
  for (Scattered* const side : {&r, &expected}) {
    oracle::construct_net_list(&side->h, work.data());
    std::fill(side->cell_list.begin(), side->cell_list.end(), -7);
  }
  std::vector<int> expected_work = work;
  construct_cell_list(&r.h, work.data());
  oracle::construct_cell_list(&expected.h, expected_work.data());

  expect_same_lists(r.nets, expected.nets, &Net::pins, &Net::pinsend, r.cell_list, expected.cell_list);
  EXPECT_TRUE(work == expected_work);
}

// Entries in buckets hold the difference of their net to that of the previous entry. Here one difference is a
// million, which does not fit in the bits that this number of cells leaves.
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

INSTANTIATE_TEST_SUITE_P(
    Shapes, ScatteredCells,
    testing::Values(Dimensions{200000, 30000, 9, false, 1}, Dimensions{200000, 30000, 9, true, 2},
                    Dimensions{131072, 140000, 3, true, 3}, Dimensions{300001, 200, 700, false, 4},
                    Dimensions{140000, 1, 5, true, 5}, Dimensions{1000, 3000, 6, true, 6},
                    Dimensions{20000, 600000, 2, true, 7},
                    // The bucket of the hub does not fit in the work array.
                    Dimensions{200000, 260000, 9, false, 8, true},
                    // It does, without the counters beside it.
                    Dimensions{200000, 217400, 9, false, 9, true}));

}  // namespace
}  // namespace quillon
