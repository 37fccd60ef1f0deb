#include "formats/repetitions.h"

#include <algorithm>
#include <numeric>
#include <span>

#include "formats/short_nets.h"

namespace quillon::formats {
namespace {

// Looks at groups of numbers as at nets, for one that is in its group twice.
class GroupedNumbers {
 public:
  // Adds a number to the last group.
  void add(int number) { numbers_.push_back(number); }

  void end_group() {
    starts_.push_back(static_cast<int>(numbers_.size()));
    if (starts_.size() > kNetsAtOnce) look();
  }

  bool have_repetition() {
    look();
    return have_repetition_;
  }

 private:
  void look() {
    const int count = static_cast<int>(starts_.size()) - 1;
    const NetRange groups{numbers_.data(), starts_.data(), count, numbers_.data() + numbers_.size()};
    look_at_nets(groups, looks_);
    for (int k = 0; k < count; ++k)
      if (looks_.need_look[k] != 0 && has_repetition(groups.cells(k))) have_repetition_ = true;
    numbers_.clear();
    starts_.assign(1, 0);
  }

  static bool has_repetition(std::span<const int> numbers) {
    std::vector<int> sorted(numbers.begin(), numbers.end());
    std::sort(sorted.begin(), sorted.end());
    return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
  }

  std::vector<int> numbers_;
  std::vector<int> starts_{0};
  NetLooks looks_{};
  bool have_repetition_ = false;
};

// Whether the nets of pins ascend, or if `first` is 1 their cells, and none of them has a pin twice.
bool are_once_in_groups(const PinList& pins, std::size_t first) {
  const std::span<const int> numbers = pins.numbers;
  bool ascend = true;
  for (std::size_t k = first; k + 2 < numbers.size(); k += 2) ascend = ascend && numbers[k] <= numbers[k + 2];
  if (!ascend) return false;
  GroupedNumbers groups;
  for (std::size_t k = first; k < numbers.size(); k += 2) {
    groups.add(numbers[k ^ 1U]);
    if (k + 2 >= numbers.size() || numbers[k + 2] != numbers[k]) groups.end_group();
  }
  return !groups.have_repetition();
}

// Pairs of pins of which the second repeats the first. Without memory for nets and cells without pins.
PinPairs find_repeated_by_sorting(const PinList& pins, const std::vector<int>& damaged) {
  const auto key = [&](std::size_t k) {
    const std::pair pin(pins.numbers[2 * k], pins.numbers[2 * k + 1]);
    const bool is_mirror = pins.is_mirrored && pin.first < pin.second;
    return is_mirror ? std::pair(pin.second, pin.first) : pin;
  };
  std::vector<std::size_t> order;
  for_each_sound(pins, damaged, [&](std::size_t k) { order.push_back(k); });
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return std::pair(key(a), a) < std::pair(key(b), b); });
  PinPairs repeated;
  std::size_t first = 0;  // index of the first of equal pins
  for (std::size_t k = 1; k < order.size(); ++k) {
    if (key(order[k]) == key(order[first]))
      repeated.emplace_back(order[first], order[k]);
    else
      first = k;
  }
  return repeated;
}

// As above, in linear time.
PinPairs find_repeated_by_net(const PinList& pins, const std::vector<int>& damaged) {
  const auto net_of = [&](std::size_t k) {
    const int net = pins.numbers[2 * k];
    return static_cast<std::size_t>(pins.is_mirrored ? std::max(net, pins.numbers[2 * k + 1]) : net);
  };
  const auto cell_of = [&](std::size_t k) {
    const int cell = pins.numbers[2 * k + 1];
    return static_cast<std::size_t>(pins.is_mirrored ? std::min(cell, pins.numbers[2 * k]) : cell);
  };
  std::vector<std::size_t> ends(static_cast<std::size_t>(pins.nnets) + 2);
  for_each_sound(pins, damaged, [&](std::size_t k) { ++ends[net_of(k) + 1]; });
  std::partial_sum(ends.begin(), ends.end(), ends.begin());
  std::vector<std::size_t> by_net(ends.back());
  for_each_sound(pins, damaged, [&](std::size_t k) { by_net[ends[net_of(k)]++] = k; });

  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> last(static_cast<std::size_t>(pins.is_mirrored ? pins.nnets : pins.ncells) + 1,
                                kNone);
  PinPairs repeated;
  for (const std::size_t k : by_net) {
    std::size_t& first = last[cell_of(k)];
    if (first != kNone && net_of(first) == net_of(k))
      repeated.emplace_back(first, k);
    else
      first = k;
  }
  return repeated;
}

}  // namespace

bool is_without_repetitions(const PinList& pins) {
  return are_once_in_groups(pins, 0) || are_once_in_groups(pins, 1);
}

PinPairs find_repeated(const PinList& pins, const std::vector<int>& damaged, bool by_sorting) {
  PinPairs repeated =
      by_sorting ? find_repeated_by_sorting(pins, damaged) : find_repeated_by_net(pins, damaged);
  std::sort(repeated.begin(), repeated.end(),
            [](const auto& a, const auto& b) { return a.second < b.second; });
  return repeated;
}

}  // namespace quillon::formats
