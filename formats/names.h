#pragma once
/// @file
/// Names to numbers. Internal to `formats/`.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace quillon::formats {

/// Numbers names from 1 in the order of their first appearance.
///
/// The hash has a random key, so that a file cannot contain names chosen to collide. A name costs its bytes
/// and 27 to 38 more.
class Names {
 public:
  Names();
  Names(Names&&) = default;
  Names& operator=(Names&&) = default;

  /// @param name      Any bytes.
  /// @return          Its number, the next one if it is new.
  /// @throws BadFile  if there are more names than a hypergraph has room for, or the name has 4 GiB. The
  ///                  finding names no file.
  int number_of(std::string_view name);

  /// Numbers many names, several times as fast as one by one: the misses of the cache overlap.
  ///
  /// @param names     In order.
  /// @param numbers   Out, one for each.
  /// @throws BadFile  as `number_of`.
  void numbers_of(std::span<const std::string_view> names, int* numbers);

  /// @return  The number of a name, 0 if it has none.
  [[nodiscard]] int find(std::string_view name) const;

  /// @param number  From 1 to `size()`.
  /// @return        Valid as long as this object.
  [[nodiscard]] std::string_view name_of(int number) const;

  /// @return  Number of names.
  [[nodiscard]] int size() const { return static_cast<int>(places_.size()); }

  /// @return     Sum over all names of how many slots before its own a search for it visits.
  /// @par Cost   As much as finding every name.
  [[nodiscard]] std::uint64_t total_distance() const;

 private:
  // Of the utility layer, which asks for huge pages: most look-ups miss all caches.
  struct Free {
    void operator()(void* block) const;
  };

  using Slot = std::uint64_t;  // 0: free; else the place of an entry, and bits of its hash

  static std::unique_ptr<Slot[], Free> free_slots(std::size_t count);
  [[nodiscard]] std::uint64_t hash_of(std::string_view name) const;
  [[nodiscard]] std::size_t slot_of(std::string_view name, std::uint64_t hash) const;
  [[nodiscard]] const char* entry_at(std::uint64_t place) const;
  int number_at(std::size_t slot, std::string_view name, std::uint64_t hash);
  int add(std::string_view name);
  std::uint64_t allocate(std::size_t size);
  void grow();

  std::array<std::uint64_t, 2> key_;
  std::unique_ptr<Slot[], Free> slots_;
  std::size_t nslots_;                                 // a power of two
  std::vector<std::uint64_t> places_;                  // of the entries, by number - 1
  std::vector<std::unique_ptr<char[], Free>> blocks_;  // own the memory of the chunks
  std::vector<char*> chunks_;                          // of kChunk bytes each, where the entries are
  std::uint64_t end_ = 0;                              // place after the last entry
};

}  // namespace quillon::formats
