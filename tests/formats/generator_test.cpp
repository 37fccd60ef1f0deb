#include "formats/generator.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>
#include <set>

#include "formats/draws.h"
#include "formats/pin_set.h"
#include "tests/support/records.h"

namespace quillon::formats {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::ThrowsMessage;

// All values that a law gives in many draws, with their numbers.
std::map<int, int> drawn(const std::string& text, int ndraws) {
  const Law law = Law::parse(text);
  Draws draws(1, Purpose::kSize, 1);
  std::map<int, int> counts;
  for (int k = 0; k < ndraws; ++k) ++counts[law.draw(draws)];
  return counts;
}

void expect_bad_law(const std::string& text, const char* problem) {
  EXPECT_THAT([&] { static_cast<void>(Law::parse(text)); }, ThrowsMessage<BadRecipe>(HasSubstr(problem)));
}

std::vector<std::vector<int>> nets_of(const Generator& generator) {
  const auto stream = stream_of(generator, "");
  std::vector<std::vector<int>> nets;
  for (int j = 1; j <= stream->nnets; ++j) {
    const std::span<const int> pins = stream->next_net();
    nets.emplace_back(pins.begin(), pins.end());
  }
  return nets;
}

std::vector<int> degrees_of(const std::vector<std::vector<int>>& nets, int ncells) {
  std::vector<int> degrees(static_cast<std::size_t>(ncells) + 1);
  for (const std::vector<int>& net : nets)
    for (const int i : net) ++degrees.at(static_cast<std::size_t>(i));
  return degrees;
}

Recipe recipe_of(GeneratorKind kind, std::uint64_t seed) {
  Recipe recipe;
  recipe.kind = kind;
  recipe.seed = seed;
  recipe.ncells = 20 + static_cast<int>(seed % 50);
  recipe.nnets = 1 + static_cast<int>(seed % 40);
  recipe.sizes = seed % 2 == 0 ? Law(2, 6) : Law::parse("power:2:2..6");
  recipe.reach = 3 + static_cast<int>(seed % 9);
  recipe.sides = {1 + static_cast<int>(seed % 4), 1 + static_cast<int>(seed % 3),
                  1 + static_cast<int>(seed % 5)};
  recipe.nparts = 2 + static_cast<int>(seed % 2);
  recipe.ncut = static_cast<int>(seed) % (recipe.nnets + 1);
  recipe.degrees = Law::parse("power:2:1..5");
  return recipe;
}

TEST(Draws, AreThoseOfSplitMix64) {
  // The first numbers of SplitMix64 started at the key.
  const std::uint64_t key = stream_key(5, Purpose::kPins, 7);
  Draws draws(5, Purpose::kPins, 7);
  EXPECT_EQ(draws.next(), mixed(key + 0x9e3779b97f4a7c15U));
  EXPECT_EQ(draws.next(), mixed(key + 2 * 0x9e3779b97f4a7c15U));
  EXPECT_EQ(mixed(0x9e3779b97f4a7c15U), 0xe220a8397b1dcdafU);  // the first number of the seed 0
}

TEST(Shuffle, IsAPermutationWithItsInverse) {
  for (std::uint64_t count = 1; count <= 70; ++count) {
    SCOPED_TRACE(count);
    const Shuffle shuffle(count, Purpose::kCellOrder, count);
    std::set<std::uint64_t> numbers;
    for (std::uint64_t place = 0; place < count; ++place) {
      const std::uint64_t number = shuffle.at(place);
      EXPECT_LT(number, count);
      EXPECT_EQ(shuffle.place_of(number), place);
      numbers.insert(number);
    }
    EXPECT_EQ(numbers.size(), count);
  }
}

TEST(Shuffle, PutsEveryNumberInEveryPlaceAboutEquallyOften) {
  constexpr int kCount = 10;
  constexpr int kOrders = 20000;
  int found[kCount][kCount] = {};
  for (int seed = 0; seed < kOrders; ++seed) {
    const Shuffle shuffle(static_cast<std::uint64_t>(seed), Purpose::kCellOrder, kCount);
    for (std::uint64_t place = 0; place < kCount; ++place) ++found[place][shuffle.at(place)];
  }
  for (const auto& row : found)
    for (const int count : row) EXPECT_NEAR(count, kOrders / kCount, 300);  // over 7 deviations
}

TEST(PinSet, AgreesWithASet) {
  PinSet pins;
  Draws draws(3, Purpose::kPins, 0);
  for (int size = 0; size <= 300; size += 1 + size / 9) {
    std::set<int> cells;
    std::vector<int> order;
    pins.begin(size);
    while (static_cast<int>(order.size()) < size) {
      const int cell = draws.below(2 * size);
      const bool is_new = cells.insert(cell).second;
      EXPECT_EQ(pins.add(cell), is_new);
      if (is_new) order.push_back(cell);
    }
    EXPECT_EQ(std::vector<int>(pins.pins().begin(), pins.pins().end()), order);
  }
}

TEST(Law, GivesItsValuesWithTheirChances) {
  EXPECT_THAT(drawn("5", 10), ElementsAre(Pair(5, 10)));
  for (const auto& [value, count] : drawn("3..7", 50000)) EXPECT_NEAR(count, 10000, 500) << value;
  EXPECT_EQ(drawn("3..7", 1000).size(), 5U);
  const std::map<int, int> list = drawn("2=60,4..5=40", 50000);
  ASSERT_EQ(list.size(), 3U);
  EXPECT_NEAR(list.at(2), 30000, 600);
  EXPECT_NEAR(list.at(4), 10000, 500);
  EXPECT_NEAR(list.at(5), 10000, 500);
}

TEST(Law, FollowsAPower) {
  constexpr int kDraws = 100000;
  double sum = 0;
  for (int k = 2; k <= 40; ++k) sum += std::pow(k, -1.7);
  const std::map<int, int> counts = drawn("power:1.7:2..40", kDraws);
  for (int k = 2; k <= 40; ++k) {
    const double expected = kDraws * std::pow(k, -1.7) / sum;
    EXPECT_NEAR(counts.at(k), expected, 6 * std::sqrt(expected)) << k;
  }
}

TEST(Law, DividesItemsWithoutChance) {
  EXPECT_THAT(Law(1, 4).shares(8), ElementsAre(Pair(1, 2), Pair(2, 2), Pair(3, 2), Pair(4, 2)));
  EXPECT_THAT(Law::parse("1=3,9=1").shares(7), ElementsAre(Pair(1, 5), Pair(9, 2)));
  EXPECT_THAT(Law::parse("power:1:1..2").shares(3), ElementsAre(Pair(1, 2), Pair(2, 1)));
  EXPECT_THAT(Law(5, 5).shares(0), ElementsAre());
}

TEST(Law, GrowsByAFactor) {
  const Law law = Law::growing(3, 1000);
  EXPECT_THAT(law.shares(7), ElementsAre(Pair(0, 1), Pair(1, 2), Pair(2, 4)));
}

TEST(Law, RefusesOtherTexts) {
  for (const char* const text : {"", "x", "5..", "..5", "5..2", "-1", "2=", "2=0", "2=5,", "=5", "power:2",
                                 "power:2:0..4", "power:2:4..2", "99999999999"})
    expect_bad_law(text, "is no distribution");
  expect_bad_law("4=1,4=1", "increasing order");
  expect_bad_law("power:2:1..5000000", "more than 4194304 values");
  for (const char* const text :
       {"power::2..4", "power:x:2..4", "power:1.2345:2..4", "power:1.:2..4", "power:1000:2..4"})
    expect_bad_law(text, "up to three decimals");
}

TEST(ParseThousandths, ReadsUpToThreeDecimals) {
  EXPECT_EQ(parse_thousandths("0.65", "p"), 650);
  EXPECT_EQ(parse_thousandths("2", "p"), 2000);
  EXPECT_EQ(parse_thousandths("999.999", "p"), 999999);
}

void expect_sound_nets(const Generator& generator) {
  std::int64_t npins = 0;
  const std::vector<std::vector<int>> nets = nets_of(generator);
  for (int j = 1; j <= generator.nnets(); ++j) {
    const std::vector<int>& net = nets.at(static_cast<std::size_t>(j) - 1);
    const std::set<int> cells(net.begin(), net.end());
    EXPECT_EQ(static_cast<int>(net.size()), generator.size_of(j));
    EXPECT_EQ(cells.size(), net.size());
    EXPECT_GE(*cells.begin(), 1);
    EXPECT_LE(*cells.rbegin(), generator.ncells());
    npins += static_cast<std::int64_t>(net.size());
  }
  EXPECT_EQ(generator.npins(), npins);
}

TEST(Generator, GivesEachNetDifferentCellsAndTheSizeThatItSays) {
  for (const GeneratorKind kind :
       {GeneratorKind::kRandom, GeneratorKind::kLocal, GeneratorKind::kMesh3d, GeneratorKind::kPlanted,
        GeneratorKind::kPowerlaw, GeneratorKind::kNetlist}) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
      SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", seed " << seed);
      expect_sound_nets(*make_generator(recipe_of(kind, seed)));
    }
  }
}

