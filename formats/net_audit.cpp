#include "formats/net_audit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <random>
#include <span>
#include <utility>

#include "formats/pin_set.h"
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

// Two bits for each byte. Two of them are the pattern that a net leaves in a filter.
constexpr std::array<std::uint32_t, 256> make_bit_pairs() {
  std::array<std::uint32_t, 256> pairs{};
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const std::uint64_t mix = mixed(k + 1);
    pairs[k] = 1U << (mix & 31U) | 1U << (mix >> 5U & 31U);
  }
  return pairs;
}

constexpr std::array<std::uint32_t, 256> kBitPairs = make_bit_pairs();

std::uint32_t pattern_of(std::uint64_t number) {
  return kBitPairs[number & 0xFFU] | kBitPairs[number >> 8U & 0xFFU];
}

// Finds nets with the same cells by fingerprints. Those of nearly all nets differ, which a filter tells while
// nets are added: each sets four bits of a word, and only one that finds them set may repeat another. The
// filter is a small part of what a table of nets would be.
class ParallelNets {
 public:
  ParallelNets(const NetLists& lists, std::size_t nnets)
      : lists_(lists), shift_(64 - std::max(static_cast<int>(std::bit_width(nnets / kNetsPerWord)), 1)) {
    prints_.reserve(nnets + 1);
    prints_.push_back(kNotCompared);
    words_.assign(std::size_t{1} << (64 - shift_), 0);
  }

  // Adds consecutive nets.
  //
  // hashes    Numbers that depend on the sets of their cells.
  // compared  1 for nets to compare, 0 for others.
  void add(std::span<const std::uint64_t> hashes, const unsigned char* compared) {
    const std::size_t first = prints_.size();
    prints_.extend(hashes.size());
    for (std::size_t k = 0; k < hashes.size(); k += kAhead)
      add_some(first + k, hashes.subspan(k, std::min(kAhead, hashes.size() - k)), compared + k);
  }

