#include "formats/names.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>

#include "formats/findings.h"
#include "formats/ranges.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

// An entry is its number, the length of the name, and the name.
struct EntryHead {
  std::uint32_t number;
  std::uint32_t length;
};

constexpr int kTagBits = 24;  // of the hash in a slot
constexpr std::uint64_t kTag = (std::uint64_t{1} << kTagBits) - 1;
constexpr std::uint64_t kMostPlaces = std::uint64_t{1} << (64 - kTagBits);
constexpr int kChunkBits = 20;
constexpr std::uint64_t kChunk = std::uint64_t{1} << kChunkBits;
constexpr std::size_t kFirstSlots = 64;
constexpr std::size_t kHashesAtOnce = 32;  // names whose cache misses overlap

std::array<std::uint64_t, 2> random_key() {
  std::random_device device;
  const auto word = [&device] { return std::uint64_t{device()} << 32 | device(); };
  const std::uint64_t first = word();
  return {first, word()};
}

// SipHash with one round for each word and three at the end, as J.-P. Aumasson and D. J. Bernstein define it.
struct SipState {
  std::uint64_t a, b, c, d;

  void round() {
    a += b;
    c += d;
    b = std::rotl(b, 13) ^ a;
    d = std::rotl(d, 16) ^ c;
    a = std::rotl(a, 32);
    c += b;
    a += d;
    b = std::rotl(b, 17) ^ c;
    d = std::rotl(d, 21) ^ a;
    c = std::rotl(c, 32);
  }

  void add(std::uint64_t word) {
    d ^= word;
    round();
    a ^= word;
  }
};

std::uint64_t word_at(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word;
}

// The bytes that are left of a name after its whole words.
std::uint64_t tail_of(std::string_view name) {
  const std::size_t left = name.size() % 8;
  if (left == 0) return 0;
  const char* const end = name.data() + name.size();
  if (name.size() > 8) return word_at(end - 8) >> (64 - 8 * left);
  std::uint64_t word = 0;
  for (std::size_t k = 1; k <= left; ++k) word = word << 8 | static_cast<unsigned char>(*(end - k));
  return word;
}

std::uint64_t tag_of(std::uint64_t hash) { return hash >> (64 - kTagBits); }

EntryHead head_of(const char* entry) {
  EntryHead head{};
  std::memcpy(&head, entry, sizeof head);
  return head;
}

std::string_view name_in(const char* entry) { return {entry + sizeof(EntryHead), head_of(entry).length}; }

// Most names are short, and the same: no call of a library function for them.
bool same(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const std::size_t size = a.size();
  if (size < 8 || size > 32) return a == b;
  for (std::size_t at = 0; at + 8 < size; at += 8)
    if (word_at(a.data() + at) != word_at(b.data() + at)) return false;
  return word_at(a.data() + size - 8) == word_at(b.data() + size - 8);
}

[[noreturn]] void fail(const char* rule, const std::string& message) {
  throw BadFile({rule, Severity::kError, "", 0, 0, message, ""});
}

}  // namespace

Names::Names() : key_(), slots_(free_slots(kFirstSlots)), nslots_(kFirstSlots) {
  static const std::array<std::uint64_t, 2> key = random_key();
  key_ = key;
}

void Names::Free::operator()(void* block) const { _usfree(block); }

std::unique_ptr<Names::Slot[], Names::Free> Names::free_slots(std::size_t count) {
  auto* const slots = static_cast<Slot*>(umalloc(count * sizeof(Slot), "Names: slots"));
  std::fill_n(slots, count, Slot{0});
  return std::unique_ptr<Slot[], Free>(slots);
}

std::uint64_t Names::hash_of(std::string_view name) const {
  SipState state{key_[0] ^ 0x736f6d6570736575U, key_[1] ^ 0x646f72616e646f6dU, key_[0] ^ 0x6c7967656e657261U,
                 key_[1] ^ 0x7465646279746573U};
  for (std::size_t at = 0; at + 8 <= name.size(); at += 8) state.add(word_at(name.data() + at));
  state.add(tail_of(name) | std::uint64_t{name.size()} << 56);
  state.c ^= 0xff;
  for (int k = 0; k < 3; ++k) state.round();
  return state.a ^ state.b ^ state.c ^ state.d;
}

const char* Names::entry_at(std::uint64_t place) const {
  return chunks_[place >> kChunkBits] + (place & (kChunk - 1));
}

// The slot of the name, or the free one where it belongs.
std::size_t Names::slot_of(std::string_view name, std::uint64_t hash) const {
  const std::size_t mask = nslots_ - 1;
  for (std::size_t k = hash & mask;; k = (k + 1) & mask) {
    const Slot slot = slots_[k];
    if (slot == 0) return k;
    if ((slot & kTag) != tag_of(hash)) continue;
    if (same(name_in(entry_at(slot >> kTagBits)), name)) return k;
  }
}

