#include "measures/difference.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

#include "hypergraph/detail/lists.h"
#include "measures/common_pins.h"
#include "measures/net_keys.h"

namespace quillon::measures {
namespace {

// The net of each net of the other hypergraph, 0 for none. Before the first net and after the last, each has
// one more that belongs to that of the other.
struct Partners {
  Partners(int nfirst, int nsecond)
      : of_first(static_cast<std::size_t>(nfirst) + 2, 0),
        of_second(static_cast<std::size_t>(nsecond) + 2, 0) {
    of_first.back() = nsecond + 1;
    of_second.back() = nfirst + 1;
  }

  void join(int j, int k) {
    of_first[static_cast<std::size_t>(j)] = k;
    of_second[static_cast<std::size_t>(k)] = j;
  }

  [[nodiscard]] bool has_first(int j) const { return of_first[static_cast<std::size_t>(j)] != 0; }
  [[nodiscard]] bool has_second(int k) const { return of_second[static_cast<std::size_t>(k)] != 0; }

  std::vector<int> of_first;
  std::vector<int> of_second;
};

// The entries of an increasing subsequence that is as long as any, by index.
std::vector<bool> longest_increasing(const std::vector<NetPair>& pairs) {
  constexpr std::size_t kNoPair = std::numeric_limits<std::size_t>::max();
  std::vector<std::size_t> ends;  // by length - 1: the entry with the smallest value that ends one so long
  std::vector<std::size_t> before(pairs.size(), kNoPair);
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    auto place = ends.end();
    if (!ends.empty() && pairs[ends.back()].second > pairs[k].second)
      place = std::lower_bound(ends.begin(), ends.end(), pairs[k].second,
                               [&](std::size_t entry, int value) { return pairs[entry].second < value; });
    if (place != ends.begin()) before[k] = *(place - 1);
    if (place == ends.end())
      ends.push_back(k);
    else
      *place = k;
  }
  std::vector<bool> is_in(pairs.size(), false);
  for (std::size_t k = ends.empty() ? kNoPair : ends.back(); k != kNoPair; k = before[k]) is_in[k] = true;
  return is_in;
}

class Differ {
 public:
  Differ(const Hypergraph& first, const Hypergraph& second, const Tolerance& tolerance)
      : first_(first),
        second_(second),
        tolerance_(tolerance),
        common_(std::max(first._c, second._c)),
        partners_(first._n, second._n) {}

  Difference find() {
    compare_cells();
    trim();
    join_equal();
    join_same_cells();
    join_neighbours([this](int j, int k) { return are_alike(j, k); });
    for (const std::uint64_t salt : {1U, 2U}) join_by_smallest_hash(salt);
    join_neighbours([this](int j, int k) { return common_.count(pins1(j), pins2(k)) > 0; });
    for (int j = begin_; j < end1_; ++j)
      if (!partners_.has_first(j)) found_.only_first.push_back(j);
    for (int k = begin_; k < end2_; ++k)
      if (!partners_.has_second(k)) found_.only_second.push_back(k);
    std::sort(found_.changed.begin(), found_.changed.end(),
              [](const ChangedNet& a, const ChangedNet& b) { return a.first < b.first; });
    return std::move(found_);
  }

 private:
  [[nodiscard]] Pins pins1(int j) const { return pins_of(first_._nlst[j]); }
  [[nodiscard]] Pins pins2(int k) const { return pins_of(second_._nlst[k]); }
  [[nodiscard]] bool have_same_weight(int j, int k) const { return first_._nlst[j].w == second_._nlst[k].w; }

  bool are_equal(int j, int k) {
    if (!have_same_weight(j, k)) return false;
    const Pins a = pins1(j);
    const Pins b = pins2(k);
    if (std::equal(a.begin(), a.end(), b.begin(), b.end())) return true;
    return tolerance_.pin_order && common_.are_same(a, b);
  }

  // Whether at least half of the pins of the larger net are common.
  bool are_alike(int j, int k) {
    return 2 * common_.count(pins1(j), pins2(k)) >= std::max(pins1(j).size(), pins2(k).size());
  }

  [[nodiscard]] std::uint64_t key_of(const Net& net) const {
    const Pins pins = pins_of(net);
    const std::uint64_t hash = tolerance_.pin_order ? hash_of_set(pins) : hash_of_sequence(pins);
    return spread(hash + static_cast<std::uint32_t>(net.w));
  }

  // The smallest hash of a cell: two nets have the same with the probability of a cell of either to be common
  // (A. Broder, "On the resemblance and containment of documents", 1997).
  static std::uint64_t smallest_hash(Pins pins, std::uint64_t salt) {
    std::uint64_t smallest = std::numeric_limits<std::uint64_t>::max();
    for (const int i : pins)
      smallest = std::min(smallest, spread(salt << 32U | static_cast<std::uint32_t>(i)));
    return smallest;
  }

