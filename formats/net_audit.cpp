#include "formats/net_audit.h"

#include <algorithm>
#include <bit>
#include <random>
#include <span>
#include <utility>

#include "formats/on_threads.h"
#include "formats/pin_set.h"
#include "formats/short_nets.h"
#include "formats/threads.h"
#include "util/mix.h"

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;

int count_nets(const NetLists& lists) { return std::max<int>(static_cast<int>(lists.xnadj.size()) - 2, 0); }

// Parts with about as many nets and pins each.
std::vector<NetsOfPart> parts_of(const NetLists& lists, int count) {
  const int nnets = count_nets(lists);
  const std::int64_t total = std::ssize(lists.nadj) + nnets;
  std::vector<NetsOfPart> parts;
  int first = 1;
  for (int k = 1; k <= count; ++k) {
    int end = nnets + 1;
    for (int begin = first; k < count && begin < end;) {
      const int middle = begin + (end - begin) / 2;
      const std::int64_t before = std::int64_t{lists.xnadj[static_cast<std::size_t>(middle)]} + middle;
      if (before < total * k / count)
        begin = middle + 1;
      else
        end = middle;
    }
    parts.push_back({first, end - 1});
    first = end;
  }
  return parts;
}

CellHash random_hash() {
  std::random_device random;
  return {static_cast<std::uint32_t>(random()) | 0x80000001U, static_cast<std::uint32_t>(random())};
}

// Fingerprint of a net, not 0. The upper bits of a product depend on all of the hash.
std::uint32_t print_of(std::uint64_t hash) {
  const auto print = static_cast<std::uint32_t>(hash * kMixStep >> 32U);
  return print + (print == 0 ? 1 : 0);
}

// Cells that are on a net, a bit for each.
class UsedCells {
 public:
  explicit UsedCells(int ncells) : ncells_(ncells), words_(static_cast<std::size_t>(ncells) / 64 + 1) {}

  void add(Cells cells) {
    std::uint64_t* const words = words_.data();  // stores might alias the members
    for (const int i : cells) words[static_cast<unsigned>(i) / 64] |= std::uint64_t{1} << (i % 64U);
  }

  void add(const UsedCells& others) {
    for (std::size_t k = 0; k < words_.size(); ++k) words_[k] |= others.words_[k];
  }

