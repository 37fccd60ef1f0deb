#include "formats/net_audit.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <random>
#include <span>
#include <utility>

#include "formats/short_nets.h"
#include "util/mix.h"

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;

Cells cells_of(const NetLists& lists, int j) {
  const auto at = static_cast<std::size_t>(j);
  return {lists.nadj.data() + lists.xnadj[at], lists.nadj.data() + lists.xnadj[at + 1]};
}

CellHash random_hash() {
  std::random_device random;
  return {static_cast<std::uint32_t>(random()) | 0x80000001U, static_cast<std::uint32_t>(random())};
}

std::vector<int> sorted_set(Cells cells) {
  std::vector<int> set(cells.begin(), cells.end());
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  return set;
}

// Finds nets with the same cells by fingerprints. Those of nearly all nets are different, which a table of
// bits tells; it is a small part of what a table of nets would be.
class ParallelNets {
 public:
  ParallelNets(const NetLists& lists, std::size_t nnets)
      : lists_(lists), shift_(32 - std::min(kLargest, static_cast<int>(std::bit_width(16 * nnets)))) {
    prints_.assign(nnets + 1, 0);
  }

  // Adds net j, with a number that depends on the set of its cells.
  void add(int j, std::uint64_t hash) {
    prints_[static_cast<std::size_t>(j)] = static_cast<int>(mixed(hash) >> 32U | 1U);
  }

  void visit(NetVisitor& visitor) const {
    std::vector<ParallelNet> found;
    const std::vector<std::uint64_t> nets = nets_with_repeated_prints();
    const auto print_of = [&nets](std::size_t k) { return nets[k] >> 32U; };
    for (std::size_t begin = 0, end = 0; begin < nets.size(); begin = end) {
      while (end < nets.size() && print_of(end) == print_of(begin)) ++end;
      find_in(std::span(nets).subspan(begin, end - begin), found);
    }
    std::sort(found.begin(), found.end(),
              [](const ParallelNet& a, const ParallelNet& b) { return a.net < b.net; });
    for (const ParallelNet& net : found) visitor.parallel_net(net);
  }

 private:
  static constexpr int kLargest = 32;  // bits of an index
  static constexpr std::size_t kAhead = 32;

  // Calls visit(k, word, bit) for the bit of each fingerprint k.
  template <typename Visit>
  void for_each_bit(Ints& bits, Visit visit) const {
    const auto index = [this](std::size_t k) {
      return std::uint64_t{static_cast<std::uint32_t>(prints_[k])} >> shift_;
    };
    for (std::size_t k = 1; k < prints_.size(); ++k) {
      if (k + kAhead < prints_.size()) __builtin_prefetch(&bits[index(k + kAhead) / 32]);
      if (prints_[k] != 0) visit(k, bits[index(k) / 32], static_cast<int>(1U << (index(k) % 32)));
    }
  }

  // Fingerprint and net, sorted, of the nets that may be parallel to another one.
  [[nodiscard]] std::vector<std::uint64_t> nets_with_repeated_prints() const {
    Ints bits("ParallelNets: bits");
    const std::size_t nwords = std::max<std::size_t>((std::uint64_t{1} << (32 - shift_)) / 32, 1);
    bits.assign(nwords, 0);
    std::vector<std::size_t> repeated;
    for_each_bit(bits, [&repeated](std::size_t k, int& word, int bit) {
      if ((word & bit) != 0) repeated.push_back(k);
      word |= bit;
    });
    std::vector<std::uint64_t> nets;
    if (repeated.empty()) return nets;
    bits.assign(nwords, 0);
    for (const std::size_t k : repeated) {
      const std::uint64_t index = std::uint64_t{static_cast<std::uint32_t>(prints_[k])} >> shift_;
      bits[index / 32] |= static_cast<int>(1U << (index % 32));
    }
    for_each_bit(bits, [&](std::size_t k, const int& word, int bit) {
      if ((word & bit) != 0) nets.push_back(std::uint64_t{static_cast<std::uint32_t>(prints_[k])} << 32U | k);
    });
    std::sort(nets.begin(), nets.end());
    return nets;
  }

