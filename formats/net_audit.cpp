#include "formats/net_audit.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

#include "formats/on_threads.h"
#include "formats/pin_set.h"
#include "formats/short_nets.h"
#include "formats/threads.h"

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;

constexpr std::size_t kPinsOfACall = 2048;  // after so many, a look at them may be done in another way

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

}  // namespace

// Looks at consecutive nets.
class NetAudit::Part {
 public:
  // most   Nets that it will look at.
  // nbits  Of buckets of fingerprints.
  Part(const NetAudit& all, int most, int nbits)
      : used(all.lists_),
        prints(static_cast<std::size_t>(most), nbits),
        lists_(all.lists_),
        damaged_(all.damaged_),
        most_kept_(all.most_kept_) {}

  // Goes on with these nets.
  void look_at(const NetsOfPart& nets) {
    if (nets.first > nets.last) return;
    const auto pin_at = [this](int j) { return lists_.xnadj[static_cast<std::size_t>(j)]; };
    npins_ += pin_at(nets.last + 1) - pin_at(nets.first);
    has_many_cells_ = lists_.ncells > npins_;
    next_damaged_ = std::lower_bound(damaged_.begin(), damaged_.end(), nets.first);
    end_ = lists_.nadj.data() + lists_.nadj.size();
    for (int j = nets.first; j <= nets.last; j += kNetsAtOnce)
      look_at(j, std::min(kNetsAtOnce, nets.last + 1 - j));
  }

  UsedCells used;
  NetPrints prints;   // of the nets that are compared
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
        prints.add(looks_.keys[k], first + k);
      else if (looks_.need_look[k] != kOmit)
        look_closely(first + k, nets.cells(k));
    }
  }

  void look_closely(int j, Cells cells) {
    if (cells.empty()) found.empty_nets.add(j, most_kept_);
    if (cells.size() == 1) found.one_pin_nets.add(j, most_kept_);
    if (cells.size() < 2) return;
    prints.add((cells.size() <= kShortNet ? key_of_short(j, cells) : key_of_long(j, cells)).value(), j);
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
  std::vector<int>::const_iterator next_damaged_;
  std::size_t most_kept_;
  const int* end_ = nullptr;  // of all pins so far
  NetLooks looks_{};
  std::int64_t npins_ = 0;       // of the nets so far
  bool has_many_cells_ = false;  // more than pins: a header may announce any number
  PinSet set_;                   // of a long net, if there are many cells
  std::vector<int> last_net_;    // else by cell: the last long net with it; empty until there is one
};

int audit_threads(const NetLists& lists) {
  constexpr std::size_t kFewPins = std::size_t{1} << 18;  // of which a thread costs a tenth
  constexpr std::size_t kCellsPerPin = 32;                // a bit for each is the memory of the pins
  const std::size_t npins = lists.nadj.size();
  const std::size_t most = kCellsPerPin * npins / (static_cast<std::size_t>(lists.ncells) + 1);
  return static_cast<int>(
      std::clamp<std::size_t>(std::min(most, npins / kFewPins), 1, static_cast<std::size_t>(threads())));
}

IsolatedCells find_isolated_cells(const NetLists& lists, int nthreads) {
  if (!UsedCells::suit(lists)) return isolated_by_sorting(lists);
  std::vector<UsedCells> used(static_cast<std::size_t>(nthreads), UsedCells(lists));
  on_threads(nthreads, [&](int part) {
    const auto k = static_cast<std::size_t>(part);
    const std::size_t end = lists.nadj.size() * (k + 1) / used.size();
    for (std::size_t pin = lists.nadj.size() * k / used.size(); pin < end; pin += kPinsOfACall)
      used[k].add({lists.nadj.data() + pin, std::min(kPinsOfACall, end - pin)});
  });
  for (std::size_t k = 1; k < used.size(); ++k) used[0].add(used[k]);
  return used[0].isolated();
}

NetAudit::NetAudit(const NetLists& lists, const std::vector<int>& damaged, std::size_t most_kept)
    : lists_(lists), damaged_(damaged), most_kept_(most_kept) {}

NetAudit::~NetAudit() = default;

void NetAudit::look_at(int last) {
  if (last - nlooked_ < kNetsAtOnce) return;
  if (ahead_ == nullptr) {
    if (!UsedCells::suit(lists_) || lists_.avoids(lists_.nnets, lists_.nadj.size())) return;
    ahead_ = std::make_unique<Part>(*this, lists_.nnets, bucket_bits(lists_.nnets));
  }
  ahead_->look_at({nlooked_ + 1, last});
  nlooked_ = last;
}

std::vector<std::unique_ptr<NetAudit::Part>> NetAudit::look_at_rest(int nthreads) {
  const int nnets = count_nets(lists_);
  std::vector<std::unique_ptr<Part>> parts;
  if (ahead_ != nullptr) {
    ahead_->look_at({nlooked_ + 1, nnets});
    parts.push_back(std::move(ahead_));
    return parts;
  }
  const std::vector<NetsOfPart> nets = parts_of(lists_, nthreads);
  for (const NetsOfPart& its : nets)
    parts.push_back(std::make_unique<Part>(*this, its.last + 1 - its.first, bucket_bits(nnets)));
  on_threads(nthreads, [&](int part) {
    const auto k = static_cast<std::size_t>(part);
    parts[k]->look_at(nets[k]);
  });
  return parts;
}

NetFindings NetAudit::finish(int nthreads) {
  NetFindings all;
  UsedCells used(lists_);
  std::vector<NetPrints> prints;
  for (const std::unique_ptr<Part>& part : look_at_rest(nthreads)) {
    used.add(part->used);
    prints.push_back(std::move(part->prints));
    all.empty_nets.append(part->found.empty_nets, most_kept_);
    all.one_pin_nets.append(part->found.one_pin_nets, most_kept_);
    all.repeated_pins.append(part->found.repeated_pins, most_kept_);
  }
  all.parallel_nets = find_parallel_nets(lists_, prints, nthreads);
  all.isolated_cells = UsedCells::suit(lists_) ? used.isolated() : isolated_by_sorting(lists_);
  return all;
}

NetFindings audit_nets(const NetLists& lists, const std::vector<int>& damaged, std::size_t most_kept,
                       int nthreads) {
  return NetAudit(lists, damaged, most_kept).finish(nthreads);
}

}  // namespace quillon::formats
