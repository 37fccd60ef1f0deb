#pragma once
// A double of the utility layer for tests of the module alone. It records every request in order, tracks
// every block, and turns a fatal error into an exception, so that a test sees the requests before the error.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::recorder {

/// Thrown by `errexit`; `what()` is the formatted text.
struct FatalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Thrown for a request that no program may make, such as to free a block that it does not hold.
struct Misuse : FatalError {
  using FatalError::FatalError;
};

/// Discards the record of requests and frees all blocks still held. Each test starts with it.
void reset();

/// Requests in order, one line each: "umalloc 96 tag", "imalloc 5 tag", "urealloc 8
/// tag", "free tag", "poolalloc 0 96 tag", "poolfree 0 tag <- tag of the block released", "ufopen name mode
/// tag", "ufclose name", "uqsorti count", "PermuteInPlace count", "uRandom m".
std::vector<std::string> requests();

/// The requests that begin with one of the given words.
std::vector<std::string> requests(const std::vector<std::string>& words);

/// Texts of `uwarning`, in order.
std::vector<std::string> warnings();

/// All text of `uprintf`, joined.
std::string printed();

/// Tags of the heap and pool blocks not yet freed, oldest first.
std::vector<std::string> held();

/// Forgets the open files, for code that closes them without `ufclose`.
void forget_files();

/// The next results of `uRandom`, in order. After the last one, or without a script, it returns m - 1.
void script_random(const std::vector<int>& draws);

/// The permutations of the next calls of `PermuteInPlace`, in order: entry i becomes the old entry
/// permutation[i], both counted from 0. After the last one, or without a script, arrays stay unchanged.
void script_permutations(const std::vector<std::vector<int>>& permutations);

/// The n-th request for memory from now on (counted from 1) fails with a fatal error that is the block's tag.
void fail_allocation(int n);

/// From now on a request for more bytes is a fatal error, "out of memory: " and the tag; 0: no limit.
void limit_requests(std::uint64_t bytes);

/// What `fatal_text` returns without a fatal error.
inline constexpr const char* kSound = "(no fatal error)";

/// Runs `body` and returns the text of the fatal error that ended it, or kSound.
template <typename Body>
std::string fatal_text(const Body& body) {
  try {
    body();
  } catch (const FatalError& error) {
    return error.what();
  }
  return kSound;
}

}  // namespace quillon::recorder