  // Of nets with the same fingerprint, in ascending order.
  void find_in(std::span<const std::uint64_t> nets, std::vector<ParallelNet>& found) const {
    std::vector<int> firsts;
    for (const std::uint64_t print_and_net : nets) {
      const auto j = static_cast<int>(print_and_net);
      const auto same =
          std::find_if(firsts.begin(), firsts.end(), [&](int first) { return are_same(first, j); });
      if (same == firsts.end())
        firsts.push_back(j);
      else
        found.push_back({j, *same});
    }
  }

  [[nodiscard]] bool are_same(int a, int b) const {
    const Cells first = cells_of(lists_, a);
    const Cells second = cells_of(lists_, b);
    if (std::equal(first.begin(), first.end(), second.begin(), second.end())) return true;
    return sorted_set(first) == sorted_set(second);
  }

  const NetLists& lists_;
  int shift_;    // what is left of a fingerprint is the index of its bit
  Ints prints_;  // by net; 0: not compared
};

// Visits nets one after the other.
class Walk {
 public:
  Walk(const NetLists& lists, NetVisitor& visitor)
      : visitor_(visitor), ncells_(static_cast<std::size_t>(lists.ncells)), end_(lists.nadj.end()) {}

  // The sum of the hashes of the cells of a net, each counted once.
  std::uint64_t visit(int j, Cells cells, bool is_damaged) {
    if (cells.size() <= kShortNet) [[likely]] {
      const ShortNet net = look_at_short_net(cells, end_, hash_);
      return net.repeated == 0 ? net.hash : net.hash - visit_short(j, cells, net.repeated, is_damaged);
    }
    std::uint64_t hash = 0;
    for (const int i : cells) hash += hash_.of(i);
    return hash - visit_long(j, cells, is_damaged);
  }

 private:
  // The sum of the hashes of repetitions.
  std::uint64_t visit_short(int j, Cells cells, unsigned repeated, bool is_damaged) {
    std::uint64_t hash = 0;
    for (; repeated != 0; repeated &= repeated - 1) {
      const int k = std::countr_zero(repeated);
      const int cell = cells[static_cast<std::size_t>(k)];
      hash += hash_.of(cell);
      if (is_damaged) continue;
      const auto first = std::find(cells.begin(), cells.end(), cell);
      visitor_.repeated_pin({j, static_cast<int>(first - cells.begin()), k});
    }
    return hash;
  }

  std::uint64_t visit_long(int j, Cells cells, bool is_damaged) {
    if (last_net_.empty()) last_net_.resize(ncells_ + 1);
    std::uint64_t hash = 0;
    bool has_repeated = false;
    for (const int i : cells) {
      if (std::exchange(last_net_[static_cast<std::size_t>(i)], j) != j) continue;
      hash += hash_.of(i);
      has_repeated = true;
    }
    if (has_repeated && !is_damaged) report_repeated(j, cells);
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
  std::size_t ncells_;
  const int* end_;  // of all pins
  const CellHash hash_ = random_hash();
  std::vector<int> last_net_;  // by cell: the last long net with it; empty until there is one
};

}  // namespace

std::vector<char> visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor) {
  const int nnets = std::max<int>(static_cast<int>(lists.xnadj.size()) - 2, 0);
  Walk walk(lists, visitor);
  ParallelNets parallel_nets(lists, static_cast<std::size_t>(nnets));
  auto next_damaged = damaged.begin();
  for (int j = 1; j <= nnets; ++j) {
    while (next_damaged != damaged.end() && *next_damaged < j) ++next_damaged;
    const bool is_damaged = next_damaged != damaged.end() && *next_damaged == j;
    const Cells cells = cells_of(lists, j);
    if (cells.empty() && !is_damaged) visitor.empty_net(j);
    if (cells.size() == 1 && !is_damaged) visitor.one_pin_net(j);
    const std::uint64_t hash = walk.visit(j, cells, is_damaged);
    if (cells.size() >= 2 && !is_damaged) parallel_nets.add(j, hash);
  }
  parallel_nets.visit(visitor);

  std::vector<char> used(static_cast<std::size_t>(lists.ncells) + 1);
  const int npins = nnets > 0 ? lists.xnadj.back() : 0;
  char* const marks = used.data();  // they might alias the members of `lists`
  for (const int i : Cells(lists.nadj.data(), static_cast<std::size_t>(npins))) marks[i] = 1;
  return used;
}

}  // namespace quillon::formats