TEST(Generator, KeepsLocalNetsWithinReach) {
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    const Recipe recipe = recipe_of(GeneratorKind::kLocal, seed);
    for (const std::vector<int>& net : nets_of(*make_generator(recipe))) {
      const auto [low, high] = std::minmax_element(net.begin(), net.end());
      EXPECT_LE(*high - *low, 2 * recipe.reach);
    }
  }
}

TEST(Generator, JoinsThePointsOfAMeshThatAreOneStepApart) {
  Recipe recipe;
  recipe.kind = GeneratorKind::kMesh3d;
  recipe.sides = {4, 3, 2};
  const std::vector<std::vector<int>> nets = nets_of(*make_generator(recipe));
  ASSERT_EQ(nets.size(), 24U);
  const auto distance = [](int a, int b) {
    return std::abs(a % 4 - b % 4) + std::abs(a / 4 % 3 - b / 4 % 3) + std::abs(a / 12 - b / 12);
  };
  for (int j = 0; j < 24; ++j) {
    std::vector<int> near;
    for (int i = 0; i < 24; ++i)
      if (distance(i, j) <= 1) near.push_back(i + 1);
    EXPECT_EQ(nets[static_cast<std::size_t>(j)], near);
  }
}

TEST(Generator, CutsAsManyNetsByTheHiddenPartitionAsAsked) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    const Recipe recipe = recipe_of(GeneratorKind::kPlanted, seed);
    const auto generator = make_generator(recipe);
    int ncut = 0;
    for (const std::vector<int>& net : nets_of(*generator)) {
      std::set<int> parts;
      for (const int i : net) parts.insert(generator->part_of(i));
      if (parts.size() > 1) ++ncut;
    }
    EXPECT_EQ(ncut, recipe.ncut);

    std::map<int, int> ncells;  // by part
    for (int i = 1; i <= recipe.ncells; ++i) ++ncells[generator->part_of(i)];
    ASSERT_EQ(static_cast<int>(ncells.size()), recipe.nparts);
    EXPECT_EQ(ncells.begin()->first, 0);
    for (const auto& [part, count] : ncells)
      EXPECT_LE(std::abs(count * recipe.nparts - recipe.ncells), recipe.nparts);
  }
}

