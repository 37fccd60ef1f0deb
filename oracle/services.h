#pragma once
/// @file
/// The services of the utility layer that the benchmarks replace for the twins.
///
/// By default the twins request memory exactly as the module does, so that tests can compare the requests of
/// both one by one. As a baseline of benchmarks they use malloc: the huge pages of `umalloc` are part of what
/// is measured.

#include <cstdint>

namespace quillon::oracle {

/// Each function as described in `util/util.h`.
struct Services {
  void* (*umalloc)(std::uint64_t bytes, const char* tag);
  std::int32_t* (*imalloc)(std::int64_t count, const char* tag);
  void* (*urealloc)(void* block, std::uint64_t bytes, const char* tag);
  void (*free)(void* block);
  void* (*poolalloc)(int pool, std::uint64_t bytes, const char* tag);
  void (*read_array)(const char* filename, std::int32_t* array, int count, int first);
};

/// The functions of the utility layer.
extern const Services kUtilityLayer;

/// malloc for every block, those of pools included, and `oracle::read_array`.
extern const Services kPlain;

/// The services in use.
extern Services services;

/// Bytes of an array with the two spare entries that arrays of the module have.
inline std::uint64_t bytes_with_spares(int count, std::uint64_t each) {
  return (static_cast<std::uint64_t>(count) + 2) * each;
}

}  // namespace quillon::oracle
