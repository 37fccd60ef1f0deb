// Repeated pins and parallel nets, against sets.

#include "formats/net_audit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "formats/short_nets.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  int from_to(int least, int most) {
    return least + static_cast<int>(engine_() % static_cast<unsigned>(most - least + 1));
  }

 private:
  std::mt19937 engine_;
};

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

class Recorder : public NetVisitor {
 public:
  void empty_net(int j) override { calls.push_back("empty " + std::to_string(j)); }
  void one_pin_net(int j) override { calls.push_back("one pin " + std::to_string(j)); }
  void repeated_pin(const RepeatedPin& pin) override {
    calls.push_back("repeated " + std::to_string(pin.net) + " " + std::to_string(pin.first) + " " +
                    std::to_string(pin.second));
  }
  void parallel_net(const ParallelNet& net) override {
    calls.push_back("parallel " + std::to_string(net.net) + " " + std::to_string(net.earlier));
  }

  std::vector<std::string> calls;
};

// The calls that visit_nets has to make for one net, but for parallel ones.
void visit_plainly(int j, const std::vector<int>& cells, NetVisitor& visitor) {
  if (cells.empty()) visitor.empty_net(j);
  if (cells.size() == 1) visitor.one_pin_net(j);
  std::map<int, int> first;
  for (int k = 0; k < std::ssize(cells); ++k)
    if (const auto [entry, is_new] = first.emplace(cells[static_cast<std::size_t>(k)], k); !is_new)
      visitor.repeated_pin({j, entry->second, k});
}

std::vector<std::string> calls_for(const Nets& nets, const std::vector<int>& damaged) {
  Recorder recorder;
  const auto is_damaged = [&](int j) { return std::count(damaged.begin(), damaged.end(), j) > 0; };
  for (int j = 1; j <= std::ssize(nets); ++j)
    if (!is_damaged(j)) visit_plainly(j, nets[static_cast<std::size_t>(j) - 1], recorder);
  std::map<std::set<int>, int> first;
  for (int j = 1; j <= std::ssize(nets); ++j) {
    const std::vector<int>& cells = nets[static_cast<std::size_t>(j) - 1];
    if (cells.size() < 2 || is_damaged(j)) continue;
    const auto [entry, is_new] = first.emplace(std::set(cells.begin(), cells.end()), j);
    if (!is_new) recorder.parallel_net({j, entry->second});
  }
  return recorder.calls;
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

TEST(VisitNets, AgreesWithSetsOnRandomNets) {
  for (unsigned seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 6 : 1000);
    const Nets nets = random_nets(dice, ncells);
    std::vector<int> damaged;
    for (int j = 1; j <= std::ssize(nets); ++j)
      if (dice.from_to(0, 9) == 0) damaged.push_back(j);
    Recorder recorder;
    const IsolatedCells isolated = visit_nets(lists_of(nets, ncells), damaged, recorder);
    ASSERT_EQ(recorder.calls, calls_for(nets, damaged));
    std::set<int> others;
    for (int i = 1; i <= ncells; ++i) others.insert(i);
    for (const std::vector<int>& cells : nets)
      for (const int i : cells) others.erase(i);
    ASSERT_EQ(isolated.count, std::ssize(others));
    ASSERT_EQ(isolated.first, others.empty() ? 0 : *others.begin());
  }
}

TEST(VisitNets, CountsCellsOfDamagedNetsAsUsed) {
  Recorder recorder;
  const IsolatedCells isolated = visit_nets(lists_of({{2, 2}, {3}, {}}, 130), {1, 2, 3}, recorder);
  EXPECT_EQ(isolated.count, 128);
  EXPECT_EQ(isolated.first, 1);
  EXPECT_THAT(recorder.calls, ElementsAre());
}

TEST(VisitNets, FindsParallelNetsAmongMany) {
  Nets nets;
  for (int j = 0; j < 5000; ++j) nets.push_back({j % 4000 + 1, j % 4000 + 2});
  Recorder recorder;
  visit_nets(lists_of(nets, 4001), {}, recorder);
  ASSERT_EQ(recorder.calls.size(), 1000U);
  EXPECT_EQ(recorder.calls.front(), "parallel 4001 1");
  EXPECT_EQ(recorder.calls.back(), "parallel 5000 1000");
}

// Of any sizes, at the end of their array or not.
TEST(LookAtNets, IsTheSameInAllWays) {
  const CellHash hash{0xC2B2AE35U, 0x0F1E2D3CU};
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
    look_at_nets_plainly(nets, hash, expected);
    look_at_nets(nets, hash, found);
    for (int k = 0; k < nets.count; ++k) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " net " << k);
      const bool is_near_end = starts[static_cast<std::size_t>(k)] + kShortNet > std::ssize(pins);
      if (!is_near_end) {
        ASSERT_EQ(found.need_look[k], expected.need_look[k]);
      }
      ASSERT_GE(found.need_look[k], expected.need_look[k]);
      if (found.need_look[k] == 0) {
        ASSERT_EQ(found.hashes[k], expected.hashes[k]);
      }
    }
  }
}

TEST(LookAtShortNet, TellsRepeatedPins) {
  const CellHash hash{0x9E3779B1U, 7};
  const std::vector<int> pins{5, 3, 5, 2, 3, 5};
  EXPECT_EQ(look_at_short_net(pins, pins.data() + pins.size(), hash).repeated, 0b110100U);
  EXPECT_EQ(look_at_short_net_plainly(pins, hash).repeated, 0b110100U);
  EXPECT_EQ(look_at_short_net({}, pins.data() + pins.size(), hash).repeated, 0U);
}

TEST(LookAtShortNet, IsTheSameInAllWays) {
  const CellHash hash{0xD1B54A33U, 0x12345678U};
  for (unsigned seed = 1; seed <= 20000; ++seed) {
    Dice dice(seed);
    const int ncells = dice.from_to(1, dice.from_to(0, 1) == 0 ? 60 : 2147483645);
    std::vector<int> pins(static_cast<std::size_t>(dice.from_to(0, kShortNet) + dice.from_to(0, 20)));
    for (int& i : pins) i = dice.from_to(1, ncells);
    const std::span<const int> net = std::span(pins).first(std::min<std::size_t>(pins.size(), kShortNet));
    const ShortNet expected = look_at_short_net_plainly(net, hash);
    const ShortNet found = look_at_short_net(net, pins.data() + pins.size(), hash);
    ASSERT_EQ(found.repeated, expected.repeated) << "seed " << seed;
    ASSERT_EQ(found.hash, expected.hash) << "seed " << seed;
  }
}

}  // namespace
}  // namespace quillon::formats
