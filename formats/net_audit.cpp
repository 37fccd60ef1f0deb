#include "formats/net_audit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <span>
#include <utility>

#include "formats/short_nets.h"

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

// Sets of cells by the sum of the hashes of their members. Nets wait in a queue while their slots are
// fetched.
class NetTable {
 public:
  NetTable(const NetLists& lists, std::size_t nnets, NetVisitor& visitor)
      : lists_(lists), visitor_(visitor), mask_(std::bit_ceil(2 * nnets + 1) - 1), slots_(mask_ + 1) {}

  void add(int j, std::uint64_t hash) {
    __builtin_prefetch(&slots_[place_of(hash)]);
    queue_[nqueued_++] = {j, hash};
    if (nqueued_ == queue_.size()) flush();
  }

  void flush() {
    for (std::size_t k = 0; k < nqueued_; ++k)
      if (const int earlier = find_or_add(queue_[k].net, queue_[k].hash); earlier != 0)
        visitor_.parallel_net({queue_[k].net, earlier});
    nqueued_ = 0;
  }

 private:
  struct Slot {
    int net = 0;
    std::uint32_t hash = 0;
  };

  struct Queued {
    int net;
    std::uint64_t hash;
  };

  [[nodiscard]] std::size_t place_of(std::uint64_t hash) const { return (hash ^ hash >> 29U) & mask_; }

  // The first net with these cells, or 0 if this one is the first.
  int find_or_add(int j, std::uint64_t hash) {
    std::size_t at = place_of(hash);
    for (; slots_[at].net != 0; at = (at + 1) & mask_)
      if (slots_[at].hash == static_cast<std::uint32_t>(hash >> 32U) && are_same(slots_[at].net, j))
        return slots_[at].net;
    slots_[at] = {j, static_cast<std::uint32_t>(hash >> 32U)};
    return 0;
  }

  [[nodiscard]] bool are_same(int a, int b) const {
    const Cells first = cells_of(lists_, a);
    const Cells second = cells_of(lists_, b);
    if (std::equal(first.begin(), first.end(), second.begin(), second.end())) return true;
    return sorted_set(first) == sorted_set(second);
  }

  const NetLists& lists_;
  NetVisitor& visitor_;
  std::size_t mask_;
  std::vector<Slot> slots_;
  std::array<Queued, 64> queue_{};
  std::size_t nqueued_ = 0;
};

// Visits nets one after the other.
class Walk {
 public:
  Walk(const NetLists& lists, NetVisitor& visitor)
      : visitor_(visitor), used_(static_cast<std::size_t>(lists.ncells) + 1) {}

  // The sum of the hashes of the cells of a net, each counted once.
  std::uint64_t visit(int j, Cells cells, bool is_damaged) {
    std::uint64_t hash = 0;
    for (const int i : cells) {
      used_[static_cast<std::size_t>(i)] = true;
      hash += hash_of(i);
    }
    if (is_short_and_distinct(cells)) return hash;
    return hash - (is_short(cells) ? visit_short(j, cells, is_damaged) : visit_long(j, cells, is_damaged));
  }

  [[nodiscard]] std::vector<bool> used() && { return std::move(used_); }

 private:
  static bool is_short(Cells cells) { return cells.size() <= 64; }

  // The sum of the hashes of repetitions.
  std::uint64_t visit_short(int j, Cells cells, bool is_damaged) {
    std::uint64_t hash = 0;
    for (std::size_t k = 1; k < cells.size(); ++k) {
      const auto first = std::find(cells.begin(), cells.begin() + static_cast<std::ptrdiff_t>(k), cells[k]);
      if (first == cells.begin() + static_cast<std::ptrdiff_t>(k)) continue;
      hash += hash_of(cells[k]);
      if (!is_damaged)
        visitor_.repeated_pin({j, static_cast<int>(first - cells.begin()), static_cast<int>(k)});
    }
    return hash;
  }

  std::uint64_t visit_long(int j, Cells cells, bool is_damaged) {
    if (last_net_.empty()) last_net_.resize(used_.size());
    std::uint64_t hash = 0;
    for (const int i : cells)
      if (std::exchange(last_net_[static_cast<std::size_t>(i)], j) == j) hash += hash_of(i);
    if (hash != 0 && !is_damaged) report_repeated(j, cells);
    return hash;
  }

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

  NetVisitor& visitor_;
  std::vector<bool> used_;     // by cell
  std::vector<int> last_net_;  // by cell: the last long net with it; empty until there is one
};

}  // namespace

std::vector<bool> visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor) {
  const int nnets = std::max<int>(static_cast<int>(lists.xnadj.size()) - 2, 0);
  Walk walk(lists, visitor);
  NetTable table(lists, static_cast<std::size_t>(nnets), visitor);
  auto next_damaged = damaged.begin();
  for (int j = 1; j <= nnets; ++j) {
    while (next_damaged != damaged.end() && *next_damaged < j) ++next_damaged;
    const bool is_damaged = next_damaged != damaged.end() && *next_damaged == j;
    const Cells cells = cells_of(lists, j);
    if (cells.empty() && !is_damaged) visitor.empty_net(j);
    if (cells.size() == 1 && !is_damaged) visitor.one_pin_net(j);
    const std::uint64_t hash = walk.visit(j, cells, is_damaged);
    if (cells.size() >= 2 && !is_damaged) table.add(j, hash);
  }
  table.flush();
  return std::move(walk).used();
}

}  // namespace quillon::formats