TEST(Generator, GivesCellsDegreesInProportionToTheirLaw) {
  Recipe recipe;
  recipe.kind = GeneratorKind::kPowerlaw;
  recipe.ncells = 20000;
  recipe.nnets = 30000;
  recipe.sizes = Law(2, 4);
  recipe.degrees = Law::parse("3=3,9=1");
  const auto generator = make_generator(recipe);
  std::map<int, int> counts;
  for (const int degree : degrees_of(nets_of(*generator), recipe.ncells)) ++counts[degree];
  // 90000 pins for degrees of 3 and 9 that add up to 90000: few pins are substitutes.
  EXPECT_NEAR(static_cast<double>(generator->npins()), 90000, 1000);
  int nhigh = 0;
  for (const auto& [degree, count] : counts)
    if (degree >= 7) nhigh += count;
  EXPECT_NEAR(nhigh, 5000, 20);
}

// How many pairs of a net and a block there are where the net leaves the block.
double count_leaving(const std::vector<std::vector<int>>& nets, int ncells, int nblocks) {
  double count = 0;
  for (const std::vector<int>& net : nets) {
    std::set<int> blocks;
    for (const int i : net) blocks.insert(static_cast<int>(std::int64_t{i - 1} * nblocks / ncells));
    if (blocks.size() > 1) count += static_cast<double>(blocks.size());
  }
  return count;
}

TEST(Generator, FollowsRentsRule) {
  for (const int rent : {500, 650, 800}) {
    Recipe recipe;
    recipe.kind = GeneratorKind::kNetlist;
    recipe.ncells = 1 << 14;
    recipe.nnets = 100000;
    recipe.sizes = Law(2, 2);
    recipe.rent = rent;
    const std::vector<std::vector<int>> nets = nets_of(*make_generator(recipe));
    // Nets that leave blocks at depth d are those of the depths above: 1 + f + .. + f^(d - 1) with f = 2^(1 -
    // p).
    const double factor = std::pow(2, 1 - rent / 1000.0);
    const double expected = (std::pow(factor, 10) - 1) / (std::pow(factor, 4) - 1);
    const double found = count_leaving(nets, recipe.ncells, 1024) / count_leaving(nets, recipe.ncells, 16);
    EXPECT_NEAR(found / expected, 1, 0.08) << rent;  // 4 deviations
  }
}