int Names::number_at(std::size_t slot, std::string_view name, std::uint64_t hash) {
  if (slots_[slot] != 0) return static_cast<int>(head_of(entry_at(slots_[slot] >> kTagBits)).number);
  const int number = add(name);
  slots_[slot] = places_.back() << kTagBits | tag_of(hash);
  if (4 * places_.size() > 3 * nslots_) grow();
  return number;
}

int Names::number_of(std::string_view name) {
  const std::uint64_t hash = hash_of(name);
  return number_at(slot_of(name, hash), name, hash);
}

void Names::numbers_of(std::span<const std::string_view> names, int* numbers) {
  std::uint64_t hashes[kHashesAtOnce];
  for (std::size_t first = 0; first < names.size(); first += kHashesAtOnce) {
    const std::span<const std::string_view> some =
        names.subspan(first, std::min(kHashesAtOnce, names.size() - first));
    for (std::size_t k = 0; k < some.size(); ++k) {
      hashes[k] = hash_of(some[k]);
      __builtin_prefetch(&slots_[hashes[k] & (nslots_ - 1)]);
    }
    for (std::size_t k = 0; k < some.size(); ++k)
      if (const Slot slot = slots_[hashes[k] & (nslots_ - 1)]; slot != 0)
        __builtin_prefetch(entry_at(slot >> kTagBits));
    for (std::size_t k = 0; k < some.size(); ++k)
      numbers[first + k] = number_at(slot_of(some[k], hashes[k]), some[k], hashes[k]);
  }
}

int Names::find(std::string_view name) const {
  const Slot slot = slots_[slot_of(name, hash_of(name))];
  return slot == 0 ? 0 : static_cast<int>(head_of(entry_at(slot >> kTagBits)).number);
}

std::string_view Names::name_of(int number) const {
  return name_in(entry_at(places_[static_cast<std::size_t>(number) - 1]));
}

int Names::add(std::string_view name) {
  if (places_.size() == static_cast<std::size_t>(kMostItems))
    fail("too-many-names", "more than " + std::to_string(kMostItems) + " names are too many");
  if (name.size() > std::numeric_limits<std::uint32_t>::max())
    fail("name-too-long", "a name of " + std::to_string(name.size()) + " bytes is too long");
  const auto number = static_cast<std::uint32_t>(places_.size() + 1);
  const EntryHead head{number, static_cast<std::uint32_t>(name.size())};
  const std::uint64_t place = allocate(sizeof head + name.size());
  char* const entry = chunks_[place >> kChunkBits] + (place & (kChunk - 1));
  std::memcpy(entry, &head, sizeof head);
  name.copy(entry + sizeof head, name.size());
  places_.push_back(place);
  return static_cast<int>(number);
}

// A long entry gets consecutive chunks, a short one lies in a single chunk. Place 0 is not used.
std::uint64_t Names::allocate(std::size_t size) {
  std::uint64_t place = end_;
  if (place == 0 || size > (chunks_.size() << kChunkBits) - place) {
    constexpr std::size_t kMostChunks = 16;  // unless an entry needs more
    const std::size_t nchunks =
        std::max((size + kChunk) >> kChunkBits, std::min(chunks_.size(), kMostChunks));
    place = (chunks_.size() << kChunkBits) + (chunks_.empty() ? 1 : 0);
    if (((chunks_.size() + nchunks) << kChunkBits) > kMostPlaces) throw std::bad_alloc();
    blocks_.reserve(blocks_.size() + 1);
    blocks_.emplace_back(static_cast<char*>(umalloc(nchunks << kChunkBits, "Names: names")));
    for (std::size_t k = 0; k < nchunks; ++k) chunks_.push_back(blocks_.back().get() + (k << kChunkBits));
  }
  end_ = place + size;
  return place;
}

void Names::grow() {
  std::unique_ptr<Slot[], Free> larger = free_slots(2 * nslots_);
  const std::size_t mask = 2 * nslots_ - 1;
  std::uint64_t hashes[kHashesAtOnce];
  for (int first = 1; first <= size(); first += kHashesAtOnce) {
    const int count = std::min<int>(kHashesAtOnce, size() - first + 1);
    for (int k = 0; k < count; ++k) {
      hashes[k] = hash_of(name_of(first + k));
      __builtin_prefetch(&larger[hashes[k] & mask], 1);
    }
    for (int k = 0; k < count; ++k) {
      std::size_t at = hashes[k] & mask;
      while (larger[at] != 0) at = (at + 1) & mask;
      larger[at] = places_[static_cast<std::size_t>(first + k) - 1] << kTagBits | tag_of(hashes[k]);
    }
  }
  slots_ = std::move(larger);
  nslots_ *= 2;
}

std::uint64_t Names::total_distance() const {
  const std::size_t mask = nslots_ - 1;
  std::uint64_t total = 0;
  for (int number = 1; number <= size(); ++number) {
    const std::uint64_t hash = hash_of(name_of(number));
    total += (slot_of(name_of(number), hash) - hash) & mask;
  }
  return total;
}

}  // namespace quillon::formats
