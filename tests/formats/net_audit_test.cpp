// Repeated pins, parallel nets and the like, against sets.

#include "formats/net_audit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/on_threads.h"
#include "formats/short_nets.h"
#include "formats/threads.h"
#include "tests/formats/dice.h"

namespace quillon::formats {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::ThrowsMessage;

using Nets = std::vector<std::vector<int>>;

NetLists lists_of(const Nets& nets, int ncells) {
  NetLists lists;
  lists.ncells = ncells;
  begin_nets(lists, static_cast<int>(nets.size()));
  for (const std::vector<int>& cells : nets) {
    for (const int i : cells) lists.nadj.push_back(i);
    end_net(lists);
  }
  return lists;
}

// What audit_nets has to find, by sets and maps.
NetFindings findings_by_sets(const Nets& nets, int ncells, const std::vector<int>& damaged,
                             std::size_t most_kept) {
  NetFindings found;
  std::map<std::set<int>, int> first_net;
  std::set<int> isolated;
  for (int i = 1; i <= ncells; ++i) isolated.insert(i);
  for (int j = 1; j <= std::ssize(nets); ++j) {
    const std::vector<int>& cells = nets[static_cast<std::size_t>(j) - 1];
    for (const int i : cells) isolated.erase(i);
    if (std::count(damaged.begin(), damaged.end(), j) > 0) continue;
    if (cells.empty()) found.empty_nets.add(j, most_kept);
    if (cells.size() == 1) found.one_pin_nets.add(j, most_kept);
    std::map<int, int> first_pin;
    for (int k = 0; k < std::ssize(cells); ++k)
      if (const auto [entry, is_new] = first_pin.emplace(cells[static_cast<std::size_t>(k)], k); !is_new)
        found.repeated_pins.add({j, entry->second, k}, most_kept);
    if (cells.size() < 2) continue;
    const auto [entry, is_new] = first_net.emplace(std::set(cells.begin(), cells.end()), j);
    if (!is_new) found.parallel_nets.push_back({j, entry->second});
  }
  found.isolated_cells = {std::ssize(isolated), isolated.empty() ? 0 : *isolated.begin()};
  return found;
}

template <typename Entry>
void expect_same(const Tally<Entry>& found, const Tally<Entry>& expected) {
  EXPECT_EQ(found.count, expected.count);
  EXPECT_TRUE(found.first == expected.first);
}

void expect_same(const NetFindings& found, const NetFindings& expected) {
  expect_same(found.empty_nets, expected.empty_nets);
  expect_same(found.one_pin_nets, expected.one_pin_nets);
  expect_same(found.repeated_pins, expected.repeated_pins);
  EXPECT_TRUE(found.parallel_nets == expected.parallel_nets);
  EXPECT_EQ(found.isolated_cells.count, expected.isolated_cells.count);
  EXPECT_EQ(found.isolated_cells.first, expected.isolated_cells.first);
}

Nets random_nets(Dice& dice, int ncells) {
  Nets nets(static_cast<std::size_t>(dice.from_to(0, 60)));
  const int largest = dice.from_to(1, 40);
  for (std::vector<int>& cells : nets) {
    cells.resize(static_cast<std::size_t>(dice.from_to(0, largest)));
    for (int& i : cells) i = dice.from_to(1, ncells);
    if (dice.from_to(0, 2) > 0) continue;
    std::sort(cells.begin(), cells.end());  // without repetitions
    cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
  }
  for (std::size_t j = 1; j < nets.size(); ++j)
    if (dice.from_to(0, 4) == 0) {
      nets[j] = nets[static_cast<std::size_t>(dice.from_to(0, static_cast<int>(j) - 1))];
      std::reverse(nets[j].begin(), nets[j].end());
    }
  return nets;
}

TEST(AuditNets, AgreesWithSetsOnRandomNetsOnAnyNumberOfThreads) {
  for (unsigned seed = 1; seed <= 600; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 6 : 1000);
    const Nets nets = random_nets(dice, ncells);
    std::vector<int> damaged;
    for (int j = 1; j <= std::ssize(nets); ++j)
      if (dice.from_to(0, 9) == 0) damaged.push_back(j);
    const auto most_kept = static_cast<std::size_t>(dice.from_to(0, 1) == 0 ? 1000 : dice.from_to(0, 5));
    const NetFindings expected = findings_by_sets(nets, ncells, damaged, most_kept);
    constexpr int kThreads[] = {1, 2, 7};
    const NetLists lists = lists_of(nets, ncells);
    expect_same(audit_nets(lists, damaged, most_kept, kThreads[seed % 3]), expected);
    const IsolatedCells isolated = find_isolated_cells(lists, kThreads[seed % 3]);
    EXPECT_EQ(isolated.count, expected.isolated_cells.count);
    EXPECT_EQ(isolated.first, expected.isolated_cells.first);
    if (HasFailure()) return;
  }
}