TEST(Generator, KeepsGivenDegreesAndSizes) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape(seed, {.ncells = 12, .nnets = 12});
    Recipe recipe;
    recipe.kind = GeneratorKind::kFromDegrees;
    recipe.seed = seed;
    recipe.given_degrees = degrees_of(shape.pins, shape.ncells);
    recipe.given_sizes = {0};
    for (const auto& pins : shape.pins) recipe.given_sizes.push_back(static_cast<int>(pins.size()));

    const std::vector<std::vector<int>> nets = nets_of(*make_generator(recipe));

    EXPECT_EQ(degrees_of(nets, shape.ncells), recipe.given_degrees);
    ASSERT_EQ(nets.size(), shape.pins.size());
    for (std::size_t k = 0; k < nets.size(); ++k) {
      EXPECT_EQ(nets[k].size(), shape.pins[k].size());
      EXPECT_EQ(std::set<int>(nets[k].begin(), nets[k].end()).size(), nets[k].size());
    }
  }
}

TEST(Generator, FindsAHypergraphWithGivenDegreesWheneverThereIsOne) {
  // All hypergraphs of 3 cells and 3 nets, as bits.
  std::set<std::vector<int>> possible;  // degrees, then sizes
  for (unsigned bits = 0; bits < 512; ++bits) {
    std::vector<int> counts(6);
    for (std::size_t k = 0; k < 9; ++k)
      if ((bits >> k & 1U) != 0) ++counts[k / 3], ++counts[3 + k % 3];
    possible.insert(counts);
  }
  for (int code = 0; code < 4096; ++code) {
    std::vector<int> counts;
    for (int k = 0; k < 6; ++k) counts.push_back(code >> (2 * k) & 3);
    Recipe recipe;
    recipe.kind = GeneratorKind::kFromDegrees;
    recipe.given_degrees = {0, counts[0], counts[1], counts[2]};
    recipe.given_sizes = {0, counts[3], counts[4], counts[5]};
    if (possible.count(counts) > 0)
      EXPECT_NO_THROW(make_generator(recipe)) << testing::PrintToString(counts);
    else
      EXPECT_THROW(make_generator(recipe), BadRecipe) << testing::PrintToString(counts);
  }
}

TEST(Generator, DrawsWeightsByTheirLaws) {
  Recipe recipe = recipe_of(GeneratorKind::kRandom, 4);
  EXPECT_EQ(make_generator(recipe)->weights(), 0);
  EXPECT_EQ(make_generator(recipe)->cell_weight(3), 1);
  recipe.cell_weights = Law(7, 7);
  recipe.net_weights = Law(0, 3);
  const auto generator = make_generator(recipe);
  EXPECT_EQ(generator->weights(), 3);
  EXPECT_EQ(generator->cell_weight(3), 7);
  EXPECT_LE(generator->net_weight(1), 3);
}

TEST(ListsOf, HoldsWhatTheStreamGives) {
  Recipe recipe = recipe_of(GeneratorKind::kRandom, 11);
  recipe.cell_weights = Law(2, 9);
  recipe.net_weights = Law(2, 9);
  const auto generator = make_generator(recipe);
  const NetLists lists = lists_of(*stream_of(*generator, ""));
  const std::vector<std::vector<int>> nets = nets_of(*generator);
  ASSERT_EQ(lists.nnets, static_cast<int>(nets.size()));
  for (std::size_t j = 1; j <= nets.size(); ++j) {
    EXPECT_EQ(std::vector<int>(lists.nadj.data() + lists.xnadj[j], lists.nadj.data() + lists.xnadj[j + 1]),
              nets[j - 1]);
    EXPECT_EQ(lists.net_weights.at(j), generator->net_weight(static_cast<int>(j)));
  }
  ASSERT_EQ(static_cast<int>(lists.cell_weights.size()), recipe.ncells + 1);
  for (int i = 1; i <= recipe.ncells; ++i)
    EXPECT_EQ(lists.cell_weights[static_cast<std::size_t>(i)], generator->cell_weight(i));
}

}  // namespace
}  // namespace quillon::formats
