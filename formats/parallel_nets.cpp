#include "formats/parallel_nets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "formats/on_threads.h"
#include "util/mix.h"

namespace quillon::formats {
namespace {

using Cells = std::span<const int>;

Cells cells_of(const NetLists& lists, int j) {
  const auto at = static_cast<std::size_t>(j);
  return {lists.nadj.data() + lists.xnadj[at], lists.nadj.data() + lists.xnadj[at + 1]};
}

std::vector<int> sorted_set(Cells cells) {
  std::vector<int> set(cells.begin(), cells.end());
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  return set;
}

// Two bits for each byte. Two such pairs are the pattern that a fingerprint leaves in a filter.
constexpr std::array<std::uint32_t, 256> make_bit_pairs() {
  std::array<std::uint32_t, 256> pairs{};
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const std::uint64_t mix = mixed(k + 1);
    pairs[k] = 1U << (mix & 31U) | 1U << (mix >> 5U & 31U);
  }
  return pairs;
}

constexpr std::array<std::uint32_t, 256> kBitPairs = make_bit_pairs();

// Fingerprints with the same upper bits. Four bits of a word tell of nearly all that have not been added.
class Filter {
 public:
  // count    Of fingerprints to add.
  // nshared  Bits that all of them share.
  Filter(std::size_t count, int nshared)
      : nshared_(nshared),
        nbits_(static_cast<int>(std::bit_width(count))),
        words_(std::size_t{1} << nbits_) {}

  // Returns whether it may have been there.
  bool add(std::uint32_t print) {
    std::uint32_t& word = words_[std::uint64_t{print << nshared_} << nbits_ >> 32U];
    const std::uint32_t pattern = pattern_of(print);
    const bool was_there = (word & pattern) == pattern;
    word |= pattern;
    return was_there;
  }

 private:
  static std::uint32_t pattern_of(std::uint32_t print) {
    constexpr std::uint32_t kFactor = 0x9E3779B1;  // so that all bits count
    const std::uint32_t mix = print * kFactor >> 16U;
    return kBitPairs[mix & 0xFFU] | kBitPairs[mix >> 8U];
  }

  int nshared_;
  int nbits_;  // of the index of a word
  std::vector<std::uint32_t> words_;
};

// A few fingerprints. A bit for each beginning tells of nearly all that are none of them.
class FewPrints {
 public:
  // prints  Sorted; must outlive this object.
  explicit FewPrints(std::span<const std::uint32_t> prints)
      : prints_(prints),
        shift_(32 - std::clamp(static_cast<int>(std::bit_width(prints.size())) + 6, 18, 22)),
        words_(std::size_t{1} << (32 - shift_ - 6)) {
    for (const std::uint32_t print : prints)
      words_[print >> shift_ >> 6U] |= std::uint64_t{1} << (print >> shift_ & 63U);
  }

  [[nodiscard]] bool have(std::uint32_t print) const {
    const bool may_have = (words_[print >> shift_ >> 6U] >> (print >> shift_ & 63U) & 1U) != 0;
    return may_have && std::binary_search(prints_.begin(), prints_.end(), print);
  }

 private:
  std::span<const std::uint32_t> prints_;
  int shift_;
  std::vector<std::uint64_t> words_;
};

// Finds nets with the same cells by their fingerprints, which differ for nearly all nets. The fingerprints
// are sorted into buckets, so that the filter of a bucket stays in the cache.
class ParallelNets {
 public:
  ParallelNets(const NetLists& lists, const Ints& prints, const std::vector<NetsOfPart>& parts)
      : lists_(lists),
        prints_(prints),
        parts_(parts),
        nbits_(std::min(static_cast<int>(std::bit_width(prints.size() / kNetsPerBucket)), kMostBits)) {
    sorted_.extend(prints.size());
  }

  std::vector<ParallelNet> find() {
    sort_into_buckets();
    find_suspects();
    std::vector<ParallelNet> found;
    const std::vector<std::uint64_t> nets = nets_like_suspects();
    const auto print_of_entry = [&nets](std::size_t k) { return nets[k] >> 32U; };
    for (std::size_t begin = 0, end = 0; begin < nets.size(); begin = end) {
      while (end < nets.size() && print_of_entry(end) == print_of_entry(begin)) ++end;
      find_in(std::span(nets).subspan(begin, end - begin), found);
    }
    std::sort(found.begin(), found.end(),
              [](const ParallelNet& a, const ParallelNet& b) { return a.net < b.net; });
    return found;
  }

 private:
  static constexpr std::size_t kNetsPerBucket = std::size_t{1} << 13U;
  static constexpr int kMostBits = 8;  // of the number of a bucket
  static constexpr int kAhead = 16;    // of a cache line to fetch

  using Counts = std::vector<int>;

  [[nodiscard]] int nparts() const { return static_cast<int>(parts_.size()); }
  [[nodiscard]] std::size_t nbuckets() const { return std::size_t{1} << nbits_; }