// Appends nets up to `last`, and their numbers to `damaged` if they are there.
void append_nets(const Nets& nets, int last, const std::vector<int>& all_damaged, NetLists& lists,
                 std::vector<int>& damaged) {
  for (int j = static_cast<int>(lists.xnadj.size()) - 1; j <= last; ++j) {
    for (const int i : nets[static_cast<std::size_t>(j) - 1]) lists.nadj.push_back(i);
    end_net(lists);
    if (std::count(all_damaged.begin(), all_damaged.end(), j) > 0) damaged.push_back(j);
  }
}

TEST(NetAudit, FindsTheSameWhileNetsAreRead) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 9 : 10000);
    Nets nets;
    for (int k = dice.from_to(0, 60); k > 0; --k)
      for (const std::vector<int>& cells : random_nets(dice, ncells)) nets.push_back(cells);
    const int nnets = static_cast<int>(nets.size());
    std::vector<int> all_damaged;
    for (int j = 1; j <= nnets; ++j)
      if (dice.from_to(0, 99) == 0) all_damaged.push_back(j);

    NetLists lists = lists_of({}, ncells);
    lists.nnets = nnets + dice.from_to(0, 1);  // one may be missing
    std::vector<int> damaged;
    NetAudit audit(lists, damaged, 9);
    for (int last = 0; last < nnets;) {
      last = std::min(nnets, last + dice.from_to(0, 1200));
      append_nets(nets, last, all_damaged, lists, damaged);
      if (dice.from_to(0, 3) > 0) audit.look_at(last);
    }
    expect_same(audit.finish(dice.from_to(1, 3)), findings_by_sets(nets, ncells, all_damaged, 9));
    if (HasFailure()) return;
  }
}

TEST(AuditNets, CountsCellsOfDamagedNetsAsUsed) {
  const NetFindings found = audit_nets(lists_of({{2, 2}, {3}, {}}, 130), {1, 2, 3}, 9, 1);
  NetFindings expected;
  expected.isolated_cells = {128, 1};
  expect_same(found, expected);
}

// So many that there are several buckets of them, some nets more than once.
TEST(AuditNets, FindsParallelNetsAmongMany) {
  Nets nets;
  for (int j = 0; j < 50000; ++j) nets.push_back({j % 40000 + 1, j % 40000 + 2});
  for (const int nthreads : {1, 2, 7}) {
    const std::vector<ParallelNet> found = audit_nets(lists_of(nets, 40001), {}, 9, nthreads).parallel_nets;
    ASSERT_EQ(found.size(), 10000U);
    for (int k = 0; k < 10000; ++k) {
      ASSERT_EQ(found[static_cast<std::size_t>(k)], (ParallelNet{40001 + k, 1 + k}));
    }
  }
}

TEST(AuditNets, FindsNetsThatAreAllTheSame) {
  const Nets nets(20000, {3, 1, 2});
  const std::vector<ParallelNet> found = audit_nets(lists_of(nets, 3), {}, 9, 2).parallel_nets;
  ASSERT_EQ(found.size(), 19999U);
  for (int k = 0; k < 19999; ++k) {
    ASSERT_EQ(found[static_cast<std::size_t>(k)], (ParallelNet{2 + k, 1}));
  }
}

NetKey key_of(const std::vector<int>& cells) {
  NetKey key;
  for (const int i : cells) key.add(i);
  return key;
}

// Two pairs of cells with the same key, several times, without a common cell.
std::vector<std::array<std::vector<int>, 2>> pairs_of_one_key(int ncells) {
  std::map<std::uint64_t, std::vector<int>> by_key;
  std::set<int> used;
  std::vector<std::array<std::vector<int>, 2>> found;
  for (int a = 1; a <= ncells; ++a) {
    for (int b = a + 1; b <= ncells; ++b) {
      const auto [entry, is_new] = by_key.emplace(key_of({a, b}).value(), std::vector{a, b});
      const std::vector<int>& other = entry->second;
      if (is_new || used.contains(a) || used.contains(b) || used.contains(other[0]) ||
          used.contains(other[1]))
        continue;
      used.insert({a, b, other[0], other[1]});
      found.push_back({other, {a, b}});
    }
  }
  return found;
}

TEST(AuditNets, TellsManyNetsOfOneKeyFromParallelOnes) {
  constexpr int kCells = 700;
  const auto pairs = pairs_of_one_key(kCells);
  ASSERT_GE(pairs.size(), 6U);
  Nets nets;  // 2^6, of one pair or the other of six
  for (unsigned bits = 0; bits < 64; ++bits) {
    std::vector<int> cells;
    for (unsigned k = 0; k < 6; ++k) {
      const std::vector<int>& pair = pairs[k][bits >> k & 1U];
      cells.insert(cells.end(), pair.begin(), pair.end());
    }
    ASSERT_TRUE(nets.empty() || key_of(cells).value() == key_of(nets[0]).value());
    nets.push_back(cells);
  }
  EXPECT_THAT(audit_nets(lists_of(nets, kCells), {}, 9, 1).parallel_nets, IsEmpty());
  const Nets again(nets.rbegin(), nets.rend());
  nets.insert(nets.end(), again.begin(), again.end());
  const std::vector<ParallelNet> found = audit_nets(lists_of(nets, kCells), {}, 9, 1).parallel_nets;
  ASSERT_EQ(found.size(), 64U);
  for (int k = 0; k < 64; ++k) {
    ASSERT_EQ(found[static_cast<std::size_t>(k)], (ParallelNet{65 + k, 64 - k}));
  }
}