  void compare_cells() {
    found_.ncells_added = second_._c - first_._c;
    for (int i = 1; i <= std::min(first_._c, second_._c); ++i)
      if (first_._clst[i].w != second_._clst[i].w) found_.weights.push_back(i);
  }

  // Leaves out the equal nets at the beginning and at the end.
  void trim() {
    end1_ = first_._n + 1;
    end2_ = second_._n + 1;
    for (; begin_ < end1_ && begin_ < end2_ && are_equal(begin_, begin_); ++begin_)
      partners_.join(begin_, begin_);
    for (; begin_ < end1_ && begin_ < end2_ && are_equal(end1_ - 1, end2_ - 1); --end1_, --end2_)
      partners_.join(end1_ - 1, end2_ - 1);
  }

  // Matches the nets left whose keys are the same and for which `matches(j, k)` holds, in their order.
  // `key` gives the key of a net.
  template <typename Key, typename Matches>
  std::vector<NetPair> match(Key key, Matches matches) {
    NetsByKey nets(static_cast<std::size_t>(
        std::count(partners_.of_second.begin() + begin_, partners_.of_second.begin() + end2_, 0)));
    for (int k = begin_; k < end2_; ++k)
      if (!partners_.has_second(k)) nets.add(key(second_._nlst[k]), k);
    std::vector<NetPair> pairs;
    for (int j = begin_; j < end1_; ++j) {
      if (partners_.has_first(j)) continue;
      const int k = nets.take(key(first_._nlst[j]), [&](int candidate) { return matches(j, candidate); });
      if (k != 0) pairs.push_back({j, k});
    }
    return pairs;
  }

  void join_equal() {
    const std::vector<NetPair> pairs = match([this](const Net& net) { return key_of(net); },
                                             [this](int j, int k) { return are_equal(j, k); });
    for (const NetPair& pair : pairs) partners_.join(pair.first, pair.second);
    if (tolerance_.net_order) return;
    const std::vector<bool> stays = longest_increasing(pairs);
    for (std::size_t k = 0; k < pairs.size(); ++k)
      if (!stays[k]) found_.moved.push_back(pairs[k]);
  }

  void add_changed(int j, int k) {
    partners_.join(j, k);
    const Pins a = pins1(j);
    const Pins b = pins2(k);
    PinChange pins = PinChange::kNone;
    if (!std::equal(a.begin(), a.end(), b.begin(), b.end()))
      pins = common_.are_same(a, b) ? PinChange::kReordered : PinChange::kOther;
    if (pins == PinChange::kReordered && tolerance_.pin_order) pins = PinChange::kNone;
    found_.changed.push_back({j, k, pins, !have_same_weight(j, k)});
  }

  void join_same_cells() {
    for (const NetPair& pair : match([](const Net&net) { return hash_of_set(pins_of(net)); },
                                     [this](int j, int k) { return common_.are_same(pins1(j), pins2(k)); }))
      add_changed(pair.first, pair.second);
  }

  // Each net is tried once, so that the time stays linear.
  void join_by_smallest_hash(std::uint64_t salt) {
    for (const NetPair& pair : match([salt](const Net& net) { return smallest_hash(pins_of(net), salt); },
                                     [](int, int) { return true; }))
      if (are_alike(pair.first, pair.second)) add_changed(pair.first, pair.second);
  }

  // Matches the net after net j with the net after the partner of j, and likewise before, for which
  // `matches(j, k)` holds.
  template <typename Matches>
  void join_neighbours(Matches matches) {
    const auto join_if = [&](int j, int k) {
      const bool are_left = !partners_.has_first(j) && k >= begin_ && k < end2_ && !partners_.has_second(k);
      if (are_left && matches(j, k)) add_changed(j, k);
    };
    for (int j = begin_; j < end1_; ++j)
      if (j == 1 || partners_.has_first(j - 1))
        join_if(j, partners_.of_first[static_cast<std::size_t>(j) - 1] + 1);
    for (int j = end1_ - 1; j >= begin_; --j)
      if (partners_.has_first(j + 1)) join_if(j, partners_.of_first[static_cast<std::size_t>(j) + 1] - 1);
  }

  const Hypergraph& first_;
  const Hypergraph& second_;
  Tolerance tolerance_;
  CommonPins common_;
  Partners partners_;
  Difference found_;
  int begin_ = 1;  // the first nets that are not trimmed
  int end1_ = 1;   // after the last of the first hypergraph
  int end2_ = 1;   // and of the second
};

}  // namespace

bool Difference::is_empty() const { return is_order_only() && changed.empty() && moved.empty(); }

bool Difference::is_order_only() const {
  return ncells_added == 0 && weights.empty() && only_first.empty() && only_second.empty() &&
         std::all_of(changed.begin(), changed.end(),
                     [](const ChangedNet& net) { return net.pins != PinChange::kOther && !net.has_weight; });
}

Difference difference(const Hypergraph& first, const Hypergraph& second, const Tolerance& tolerance) {
  return Differ(first, second, tolerance).find();
}

}  // namespace quillon::measures
