#include "formats/net_audit.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <span>
#include <utility>

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;

Cells cells_of(const NetLists& lists, int j) {
  const auto at = static_cast<std::size_t>(j);
  return {lists.nadj.data() + lists.xnadj[at], lists.nadj.data() + lists.xnadj[at + 1]};
}

std::uint64_t hash_of(int cell) {
  std::uint64_t bits = static_cast<std::uint64_t>(cell) * 0x9E3779B97F4A7C15U;
  bits ^= bits >> 32U;
  return bits * 0xD6E8FEB86659FD93U;
}

std::vector<int> sorted_set(Cells cells) {
  std::vector<int> set(cells.begin(), cells.end());
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  return set;
}

// Sets of cells by the sum of the hashes of their members.
class NetTable {
 public:
  explicit NetTable(const NetLists& lists, std::size_t nnets)
      : lists_(lists), mask_(std::bit_ceil(2 * nnets + 1) - 1), slots_(mask_ + 1) {}

  // The first net with these cells, or 0 if this one is the first.
  int find_or_add(int j, std::uint64_t hash) {
    std::size_t at = (hash ^ hash >> 29U) & mask_;
    for (; slots_[at].net != 0; at = (at + 1) & mask_)
      if (slots_[at].hash == static_cast<std::uint32_t>(hash >> 32U) && are_same(slots_[at].net, j))
        return slots_[at].net;
    slots_[at] = {j, static_cast<std::uint32_t>(hash >> 32U)};
    return 0;
  }

 private:
  struct Slot {
    int net = 0;
    std::uint32_t hash = 0;
  };

  [[nodiscard]] bool are_same(int a, int b) const {
    const Cells first = cells_of(lists_, a);
    const Cells second = cells_of(lists_, b);
    if (std::equal(first.begin(), first.end(), second.begin(), second.end())) return true;
    return sorted_set(first) == sorted_set(second);
  }

  const NetLists& lists_;
  std::size_t mask_;
  std::vector<Slot> slots_;
};

// Visits nets one after the other.
class Walk {
 public:
  Walk(const NetLists& lists, NetVisitor& visitor)
      : lists_(lists), visitor_(visitor), last_net_(static_cast<std::size_t>(lists.ncells) + 1) {}

  // The sum of the hashes of the cells of a net, each counted once.
  std::uint64_t visit(int j, bool is_damaged) {
    const Cells cells = cells_of(lists_, j);
    std::uint64_t hash = 0;
    int nrepeated = 0;
    for (const int i : cells) {
      int& last = last_net_[static_cast<std::size_t>(i)];
      nrepeated += last == j ? 1 : 0;
      hash += last == j ? 0 : hash_of(i);
      last = j;
    }
    if (nrepeated > 0 && !is_damaged) report_repeated(j, cells);
    return hash;
  }

  [[nodiscard]] std::vector<char> used() const {
    std::vector<char> used(last_net_.size());
    std::transform(last_net_.begin(), last_net_.end(), used.begin(),
                   [](int net) { return static_cast<char>(net != 0 ? 1 : 0); });
    return used;
  }

 private:
  void report_repeated(int j, Cells cells) {
    std::vector<std::pair<int, int>> by_cell;
    for (std::size_t k = 0; k < cells.size(); ++k) by_cell.emplace_back(cells[k], static_cast<int>(k));
    std::sort(by_cell.begin(), by_cell.end());
    std::vector<RepeatedPin> repeated;
    std::size_t first = 0;
    for (std::size_t k = 1; k < by_cell.size(); ++k) {
      if (by_cell[k].first == by_cell[first].first)
        repeated.push_back({j, by_cell[first].second, by_cell[k].second});
      else
        first = k;
    }
    std::sort(repeated.begin(), repeated.end(),
              [](const RepeatedPin& a, const RepeatedPin& b) { return a.second < b.second; });
    for (const RepeatedPin& pin : repeated) visitor_.repeated_pin(pin);
  }

  const NetLists& lists_;
  NetVisitor& visitor_;
  std::vector<int> last_net_;  // by cell: the last net with it
};

}  // namespace

std::vector<char> visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor) {
  const int nnets = std::max<int>(static_cast<int>(lists.xnadj.size()) - 2, 0);
  Walk walk(lists, visitor);
  NetTable table(lists, static_cast<std::size_t>(nnets));
  auto next_damaged = damaged.begin();
  for (int j = 1; j <= nnets; ++j) {
    while (next_damaged != damaged.end() && *next_damaged < j) ++next_damaged;
    const bool is_damaged = next_damaged != damaged.end() && *next_damaged == j;
    const Cells cells = cells_of(lists, j);
    if (cells.empty() && !is_damaged) visitor.empty_net(j);
    if (cells.size() == 1 && !is_damaged) visitor.one_pin_net(j);
    const std::uint64_t hash = walk.visit(j, is_damaged);
    if (cells.size() < 2 || is_damaged) continue;
    if (const int earlier = table.find_or_add(j, hash); earlier != 0) visitor.parallel_net({j, earlier});
  }
  return walk.used();
}

}  // namespace quillon::formats