// Without a bit for each: a quarter of a gigabyte.
TEST(AuditNets, CountsTheIsolatedOfVeryManyCells) {
  NetLists lists = lists_of({{1, 2}, {2, 5}, {2147483645, 3}}, 5);
  lists.ncells = 2147483645;
  lists.grow_slowly = true;
  for (const IsolatedCells& found :
       {audit_nets(lists, {}, 9, 1).isolated_cells, find_isolated_cells(lists, 1)}) {
    EXPECT_EQ(found.count, 2147483640);
    EXPECT_EQ(found.first, 4);
  }
}

// Each has memory of its own: a bit per cell, which a header can announce without a pin.
TEST(AuditThreads, AreFewForFewPinsOrManyCells) {
  set_threads(7);
  NetLists lists;
  EXPECT_EQ(audit_threads(lists), 1);
  lists.nadj.resize(3 << 18, 1);
  EXPECT_EQ(audit_threads(lists), 3);
  lists.nadj.resize(20 << 18, 1);
  EXPECT_EQ(audit_threads(lists), 7);
  lists.ncells = 2147483645;
  EXPECT_EQ(audit_threads(lists), 1);
  set_threads(0);
}

TEST(OnThreads, DoesAllPartsAndThrowsWhatTheFirstOfThemThrows) {
  for (const int count : {1, 2, 7}) {
    std::vector<int> calls(static_cast<std::size_t>(count));
    on_threads(count, [&](int part) { ++calls[static_cast<std::size_t>(part)]; });
    EXPECT_THAT(calls, Each(1));
    const auto fail = [&](int part) {
      ++calls[static_cast<std::size_t>(part)];
      if (part >= count / 2) throw std::runtime_error(std::to_string(part));
    };
    EXPECT_THAT([&] { on_threads(count, fail); },
                ThrowsMessage<std::runtime_error>(std::to_string(count / 2)));
    EXPECT_THAT(calls, Each(2));
  }
}

// Of any sizes, at the end of their array or not.
TEST(LookAtNets, IsTheSameInAllWays) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 200 : 2147483645);
    const int largest = dice.from_to(1, 20);
    std::vector<int> starts{dice.from_to(0, 5)};
    for (int k = dice.from_to(1, kNetsAtOnce); k > 0; --k)
      starts.push_back(starts.back() + dice.from_to(0, largest));
    std::vector<int> pins(static_cast<std::size_t>(starts.back() + dice.from_to(0, 20)));
    for (int& i : pins) i = dice.from_to(1, ncells);
    const NetRange nets{pins.data(), starts.data(), static_cast<int>(starts.size()) - 1,
                        pins.data() + pins.size()};
    NetLooks expected;
    NetLooks found;
    look_at_nets_plainly(nets, expected);
    look_at_nets(nets, found);
    for (int k = 0; k < nets.count; ++k) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " net " << k);
      const bool is_near_end = starts[static_cast<std::size_t>(k)] + kShortNet > std::ssize(pins);
      if (!is_near_end) {
        ASSERT_EQ(found.need_look[k], expected.need_look[k]);
      }
      ASSERT_GE(found.need_look[k], expected.need_look[k]);
      if (found.need_look[k] == 0) {
        ASSERT_EQ(found.keys[k], expected.keys[k]);
      }
    }
  }
}

TEST(RepeatedPins, AreAllButTheFirstWithACell) {
  const std::vector<int> pins{5, 3, 5, 2, 3, 5};
  EXPECT_EQ(repeated_pins(pins, pins.data() + pins.size()), 0b110100U);
  EXPECT_EQ(repeated_pins_plainly(pins), 0b110100U);
  EXPECT_EQ(repeated_pins({}, pins.data() + pins.size()), 0U);
}

TEST(RepeatedPins, AreTheSameInAllWays) {
  for (unsigned seed = 1; seed <= 20000; ++seed) {
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 60 : 2147483645);
    std::vector<int> pins(static_cast<std::size_t>(dice.from_to(0, kShortNet) + dice.from_to(0, 20)));
    for (int& i : pins) i = dice.from_to(1, ncells);
    const std::span<const int> net = std::span(pins).first(std::min<std::size_t>(pins.size(), kShortNet));
    ASSERT_EQ(repeated_pins(net, pins.data() + pins.size()), repeated_pins_plainly(net)) << "seed " << seed;
  }
}

TEST(NetKey, IsASumAndABitwiseParity) {
  EXPECT_EQ(key_of({5, 2147483645, 6}).sum, 0x80000008U);
  EXPECT_EQ(key_of({1}).parity, 0x9E3779B1U);
  EXPECT_EQ(key_of({2}).parity, 0x3C6EF362U);
  EXPECT_EQ(key_of({1, 2}).value(), 0x3A2598AD3U);
}

}  // namespace
}  // namespace quillon::formats
