#include "formats/net_audit.h"

#include <algorithm>
#include <limits>
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

// Consecutive nets, for one thread.
struct NetsOfPart {
  int first;
  int last;  // less than `first` if there are none
};

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

IsolatedCells isolated_by_sorting(const NetLists& lists) {
  const std::vector<int> used = sorted_set(lists.nadj);
  IsolatedCells isolated{lists.ncells - std::ssize(used), 1};
  for (const int i : used) isolated.first += i == isolated.first ? 1 : 0;
  if (isolated.count == 0) isolated.first = 0;
  return isolated;
}

// Cells that are on a net, a bit for each.
class UsedCells {
 public:
  // Whether bits for all cells are few beside the pins. A header can announce any number of cells.
  static bool suit(const NetLists& lists) {
    return !lists.avoids(lists.ncells / std::numeric_limits<unsigned>::digits, lists.nadj.size());
  }

  // Holds no cells unless bits for them suit.
  explicit UsedCells(const NetLists& lists)
      : ncells_(suit(lists) ? lists.ncells : 0), words_(static_cast<std::size_t>(ncells_) / 64 + 1) {}

  void add(Cells cells) {
    if (ncells_ == 0) return;
    if (nstores_-- > 0) return store(cells);
    std::size_t nnew = 0;
    const std::uint64_t* const words = words_.data();
#pragma GCC unroll 4
    for (const int i : cells)
      if ((words[static_cast<unsigned>(i) / 64] >> (i % 64U) & 1U) == 0) [[unlikely]]
        nnew += add_new(i);
    nstores_ = nnew * kRare > cells.size() ? kStores : 0;
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
  // A branch for each cell is faster than a store if fewer than one in kRare are new. If they are not, some
  // calls store before the next attempt.
  static constexpr std::size_t kRare = 10;
  static constexpr int kStores = 15;

  void store(Cells cells) {
    std::uint64_t* const words = words_.data();  // stores might alias the members
#pragma GCC unroll 4
    for (const int i : cells) {
      std::uint64_t word = words[static_cast<unsigned>(i) / 64];
      word |= std::uint64_t{1} << (i % 64U);
      words[static_cast<unsigned>(i) / 64] = word;
    }
  }

  // Not inline: the loop that rarely calls it needs the registers.
  [[gnu::noinline]] std::size_t add_new(int cell) {
    words_[static_cast<unsigned>(cell) / 64] |= std::uint64_t{1} << (cell % 64U);
    return 1;
  }

  int ncells_;
  int nstores_ = 0;  // next calls that store
  std::vector<std::uint64_t> words_;
};

// Looks at the nets of a part one after the other.
class PartAudit {
 public:
  // prints  Gets the nets of the part that are compared.
  PartAudit(const NetLists& lists, const std::vector<int>& damaged, NetPrints& prints, std::size_t most_kept)
      : used(lists),
        lists_(lists),
        damaged_(damaged),
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
    look_at_nets(nets, looks_);
    for (; next_damaged_ != damaged_.end() && *next_damaged_ < first + count; ++next_damaged_)
      looks_.need_look[*next_damaged_ - first] = kOmit;
    for (int k = 0; k < count; ++k) {
      if (looks_.need_look[k] == 0) [[likely]]
        prints_.add(looks_.keys[k], first + k);
      else if (looks_.need_look[k] != kOmit)
        look_closely(first + k, nets.cells(k));
    }
  }

  void look_closely(int j, Cells cells) {
    if (cells.empty()) found.empty_nets.add(j, most_kept_);
    if (cells.size() == 1) found.one_pin_nets.add(j, most_kept_);
    if (cells.size() < 2) return;
    prints_.add((cells.size() <= kShortNet ? key_of_short(j, cells) : key_of_long(j, cells)).value(), j);
  }

  // Keys count each cell once.
  NetKey key_of_short(int j, Cells cells) {
    const unsigned repeated = repeated_pins(cells, end_);
    NetKey key;
    for (std::size_t k = 0; k < cells.size(); ++k) {
      if ((repeated >> k & 1U) == 0)
        key.add(cells[k]);
      else
        add_repeated(j, cells, k);
    }
    return key;
  }

  void add_repeated(int j, Cells cells, std::size_t k) {
    const auto first = std::find(cells.begin(), cells.end(), cells[k]);
    found.repeated_pins.add({j, static_cast<int>(first - cells.begin()), static_cast<int>(k)}, most_kept_);
  }

  NetKey key_of_long(int j, Cells cells) {
    if (has_many_cells_) set_.begin(static_cast<int>(cells.size()));
    NetKey key;
    bool has_repeated = false;
    for (const int i : cells) {
      if (is_first(j, i))
        key.add(i);
      else
        has_repeated = true;
    }
    if (has_repeated) list_repeated(j, cells);
    return key;
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

  static constexpr unsigned char kOmit = 2;  // beside 0 and 1 of NetLooks::need_look

  const NetLists& lists_;
  const std::vector<int>& damaged_;
  std::vector<int>::const_iterator next_damaged_ = damaged_.begin();
  NetPrints& prints_;
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
  std::vector<NetPrints> prints;
  prints.reserve(parts.size());
  for (const NetsOfPart& nets : parts)
    prints.emplace_back(static_cast<std::size_t>(nets.last + 1 - nets.first), bucket_bits(count_nets(lists)));
  std::vector<PartAudit> audits;
  audits.reserve(parts.size());
  for (std::size_t k = 0; k < parts.size(); ++k) audits.emplace_back(lists, damaged, prints[k], most_kept);
  on_threads(nthreads, [&](int part) {
    const auto k = static_cast<std::size_t>(part);
    audits[k].run(parts[k]);
  });
  NetFindings all;
  UsedCells used(lists);
  for (const PartAudit& audit : audits) {
    used.add(audit.used);
    all.empty_nets.append(audit.found.empty_nets, most_kept);
    all.one_pin_nets.append(audit.found.one_pin_nets, most_kept);
    all.repeated_pins.append(audit.found.repeated_pins, most_kept);
  }
  all.parallel_nets = find_parallel_nets(lists, prints);
  all.isolated_cells = UsedCells::suit(lists) ? used.isolated() : isolated_by_sorting(lists);
  return all;
}

}  // namespace quillon::formats