  std::span<const int> prints_of(int part) const {
    const NetsOfPart& nets = parts_[static_cast<std::size_t>(part)];
    return {prints_.data() + nets.first, static_cast<std::size_t>(nets.last + 1 - nets.first)};
  }

  [[nodiscard]] std::size_t bucket_of(int print) const {
    return std::uint64_t{static_cast<std::uint32_t>(print)} << nbits_ >> 32U;
  }

  void sort_into_buckets() {
    std::vector<Counts> next(parts_.size(), Counts(nbuckets()));  // by part and bucket
    on_threads(nparts(), [&](int part) {
      int* const counts = next[static_cast<std::size_t>(part)].data();
      for (const int print : prints_of(part)) ++counts[bucket_of(print)];
    });
    int end = 0;
    for (std::size_t bucket = 0; bucket < nbuckets(); ++bucket) {
      for (Counts& counts : next) end += std::exchange(counts[bucket], end);
      ends_.push_back(end);
    }
    on_threads(nparts(), [&](int part) {
      int* const places = next[static_cast<std::size_t>(part)].data();
      int* const sorted = sorted_.data();
      for (const int print : prints_of(part)) {
        int* const place = sorted + places[bucket_of(print)]++;
        __builtin_prefetch(place + kAhead, 1);
        *place = print;
      }
    });
  }

  // Fingerprints of more than one net, and a few others.
  void find_suspects() {
    std::vector<std::vector<std::uint32_t>> found(parts_.size());
    on_threads(nparts(), [&](int part) {
      const std::size_t count = nbuckets();
      const std::size_t first = count * static_cast<std::size_t>(part) / parts_.size();
      const std::size_t last = count * (static_cast<std::size_t>(part) + 1) / parts_.size();
      for (std::size_t k = first; k < last; ++k) find_suspects_in(k, found[static_cast<std::size_t>(part)]);
    });
    for (const std::vector<std::uint32_t>& of_part : found)
      suspects_.insert(suspects_.end(), of_part.begin(), of_part.end());
    std::sort(suspects_.begin(), suspects_.end());
    suspects_.erase(std::unique(suspects_.begin(), suspects_.end()), suspects_.end());
  }

  void find_suspects_in(std::size_t bucket, std::vector<std::uint32_t>& found) const {
    const int begin = bucket == 0 ? 0 : ends_[bucket - 1];
    const auto size = static_cast<std::size_t>(ends_[bucket] - begin);
    Filter filter(size, nbits_);
    for (const int its : std::span(sorted_.data() + begin, size)) {
      const auto print = static_cast<std::uint32_t>(its);
      if (filter.add(print) && print != 0) [[unlikely]]
        found.push_back(print);
    }
  }

  // Fingerprint and net, sorted, of the nets that may be parallel to another one.
  [[nodiscard]] std::vector<std::uint64_t> nets_like_suspects() const {
    if (suspects_.empty()) return {};
    const FewPrints suspects(suspects_);
    std::vector<std::vector<std::uint64_t>> found(parts_.size());
    on_threads(nparts(), [&](int part) {
      auto j = static_cast<std::uint32_t>(parts_[static_cast<std::size_t>(part)].first);
      for (const int its : prints_of(part)) {
        const auto print = static_cast<std::uint32_t>(its);
        if (suspects.have(print)) [[unlikely]]
          found[static_cast<std::size_t>(part)].push_back(std::uint64_t{print} << 32U | j);
        ++j;
      }
    });
    std::vector<std::uint64_t> nets;
    for (const std::vector<std::uint64_t>& of_part : found)
      nets.insert(nets.end(), of_part.begin(), of_part.end());
    std::sort(nets.begin(), nets.end());
    return nets;
  }

  // Of nets with the same fingerprint, in ascending order.
  void find_in(std::span<const std::uint64_t> nets, std::vector<ParallelNet>& found) const {
    std::vector<int> firsts;
    for (const std::uint64_t print_and_net : nets) {
      const auto j = static_cast<int>(print_and_net);
      const auto same =
          std::find_if(firsts.begin(), firsts.end(), [&](int first) { return are_same(first, j); });
      if (same == firsts.end())
        firsts.push_back(j);
      else
        found.push_back({j, *same});
    }
  }

  [[nodiscard]] bool are_same(int a, int b) const {
    const Cells first = cells_of(lists_, a);
    const Cells second = cells_of(lists_, b);
    if (std::equal(first.begin(), first.end(), second.begin(), second.end())) return true;
    return sorted_set(first) == sorted_set(second);
  }

  const NetLists& lists_;
  const Ints& prints_;  // by net
  const std::vector<NetsOfPart>& parts_;
  const int nbits_;                      // of the number of a bucket
  Ints sorted_{"ParallelNets: sorted"};  // the fingerprints, by bucket
  std::vector<int> ends_;                // of buckets in `sorted_`
  std::vector<std::uint32_t> suspects_;  // sorted
};

}  // namespace

std::vector<ParallelNet> find_parallel_nets(const NetLists& lists, const Ints& prints,
                                            const std::vector<NetsOfPart>& parts) {
  return ParallelNets(lists, prints, parts).find();
}

}  // namespace quillon::formats
