#include "formats/parallel_nets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <utility>

#include "formats/on_threads.h"
#include "util/mix.h"

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;
using Entry = NetPrints::Entry;

Cells cells_of(const NetLists& lists, int j) {
  const auto at = static_cast<std::size_t>(j);
  return {lists.nadj.data() + lists.xnadj[at], lists.nadj.data() + lists.xnadj[at + 1]};
}

// Two bits for each byte. Two such pairs are the pattern that a fingerprint leaves in a filter.
constexpr std::array<std::uint64_t, 256> make_bit_pairs() {
  std::array<std::uint64_t, 256> pairs{};
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const std::uint64_t mix = mixed(k + 1);
    pairs[k] = std::uint64_t{1} << (mix & 63U) | std::uint64_t{1} << (mix >> 6U & 63U);
  }
  return pairs;
}

constexpr std::array<std::uint64_t, 256> kBitPairs = make_bit_pairs();

// Fingerprints of a bucket. Four bits of a word tell of nearly all that have not been added.
class Filter {
 public:
  // count  Of fingerprints to add.
  explicit Filter(std::size_t count)
      : shift_(Entry::kPrintBits - static_cast<int>(std::bit_width(count))),
        words_(std::size_t{1} << std::bit_width(count)) {}

  // Adds fingerprints, and to suspects those that may have been there.
  void add(std::span<const Entry> entries, std::vector<std::uint64_t>& suspects) {
    std::uint64_t* const words = words_.data();
    for (const Entry& entry : entries) {
      const std::uint64_t print = entry.print();
      const std::uint64_t pattern = pattern_of(print);
      const std::uint64_t word = words[print >> shift_];
      words[print >> shift_] = word | pattern;
      if ((word & pattern) == pattern) [[unlikely]]
        suspects.push_back(print);
    }
  }

 private:
  static std::uint64_t pattern_of(std::uint64_t print) {
    const std::uint64_t mix = print * kMixStep >> 48U;  // all bits count
    return kBitPairs[mix & 0xFFU] | kBitPairs[mix >> 8U];
  }

  int shift_;
  std::vector<std::uint64_t> words_;
};

// A few fingerprints. A bit for each beginning tells of nearly all that are none of them.
class FewPrints {
 public:
  // prints  Sorted; must outlive this object.
  explicit FewPrints(std::span<const std::uint64_t> prints)
      : prints_(prints),
        shift_(Entry::kPrintBits - std::clamp(static_cast<int>(std::bit_width(prints.size())) + 6, 12, 22)),
        words_(std::size_t{1} << (Entry::kPrintBits - shift_ - 6)) {
    for (const std::uint64_t print : prints)
      words_[print >> shift_ >> 6U] |= std::uint64_t{1} << (print >> shift_ & 63U);
  }

  [[nodiscard]] bool have(std::uint64_t print) const {
    const bool may_have = (words_[print >> shift_ >> 6U] >> (print >> shift_ & 63U) & 1U) != 0;
    return may_have && std::binary_search(prints_.begin(), prints_.end(), print);
  }

 private:
  std::span<const std::uint64_t> prints_;
  int shift_;
  std::vector<std::uint64_t> words_;
};

// Finds nets with the same cells, bucket by bucket.
class ParallelNets {
 public:
  ParallelNets(const NetLists& lists, const std::vector<NetPrints>& prints)
      : lists_(lists), prints_(prints) {}

  // Buckets from first to end - 1.
  void find_in_buckets(std::size_t first, std::size_t end) {
    for (std::size_t bucket = first; bucket < end; ++bucket)
      if (const std::vector<std::uint64_t> suspects = suspects_in(bucket); !suspects.empty())
        compare(entries_like(bucket, suspects));
  }

  std::vector<ParallelNet> found;

 private:
  template <typename Visit>
  void for_each_in(std::size_t bucket, Visit visit) const {
    for (const NetPrints& prints : prints_) prints.for_each(bucket, visit);
  }

  // Fingerprints of more than one net, and a few others, sorted.
  [[nodiscard]] std::vector<std::uint64_t> suspects_in(std::size_t bucket) const {
    std::size_t size = 0;
    for (const NetPrints& prints : prints_) size += prints.size(bucket);
    Filter filter(size);
    std::vector<std::uint64_t> suspects;
    for_each_in(bucket, [&](std::span<const Entry> entries) { filter.add(entries, suspects); });
    std::sort(suspects.begin(), suspects.end());
    suspects.erase(std::unique(suspects.begin(), suspects.end()), suspects.end());
    return suspects;
  }