  [[nodiscard]] IsolatedCells isolated() const {
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

// Looks at the nets of a part one after the other.
class PartAudit {
 public:
  // prints  By net. Gets those of the part.
  PartAudit(const NetLists& lists, const std::vector<int>& damaged, const CellHash& hash, int* prints,
            std::size_t most_kept)
      : used(lists.ncells),
        lists_(lists),
        damaged_(damaged),
        hash_(hash),
        prints_(prints),
        most_kept_(most_kept),
        end_(lists.nadj.data() + lists.nadj.size()) {}

  void run(const NetsOfPart& nets) {
    if (nets.first > nets.last) return;
    const auto pin_at = [this](int j) { return lists_.xnadj[static_cast<std::size_t>(j)]; };
    has_many_cells_ = lists_.ncells > pin_at(nets.last + 1) - pin_at(nets.first);
    next_damaged_ = std::lower_bound(damaged_.begin(), damaged_.end(), nets.first);
    for (int j = nets.first; j <= nets.last; j += kNetsAtOnce)
      look_at(j, std::min(kNetsAtOnce, nets.last + 1 - j));
  }

  UsedCells used;
  NetFindings found;  // parallel nets and isolated cells left out

 private:
  void look_at(int first, int count) {
    const NetRange nets{lists_.nadj.data(), lists_.xnadj.data() + first, count, end_};
    used.add({nets.pins + nets.starts[0], nets.pins + nets.starts[count]});  // in order: into the cache
    look_at_nets(nets, hash_, looks_);
    unsigned char compared[kNetsAtOnce];
    for (int k = 0; k < count; ++k) compared[k] = 1;
    for (; next_damaged_ != damaged_.end() && *next_damaged_ < first + count; ++next_damaged_)
      compared[*next_damaged_ - first] = 0;
    for (int k = 0; k < count; ++k)
      if (looks_.need_look[k] != 0 && compared[k] != 0) [[unlikely]] {
        looks_.hashes[k] = look_closely(first + k, nets.cells(k));
        compared[k] = nets.size(k) >= 2 ? 1 : 0;
      }
    int* const prints = prints_ + first;
    for (int k = 0; k < count; ++k)
      prints[k] = compared[k] == 0 ? 0 : static_cast<int>(print_of(looks_.hashes[k]));
  }

  // The sum of the hashes of the cells of a net, each counted once.
  std::uint64_t look_closely(int j, Cells cells) {
    if (cells.empty()) found.empty_nets.add(j, most_kept_);
    if (cells.size() == 1) found.one_pin_nets.add(j, most_kept_);
    if (cells.size() <= kShortNet) {
      const ShortNet net = look_at_short_net(cells, end_, hash_);
      return net.hash - add_repeated(j, cells, net.repeated);
    }
    std::uint64_t hash = 0;
    for (const int i : cells) hash += hash_.of(i);
    return hash - add_repeated_of_long(j, cells);
  }

  // The sum of the hashes of repetitions.
  std::uint64_t add_repeated(int j, Cells cells, unsigned repeated) {
    std::uint64_t hash = 0;
    for (; repeated != 0; repeated &= repeated - 1) {
      const int k = std::countr_zero(repeated);
      const int cell = cells[static_cast<std::size_t>(k)];
      hash += hash_.of(cell);
      const auto first = std::find(cells.begin(), cells.end(), cell);
      found.repeated_pins.add({j, static_cast<int>(first - cells.begin()), k}, most_kept_);
    }
    return hash;
  }

  std::uint64_t add_repeated_of_long(int j, Cells cells) {
    if (has_many_cells_) set_.begin(static_cast<int>(cells.size()));
    std::uint64_t hash = 0;
    bool has_repeated = false;
    for (const int i : cells) {
      if (is_first(j, i)) continue;
      hash += hash_.of(i);
      has_repeated = true;
    }
    if (has_repeated) list_repeated(j, cells);
    return hash;
  }

  // Whether no earlier pin of net j has this cell.
  bool is_first(int j, int cell) {
    if (has_many_cells_) return set_.add(cell);
    if (last_net_.empty()) last_net_.resize(static_cast<std::size_t>(lists_.ncells) + 1);
    return std::exchange(last_net_[static_cast<std::size_t>(cell)], j) != j;
  }

  void list_repeated(int j, Cells cells) {
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
    for (const RepeatedPin& pin : repeated) found.repeated_pins.add(pin, most_kept_);
  }

  const NetLists& lists_;
  const std::vector<int>& damaged_;
  std::vector<int>::const_iterator next_damaged_ = damaged_.begin();
  const CellHash hash_;
  int* const prints_;
  const std::size_t most_kept_;
  const int* const end_;  // of all pins
  NetLooks looks_{};
  bool has_many_cells_ = false;  // more than pins: a header may announce any number
  PinSet set_;                   // of a long net, if there are many cells
  std::vector<int> last_net_;    // else by cell: the last long net with it; empty until there is one
};

}  // namespace

int audit_threads(const NetLists& lists) {
  constexpr std::size_t kFewPins = std::size_t{1} << 18;  // of which a thread costs a tenth
  constexpr std::size_t kCellsPerPin = 32;                // a bit for each is the memory of the pins
  const std::size_t npins = lists.nadj.size();
  const std::size_t most = kCellsPerPin * npins / (static_cast<std::size_t>(lists.ncells) + 1);
  return static_cast<int>(
      std::clamp<std::size_t>(std::min(most, npins / kFewPins), 1, static_cast<std::size_t>(threads())));
}

NetFindings audit_nets(const NetLists& lists, const std::vector<int>& damaged, std::size_t most_kept,
                       int nthreads) {
  const std::vector<NetsOfPart> parts = parts_of(lists, nthreads);
  Ints prints("audit_nets: fingerprints");
  prints.extend(static_cast<std::size_t>(count_nets(lists)) + 1);
  const CellHash hash = random_hash();
  std::vector<PartAudit> audits;
  audits.reserve(parts.size());
  for (std::size_t k = 0; k < parts.size(); ++k)
    audits.emplace_back(lists, damaged, hash, prints.data(), most_kept);
  on_threads(nthreads, [&](int part) {
    const auto k = static_cast<std::size_t>(part);
    audits[k].run(parts[k]);
  });
  NetFindings all;
  UsedCells used(lists.ncells);
  for (const PartAudit& audit : audits) {
    used.add(audit.used);
    all.empty_nets.append(audit.found.empty_nets, most_kept);
    all.one_pin_nets.append(audit.found.one_pin_nets, most_kept);
    all.repeated_pins.append(audit.found.repeated_pins, most_kept);
  }
  all.parallel_nets = find_parallel_nets(lists, prints, parts);
  all.isolated_cells = used.isolated();
  return all;
}

}  // namespace quillon::formats
