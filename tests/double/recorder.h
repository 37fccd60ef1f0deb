#pragma once
// A double of the utility layer for tests of the module alone. It writes down every request in order,
// accounts for every block, and turns a fatal error into an exception, so that a test sees what led to it.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::recorder {

/// Thrown by `errexit`; `what()` is the text as formatted.
struct FatalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Something that no program may ask of the utility layer, such as to give back what it does not hold.
struct Misuse : FatalError {
  using FatalError::FatalError;
};

/// Forgets everything recorded and gives back all blocks still held. Each test starts with it.
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

/// Tags of the heap and pool blocks not given back, oldest first.
std::vector<std::string> held();

/// Forgets the files that are open, for code that closes them without telling.
void forget_files();

/// What `uRandom` gives from now on, in order; when used up, or without a script, m - 1.
void script_random(const std::vector<int>& draws);

/// What the calls of `PermuteInPlace` make of their arrays from now on, in order: entry i becomes the old
/// entry permutation[i], both counted from 0. When used up, or without a script, arrays stay as they are.
void script_permutations(const std::vector<std::vector<int>>& permutations);

/// The n-th request for memory from now on (counted from 1) fails with a fatal error that is the block's tag.
void fail_allocation(int n);

/// From now on a request for more bytes than that is a fatal error, "out of memory: " and the tag; 0: none
/// is.
void limit_requests(std::uint64_t bytes);

/// Runs `body` and gives the text of the fatal error that ended it, or "(no fatal error)".
template <typename Body>
std::string fatal_text(const Body& body) {
  try {
    body();
  } catch (const FatalError& error) {
    return error.what();
  }
  return "(no fatal error)";
}

}  // namespace quillon::recorder
