#pragma once
/// @file
/// Nets with the same cells. Internal to `formats/`.

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/ints.h"
#include "formats/net_lists.h"
#include "util/mix.h"

namespace quillon::formats {

/// A net with the same cells as an earlier one, each counted once.
struct ParallelNet {
  int net;
  int earlier;  ///< The first such net.

  bool operator==(const ParallelNet&) const = default;
};

/// @return  The cells, ascending, each once.
std::vector<int> sorted_set(std::span<const int> cells);

/// Fingerprints of nets, sorted by their first bits into buckets that fit the cache.
class NetPrints {
 public:
  /// A net and its fingerprint without the bits that tell the bucket.
  class Entry {
   public:
    static constexpr int kPrintBits = 33;

    Entry(std::uint64_t shifted_print, int net)
        : print_and_net_((shifted_print & ~kNetMask) | static_cast<unsigned>(net)) {}

    [[nodiscard]] std::uint64_t print() const { return print_and_net_ >> kNetBits; }
    [[nodiscard]] int net() const { return static_cast<int>(print_and_net_ & kNetMask); }

    // NOLINTNEXTLINE(modernize-use-nullptr): there is no null pointer
    auto operator<=>(const Entry&) const = default;

   private:
    static constexpr int kNetBits = 64 - kPrintBits;
    static constexpr std::uint64_t kNetMask = (std::uint64_t{1} << kNetBits) - 1;

    std::uint64_t print_and_net_;
  };

  /// @param most   Number of nets that may be added.
  /// @param nbits  There are 2^nbits buckets; at least 1.
  NetPrints(std::size_t most, int nbits);

  /// @param key  Depends on the set of cells of the net only.
  void add(std::uint64_t key, int net) {
    const std::uint64_t print = key * kMixStep;  // its upper bits depend on all of the key
    Bucket& bucket = buckets_[print >> (64 - nbits_)];
    if (bucket.end % kChunk == 0) [[unlikely]]
      begin_chunk(bucket);
    Entry* const place = entries_ + bucket.end++;
    __builtin_prefetch(place + kAhead, 1);
    *place = Entry(print << nbits_, net);
  }

  [[nodiscard]] std::size_t nbuckets() const { return buckets_.size(); }

  /// @return  Number of nets in a bucket.
  [[nodiscard]] std::size_t size(std::size_t bucket) const {
    const Bucket& its = buckets_[bucket];
    return its.nchunks == 0 ? 0 : (its.nchunks - 1) * kChunk + (its.end - 1) % kChunk + 1;
  }

  /// Calls `visit(entries)` for all entries of a bucket, some at a time, in the order of `add`.
  template <typename Visit>
  void for_each(std::size_t bucket, Visit visit) const {
    std::size_t chunk = buckets_[bucket].first;
    for (std::size_t left = size(bucket); left > 0; chunk = next_[chunk]) {
      const std::span entries(entries_ + chunk * kChunk, std::min(left, kChunk));
      visit(entries);
      left -= entries.size();
    }
  }

 private:
  static constexpr std::size_t kChunk = 256;  // entries of a bucket that follow one another
  static constexpr int kAhead = 8;            // entries of a cache line

  struct Bucket {
    std::size_t end = 0;  // after the last entry
    std::size_t nchunks = 0;
    std::size_t first = 0;  // chunk
  };

  void begin_chunk(Bucket& bucket);

  int nbits_;
  Ints memory_{"NetPrints: entries"};
  Entry* entries_;
  std::vector<Bucket> buckets_;
  std::vector<std::size_t> next_;  // by chunk: the next one of its bucket
};

/// @param nnets  Number of all nets.
/// @return       Number of bits that tell the bucket of a net: so many that buckets are small.
int bucket_bits(int nnets);

/// Finds nets with the same cells by their fingerprints, which differ for most others.
///
/// @param lists   Of the nets.
/// @param prints  Of the nets to compare, with equally many buckets each.
/// @param nthreads  Threads to use. They do not change the result.
/// @return        All such nets, ascending.
/// @par Cost      O(nets) time unless many are parallel.
std::vector<ParallelNet> find_parallel_nets(const NetLists& lists, const std::vector<NetPrints>& prints,
                                            int nthreads);

}  // namespace quillon::formats
