#pragma once
// Hash keys of nets, and lists of nets by key, to find equal nets in linear time. Not installed.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillon::measures {

/// Spreads a number over 64 bits, as SplitMix64 does (G. Steele, D. Lea, C. Flood, OOPSLA 2014).
inline std::uint64_t spread(std::uint64_t number) {
  number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
  number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
  return number ^ (number >> 31U);
}

/// Hashes cells in any order, with a random key: a file cannot contain nets chosen to collide. The same in
/// one run of a program.
class CellHash {
 public:
  CellHash();

  void add(int cell) { sum_ += spread(key_ + static_cast<std::uint32_t>(cell)); }

  /// The hash of the cells added so far.
  [[nodiscard]] std::uint64_t value() const { return spread(sum_); }

 private:
  std::uint64_t key_;
  std::uint64_t sum_ = 0;
};

/// The hash of the pins of a net in any order.
std::uint64_t hash_of_set(std::span<const int> pins);

/// The hash of the pins of a net in their order.
std::uint64_t hash_of_sequence(std::span<const int> pins);

/// Nets by key, those of one key in the order in which they were added.
class NetsByKey {
 public:
  /// @param most  Number of nets that will be added at most.
  explicit NetsByKey(std::size_t most);

  void add(std::uint64_t key, int net);

  /// The first net of a key for which `matches(net)` holds; 0 if there is none.
  template <typename Matches>
  [[nodiscard]] int find(std::uint64_t key, Matches matches) const {
    for (int k = slots_[slot_of(key)].first; k >= 0; k = entries_[static_cast<std::size_t>(k)].next)
      if (matches(entries_[static_cast<std::size_t>(k)].net))
        return entries_[static_cast<std::size_t>(k)].net;
    return 0;
  }

  /// The same, and removes the net.
  template <typename Matches>
  int take(std::uint64_t key, Matches matches) {
    Slot& slot = slots_[slot_of(key)];
    int before = kNone;
    for (int k = slot.first; k >= 0; k = entries_[static_cast<std::size_t>(k)].next) {
      const Entry& entry = entries_[static_cast<std::size_t>(k)];
      if (matches(entry.net)) {
        (before == kNone ? slot.first : entries_[static_cast<std::size_t>(before)].next) = entry.next;
        if (slot.last == k) slot.last = before;
        return entry.net;
      }
      before = k;
    }
    return 0;
  }

 private:
  static constexpr int kNone = -1;
  static constexpr int kFree = -2;

  struct Slot {
    std::uint64_t key = 0;
    int first = kFree;  // of the entries; kNone if all were removed
    int last = kNone;
  };

  struct Entry {
    int net;
    int next;
  };

  [[nodiscard]] std::size_t slot_of(std::uint64_t key) const;

  std::vector<Slot> slots_;  // a power of two, at most half of them in use
  std::vector<Entry> entries_;
};

}  // namespace quillon::measures
