#pragma once
/// @file
/// Checks that pins are listed by their cells. Internal to `hypergraph/`.

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <span>

#include "hypergraph/detail/lists.h"
#include "hypergraph/hypergraph.h"

namespace quillon {

inline bool differ_by_pairs(std::span<const int> list) {
  int nequal = 0;
  for (std::size_t t = 1; t < list.size(); ++t)
    for (std::size_t u = 0; u < t; ++u) nequal += list[u] == list[t] ? 1 : 0;
  return nequal == 0;
}

/// One bit per number and one pass over the list per range of 2^17 numbers.
inline constexpr int kBitsPerPass = 1 << 17;

inline bool differ_by_bits(std::span<const int> list, int most) {
  std::bitset<kBitsPerPass> seen;
  for (int range = 0; range <= most / kBitsPerPass; ++range) {
    seen.reset();
    for (const int number : list) {
      if (number / kBitsPerPass != range) continue;
      const auto bit = static_cast<std::size_t>(number % kBitsPerPass);
      if (seen[bit]) return false;
      seen[bit] = true;
    }
  }
  return true;
}

/// Whether the entries, which lie in 1 .. most, are different numbers.
inline bool are_different(std::span<const int> list, int most) {
  // Up to about this length, comparing all pairs is faster than the passes.
  const std::ptrdiff_t few = 64 + std::ptrdiff_t{16} * (most / kBitsPerPass);
  return std::ssize(list) <= few ? differ_by_pairs(list) : differ_by_bits(list, most);
}

/// An entry equal to a value, or the end. A long list is searched by bisection, which may miss the entry if
/// the list is not sorted.
inline const int* find_entry(std::span<const int> list, int value) {
  constexpr std::size_t kLong = 32;
  const int* entry = list.data();
  const int* const end = entry + list.size();
  if (list.size() > kLong) {
    for (std::size_t left = list.size(); left > 1; left -= left / 2)
      if (entry[left / 2 - 1] < value) entry += left / 2;
    return *entry == value ? entry : end;
  }
  while (entry != end && *entry != value) ++entry;
  return entry;
}

/// Tells whether pins have an entry in the lists of their cells.
///
/// Nets are added in increasing number, and most cells list them in that order: the entry for the next net
/// that names a cell is mostly the one after the entry found last. That place is cached for as many cells as
/// fit into near caches. A look-up of any other pin would miss the cache for the cell and for its list: 64 of
/// them are queued, so that their misses overlap.
class PinFinder {
 public:
  explicit PinFinder(const Hypergraph* h) : h_(h) {}

  /// Returns false if a pin of this net or of an earlier one has no entry, or if this net has a pin twice.
  /// Other missing entries are found later.
  bool add_net(int net, std::span<const int> pins) {
    bool increasing = true;
    int last = 0;
    for (const int cell : pins) {
      if (!add(net, cell)) return false;
      increasing = increasing && last < cell;
      last = cell;
    }
    return increasing || are_different(pins, h_->_c);
  }

  /// Looks up the queued pins; to be called after the last net. Returns false if one has no entry.
  bool finish() {
    const std::span<const Pin> pins(queue_.data(), nqueued_);
    nqueued_ = 0;
    for (const Pin& pin : pins) {
      prefetch(h_->_clst[pin.cell].nets);
      prefetch(h_->_clst[pin.cell].netsend);
    }
    return std::all_of(pins.begin(), pins.end(), [this](const Pin& pin) { return find(pin); });
  }

 private:
  struct Pin {
    int net;
    int cell;
  };

  static constexpr int kNoNet = 0;

  struct Place {
    const int* next = &kNoNet;
    int nleft = 0;  // entries from there to the end of the list
    int cell = 0;
  };

  bool add(int net, int cell) {
    Place& place = place_of(cell);
    if (place.cell != cell || *place.next != net) return enqueue(net, cell);
    ++place.next;
    if (--place.nleft == 0) place.next = &kNoNet;
    return true;
  }

  Place& place_of(int cell) { return places_[static_cast<unsigned>(cell) % places_.size()]; }

  // Inlined, it would slow down the loop over pins with a cached place.
  [[gnu::noinline]] bool enqueue(int net, int cell) {
    if (cell < 1 || cell > h_->_c) return false;
    prefetch(&h_->_clst[cell].nets);
    queue_[nqueued_++] = {net, cell};
    return nqueued_ < queue_.size() || finish();
  }

  bool find(const Pin& pin) {
    const std::span<const int> nets = nets_of(h_->_clst[pin.cell]);
    const int* const end = nets.data() + nets.size();
    const int* const entry = find_entry(nets, pin.net);
    if (entry == end) return false;
    const int* const next = entry + 1;
    if (next != end) place_of(pin.cell) = {next, static_cast<int>(end - next), pin.cell};
    return true;
  }

  const Hypergraph* h_;
  std::array<Pin, 64> queue_;
  std::size_t nqueued_ = 0;
  std::array<Place, 4096> places_;
};

}  // namespace quillon