  void visit(NetVisitor& visitor) const {
    std::vector<ParallelNet> found;
    const std::vector<std::uint64_t> nets = nets_like_suspects();
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
  static constexpr std::size_t kNetsPerWord = 2;
  static constexpr std::size_t kAhead = 64;  // nets whose words are fetched together
  static constexpr int kNotCompared = 0;

  // The upper bits of a product depend on all of a hash: the highest choose a word.
  static std::uint64_t mix_of(std::uint64_t hash) { return hash * kMixStep; }
  static int print_of(std::uint64_t mix) { return static_cast<int>(mix >> 20U | 1U); }

  void add_some(std::size_t first, std::span<const std::uint64_t> hashes, const unsigned char* compared) {
    int* const words = words_.data();  // stores might alias the members
    int* const prints = prints_.data() + first;
    const int shift = shift_;
    for (const std::uint64_t hash : hashes) __builtin_prefetch(words + (mix_of(hash) >> shift), 1);
    for (std::size_t k = 0; k < hashes.size(); ++k) {
      prints[k] = kNotCompared;
      if (compared[k] == 0) [[unlikely]]
        continue;
      const std::uint64_t mix = mix_of(hashes[k]);
      prints[k] = print_of(mix);
      const std::uint32_t pattern = pattern_of(mix >> 24U);
      const auto word = static_cast<std::uint32_t>(words[mix >> shift]);
      if ((word & pattern) == pattern) [[unlikely]]
        suspects_.push_back(first + k);
      words[mix >> shift] = static_cast<int>(word | pattern);
    }
  }

  [[nodiscard]] std::uint32_t print(std::size_t j) const { return static_cast<std::uint32_t>(prints_[j]); }

  // Fingerprint and net, sorted, of the nets that may be parallel to another one.
  [[nodiscard]] std::vector<std::uint64_t> nets_like_suspects() const {
    std::vector<std::uint64_t> nets;
    if (suspects_.empty()) return nets;
    std::vector<std::uint32_t> suspected;
    for (const std::size_t j : suspects_) suspected.push_back(print(j));
    std::sort(suspected.begin(), suspected.end());
    // Most nets are not like any, which another filter tells.
    const int shift = 32 - std::clamp(static_cast<int>(std::bit_width(suspected.size())), 1, 20);
    std::vector<std::uint32_t> words(std::size_t{1} << (32 - shift));
    for (const std::uint32_t its : suspected) words[its >> shift] |= pattern_of(its);
    for (std::size_t j = 1; j < prints_.size(); ++j) {
      const std::uint32_t its = print(j);
      if ((words[its >> shift] & pattern_of(its)) == pattern_of(its) && its != kNotCompared &&
          std::binary_search(suspected.begin(), suspected.end(), its))
        nets.push_back(std::uint64_t{its} << 32U | j);
    }
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
  int shift_;  // leaves the index of a word
  Ints words_{"ParallelNets: words"};
  Ints prints_{"ParallelNets: prints"};  // by net
  std::vector<std::size_t> suspects_;    // nets that may be parallel to an earlier one
};

// Cells that are on a net, a bit for each.
class UsedCells {
 public:
  explicit UsedCells(int ncells) : ncells_(ncells), words_(static_cast<std::size_t>(ncells) / 64 + 1) {}

  void add(Cells cells) {
    std::uint64_t* const words = words_.data();  // stores might alias the members
    for (const int i : cells) words[static_cast<unsigned>(i) / 64] |= std::uint64_t{1} << (i % 64U);
  }

  [[nodiscard]] IsolatedCells others() const {
    IsolatedCells isolated{ncells_, 0};
    for (const std::uint64_t word : words_) isolated.count -= count_bits(word);
    for (int i = 1; isolated.count > 0 && isolated.first == 0; ++i)
      if ((words_[static_cast<unsigned>(i) / 64] >> (i % 64U) & 1U) == 0) isolated.first = i;
    return isolated;
  }

 private:
  int ncells_;
  std::vector<std::uint64_t> words_;
};

// Visits nets one after the other.
class Walk {
 public:
  Walk(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor)
      : lists_(lists), visitor_(visitor), damaged_(damaged), end_(lists.nadj.data() + lists.nadj.size()) {}

  void visit(int first, int count, ParallelNets& parallel_nets) {
    const NetRange nets{lists_.nadj.data(), lists_.xnadj.data() + first, count, end_};
    look_at_nets(nets, hash_, looks_);
    unsigned char compared[kNetsAtOnce];
    for (int k = 0; k < count; ++k) compared[k] = 1;
    for (; next_damaged_ < damaged_.size() && damaged_[next_damaged_] < first + count; ++next_damaged_)
      compared[damaged_[next_damaged_] - first] = 0;
    for (int k = 0; k < count; ++k)
      if (looks_.need_look[k] != 0 && compared[k] != 0) [[unlikely]] {
        looks_.hashes[k] = visit_closely(first + k, nets.cells(k));
        compared[k] = nets.size(k) >= 2 ? 1 : 0;
      }
    parallel_nets.add({looks_.hashes, static_cast<std::size_t>(count)}, compared);
  }

 private:
  // The sum of the hashes of the cells of a net, each counted once.
  std::uint64_t visit_closely(int j, Cells cells) {
    if (cells.empty()) visitor_.empty_net(j);
    if (cells.size() == 1) visitor_.one_pin_net(j);
    if (cells.size() <= kShortNet) {
      const ShortNet net = look_at_short_net(cells, end_, hash_);
      return net.hash - visit_repeated(j, cells, net.repeated);
    }
    std::uint64_t hash = 0;
    for (const int i : cells) hash += hash_.of(i);
    return hash - visit_long(j, cells);
  }

  // The sum of the hashes of repetitions.
  std::uint64_t visit_repeated(int j, Cells cells, unsigned repeated) {
    std::uint64_t hash = 0;
    for (; repeated != 0; repeated &= repeated - 1) {
      const int k = std::countr_zero(repeated);
      const int cell = cells[static_cast<std::size_t>(k)];
      hash += hash_.of(cell);
      const auto first = std::find(cells.begin(), cells.end(), cell);
      visitor_.repeated_pin({j, static_cast<int>(first - cells.begin()), k});
    }
    return hash;
  }

  std::uint64_t visit_long(int j, Cells cells) {
    if (has_many_cells_) set_.begin(static_cast<int>(cells.size()));
    std::uint64_t hash = 0;
    bool has_repeated = false;
    for (const int i : cells) {
      if (is_first(j, i)) continue;
      hash += hash_.of(i);
      has_repeated = true;
    }
    if (has_repeated) report_repeated(j, cells);
    return hash;
  }

  // Whether no earlier pin of net j has this cell. A header may announce far more cells than there are pins.
  bool is_first(int j, int cell) {
    if (has_many_cells_) return set_.add(cell);
    if (last_net_.empty()) last_net_.resize(static_cast<std::size_t>(lists_.ncells) + 1);
    return std::exchange(last_net_[static_cast<std::size_t>(cell)], j) != j;
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

  const NetLists& lists_;
  NetVisitor& visitor_;
  const std::vector<int>& damaged_;
  std::size_t next_damaged_ = 0;
  const int* end_;  // of all pins
  const CellHash hash_ = random_hash();
  NetLooks looks_{};
  const bool has_many_cells_ = static_cast<std::size_t>(lists_.ncells) > lists_.nadj.size();
  PinSet set_;                 // of a long net, if there are many cells
  std::vector<int> last_net_;  // else by cell: the last long net with it; empty until there is one
};

}  // namespace

IsolatedCells visit_nets(const NetLists& lists, const std::vector<int>& damaged, NetVisitor& visitor) {
  const int nnets = std::max<int>(static_cast<int>(lists.xnadj.size()) - 2, 0);
  Walk walk(lists, damaged, visitor);
  ParallelNets parallel_nets(lists, static_cast<std::size_t>(nnets));
  UsedCells used(lists.ncells);
  for (int j = 1; j <= nnets; j += kNetsAtOnce) {
    const int count = std::min(kNetsAtOnce, nnets + 1 - j);
    const int* const starts = lists.xnadj.data() + j;
    used.add({lists.nadj.data() + starts[0], lists.nadj.data() + starts[count]});  // in order: into the cache
    walk.visit(j, count, parallel_nets);
  }
  parallel_nets.visit(visitor);
  return used.others();
}

}  // namespace quillon::formats
