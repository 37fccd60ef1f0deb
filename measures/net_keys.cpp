#include "measures/net_keys.h"

#include <bit>
#include <random>

namespace quillon::measures {
namespace {

std::uint64_t random_key() {
  static const std::uint64_t key = [] {
    std::random_device device;
    const std::uint64_t upper = device();
    return upper << 32U | device();
  }();
  return key;
}

}  // namespace

CellHash::CellHash() : key_(random_key()) {}

std::uint64_t hash_of_set(std::span<const int> pins) {
  CellHash hash;
  for (const int i : pins) hash.add(i);
  return hash.value();
}

std::uint64_t hash_of_sequence(std::span<const int> pins) {
  const std::uint64_t key = random_key();
  std::uint64_t hash = 0;
  for (const int i : pins) hash = spread(hash + key + static_cast<std::uint32_t>(i));
  return hash;
}

NetsByKey::NetsByKey(std::size_t most) : slots_(std::bit_ceil(2 * most + 1)) { entries_.reserve(most); }

std::size_t NetsByKey::slot_of(std::uint64_t key) const {
  std::size_t slot = key & (slots_.size() - 1);
  while (slots_[slot].first != kFree && slots_[slot].key != key) slot = (slot + 1) & (slots_.size() - 1);
  return slot;
}

void NetsByKey::add(std::uint64_t key, int net) {
  Slot& slot = slots_[slot_of(key)];
  const int entry = static_cast<int>(entries_.size());
  entries_.push_back({net, kNone});
  if (slot.first < 0)
    slot = {key, entry, entry};
  else
    entries_[static_cast<std::size_t>(slot.last)].next = entry;
  slot.last = entry;
}

}  // namespace quillon::measures
