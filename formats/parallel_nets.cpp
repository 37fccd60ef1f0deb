#include "formats/parallel_nets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <span>
#include <utility>

#include "formats/on_threads.h"
#include "formats/short_nets.h"
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

// The cells of a short net as from `sorted_set`, without a request for memory.
class ShortSet {
 public:
  explicit ShortSet(Cells cells) : end_(std::copy(cells.begin(), cells.end(), cells_.begin())) {
    std::sort(cells_.begin(), end_);
    end_ = std::unique(cells_.begin(), end_);
  }
  ShortSet(const ShortSet&) = delete;
  ShortSet& operator=(const ShortSet&) = delete;

  [[nodiscard]] Cells cells() const { return {cells_.data(), end_}; }

 private:
  std::array<int, kShortNet> cells_;
  std::array<int, kShortNet>::iterator end_;
};

// Two nets of one fingerprint, the first of it and another.
struct Candidate {
  std::uint64_t print;
  int first;
  int net;
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

  // Those with the given fingerprints, by net. If there are many fingerprints, perhaps others too.
  [[nodiscard]] std::vector<Entry> entries_like(std::size_t bucket,
                                                std::span<const std::uint64_t> suspects) const {
    constexpr std::size_t kMany = 256;  // for the bits of FewPrints
    const FewPrints prints(suspects);
    const bool has_many = suspects.size() > kMany;
    std::vector<Entry> entries;
    for_each_in(bucket, [&](std::span<const Entry> some) {
      for (const Entry& entry : some)
        if (has_many || prints.have(entry.print())) entries.push_back(entry);
    });
    return entries;
  }

  void compare(std::span<const Entry> entries) {
    list_candidates(entries);
    const std::vector<std::uint64_t> odd = prints_of_others();
    for (const Candidate& candidate : candidates_)
      if (!have(odd, candidate.print)) [[likely]]
        found.push_back({candidate.net, candidate.first});
    if (!odd.empty()) compare_all(entries, odd);
  }

  static bool have(const std::vector<std::uint64_t>& prints, std::uint64_t print) {
    return !prints.empty() && std::binary_search(prints.begin(), prints.end(), print);
  }

  // Nets that are not the first of their fingerprint.
  void list_candidates(std::span<const Entry> entries) {
    const int nbits = static_cast<int>(std::bit_width(entries.size())) + 1;
    firsts_.assign(std::size_t{1} << nbits, 0);
    candidates_.clear();
    for (std::size_t k = 0; k < entries.size(); ++k) {
      const std::uint64_t print = entries[k].print();
      std::size_t slot = mixed(secret_ ^ print) >> (64 - nbits);
      while (firsts_[slot] != 0 && entries[firsts_[slot] - 1].print() != print)
        slot = (slot + 1) & (firsts_.size() - 1);
      if (firsts_[slot] == 0)
        firsts_[slot] = static_cast<std::uint32_t>(k) + 1;
      else
        candidates_.push_back({print, entries[firsts_[slot] - 1].net(), entries[k].net()});
    }
  }

  // Nets of one fingerprint are anywhere in memory.
  void prefetch(std::size_t k) const {
    constexpr std::size_t kAhead = 16;
    if (k + 2 * kAhead < candidates_.size()) {
      const Candidate& later = candidates_[k + 2 * kAhead];
      __builtin_prefetch(lists_.xnadj.data() + later.first);
      __builtin_prefetch(lists_.xnadj.data() + later.net);
    }
    if (k + kAhead < candidates_.size()) {
      const Candidate& later = candidates_[k + kAhead];
      __builtin_prefetch(cells_of(lists_, later.first).data());
      __builtin_prefetch(cells_of(lists_, later.net).data());
    }
  }

  // Fingerprints of candidates that are not like the first, sorted.
  [[nodiscard]] std::vector<std::uint64_t> prints_of_others() const {
    std::vector<std::uint64_t> prints;
    for (std::size_t k = 0; k < candidates_.size(); ++k) {
      prefetch(k);
      const Candidate& candidate = candidates_[k];
      if (!are_same(candidate.first, candidate.net)) prints.push_back(candidate.print);
    }
    std::sort(prints.begin(), prints.end());
    prints.erase(std::unique(prints.begin(), prints.end()), prints.end());
    return prints;
  }

  // Compares the nets of these fingerprints with all that are before them.
  void compare_all(std::span<const Entry> entries, const std::vector<std::uint64_t>& prints) {
    std::vector<Entry> sorted;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(sorted),
                 [&prints](const Entry& entry) { return have(prints, entry.print()); });
    std::sort(sorted.begin(), sorted.end());
    const std::span<const Entry> all = sorted;
    for (std::size_t begin = 0, end = 0; begin < all.size(); begin = end) {
      while (end < all.size() && all[end].print() == all[begin].print()) ++end;
      compare_like(all.subspan(begin, end - begin));
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
    if (std::max(first.size(), second.size()) > kShortNet) return sorted_set(first) == sorted_set(second);
    const ShortSet first_set(first);
    const ShortSet second_set(second);
    return std::ranges::equal(first_set.cells(), second_set.cells());
  }

  const NetLists& lists_;
  const std::vector<NetPrints>& prints_;
  std::vector<std::uint32_t> firsts_;  // by hash of a fingerprint: index of its first net, from 1; 0: none
  std::vector<Candidate> candidates_;
  const std::uint64_t secret_ = std::uint64_t{std::random_device()()}
                                << 32;  // so that hashes are not to be guessed
};

// nnets  More than the largest number of a net.
void sort_by_net(std::vector<ParallelNet>& nets, std::size_t nnets) {
  constexpr std::size_t kMany = 16;
  if (kMany * nets.size() < nnets) {
    std::sort(nets.begin(), nets.end(),
              [](const ParallelNet& a, const ParallelNet& b) { return a.net < b.net; });
    return;
  }
  std::vector<int> earlier(nnets);
  for (const ParallelNet& net : nets) earlier[static_cast<std::size_t>(net.net)] = net.earlier;
  nets.clear();
  for (std::size_t j = 1; j < nnets; ++j)
    if (earlier[j] != 0) nets.push_back({static_cast<int>(j), earlier[j]});
}

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
  sort_by_net(found, lists.xnadj.size());
  return found;
}

}  // namespace quillon::formats