  // Those with the given fingerprints, by fingerprint and net.
  [[nodiscard]] std::vector<Entry> entries_like(std::size_t bucket,
                                                std::span<const std::uint64_t> suspects) const {
    const FewPrints prints(suspects);
    std::vector<Entry> entries;
    for_each_in(bucket, [&](std::span<const Entry> some) {
      for (const Entry& entry : some)
        if (prints.have(entry.print())) entries.push_back(entry);
    });
    std::sort(entries.begin(), entries.end());
    return entries;
  }

  void compare(std::span<const Entry> entries) {
    for (std::size_t begin = 0, end = 0; begin < entries.size(); begin = end) {
      while (end < entries.size() && entries[end].print() == entries[begin].print()) ++end;
      compare_like(entries.subspan(begin, end - begin));
    }
  }

  // Of one fingerprint. If many of them differ, the keys were made to be the same.
  void compare_like(std::span<const Entry> entries) {
    constexpr std::size_t kMany = 8;
    std::vector<int> firsts;
    const std::size_t nfound = found.size();
    for (const Entry& entry : entries) {
      add_net(entry.net(), firsts);
      if (firsts.size() < kMany) continue;
      found.resize(nfound);
      return compare_by_hashes(entries);
    }
  }

  void compare_by_hashes(std::span<const Entry> entries) {
    std::vector<std::pair<std::uint64_t, int>> nets;
    for (const Entry& entry : entries) nets.emplace_back(hash_of(entry.net()), entry.net());
    std::sort(nets.begin(), nets.end());
    std::vector<int> firsts;
    for (std::size_t k = 0; k < nets.size(); ++k) {
      if (k > 0 && nets[k].first != nets[k - 1].first) firsts.clear();
      add_net(nets[k].second, firsts);
    }
  }

  // Adds it to `found`, or to the nets that differ.
  void add_net(int j, std::vector<int>& firsts) {
    const auto same =
        std::find_if(firsts.begin(), firsts.end(), [&](int first) { return are_same(first, j); });
    if (same == firsts.end())
      firsts.push_back(j);
    else
      found.push_back({j, *same});
  }

  // Of the set of cells.
  [[nodiscard]] std::uint64_t hash_of(int j) const {
    std::uint64_t hash = 0;
    for (const int i : sorted_set(cells_of(lists_, j))) hash += mixed(secret_ ^ static_cast<unsigned>(i));
    return hash;
  }

  [[nodiscard]] bool are_same(int a, int b) const {
    const Cells first = cells_of(lists_, a);
    const Cells second = cells_of(lists_, b);
    if (std::equal(first.begin(), first.end(), second.begin(), second.end())) return true;
    return sorted_set(first) == sorted_set(second);
  }

  const NetLists& lists_;
  const std::vector<NetPrints>& prints_;
  const std::uint64_t secret_ = std::uint64_t{std::random_device()()}
                                << 32;  // so that hashes are not to be guessed
};

}  // namespace

std::vector<int> sorted_set(std::span<const int> cells) {
  std::vector<int> set(cells.begin(), cells.end());
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  return set;
}

NetPrints::NetPrints(std::size_t most, int nbits) : nbits_(nbits), buckets_(std::size_t{1} << nbits) {
  constexpr std::size_t kIntsPerEntry = sizeof(Entry) / sizeof(int);
  entries_ = reinterpret_cast<Entry*>(memory_.extend(kIntsPerEntry * (most + (kChunk << nbits))));
}

void NetPrints::begin_chunk(Bucket& bucket) {
  const std::size_t chunk = next_.size();
  (bucket.nchunks++ == 0 ? bucket.first : next_[(bucket.end - 1) / kChunk]) = chunk;
  next_.push_back(0);
  bucket.end = chunk * kChunk;
}

int bucket_bits(int nnets) {
  constexpr std::size_t kNetsPerBucket = std::size_t{1} << 12U;
  return std::clamp(static_cast<int>(std::bit_width(nnets / kNetsPerBucket)), 1, 9);
}

std::vector<ParallelNet> find_parallel_nets(const NetLists& lists, const std::vector<NetPrints>& prints,
                                            int nthreads) {
  const std::size_t nbuckets = prints.front().nbuckets();
  std::vector<ParallelNets> parts(static_cast<std::size_t>(nthreads), ParallelNets(lists, prints));
  on_threads(nthreads, [&](int part) {
    const auto k = static_cast<std::size_t>(part);
    parts[k].find_in_buckets(nbuckets * k / parts.size(), nbuckets * (k + 1) / parts.size());
  });
  std::vector<ParallelNet> found;
  for (const ParallelNets& part : parts) found.insert(found.end(), part.found.begin(), part.found.end());
  std::sort(found.begin(), found.end(),
            [](const ParallelNet& a, const ParallelNet& b) { return a.net < b.net; });
  return found;
}

}  // namespace quillon::formats
