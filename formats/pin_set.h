#pragma once
/// @file
/// The different cells of one net. Internal to `formats/`.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "util/mix.h"

namespace quillon::formats {

/// Cells in the order of their arrival, and a hash table that finds them. Its memory is that of the largest
/// net, whatever the number of cells.
class PinSet {
 public:
  /// Begins a net.
  ///
  /// @param size  Number of its cells.
  void begin(int size) {
    pins_.clear();
    pins_.reserve(static_cast<std::size_t>(size));
    shift_ = 63 - static_cast<int>(std::bit_width(static_cast<unsigned>(size)));
    const std::size_t nslots = std::size_t{1} << (64 - shift_);
    if (slots_.size() < nslots) slots_.resize(nslots);
    ++net_;
  }

  /// Adds a cell.
  ///
  /// @return  False without effect if it is there.
  bool add(int cell) {
    const std::size_t mask = (std::size_t{1} << (64 - shift_)) - 1;
    std::size_t slot = static_cast<std::uint64_t>(cell) * kMixStep >> shift_;
    while (slots_[slot].net == net_) {
      if (slots_[slot].cell == cell) return false;
      slot = (slot + 1) & mask;
    }
    slots_[slot] = {net_, cell};
    pins_.push_back(cell);
    return true;
  }

  /// Puts another cell in the place of the last one. No cell may be added afterwards.
  void replace_last(int cell) { pins_.back() = cell; }

  [[nodiscard]] std::span<const int> pins() const { return pins_; }

 private:
  struct Slot {
    std::uint32_t net = 0;  // that the cell belongs to; slots of other nets are free
    int cell = 0;
  };

  std::vector<int> pins_;
  std::vector<Slot> slots_;  // at least twice as many as cells
  std::uint32_t net_ = 0;
  int shift_ = 62;
};

}  // namespace quillon::formats
