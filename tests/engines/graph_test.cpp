#include "engines/graph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "engines/program.h"
#include "tests/engines/thread_ranks.h"
#include "tests/formats/temp_folder.h"

using namespace quillon::engines;
namespace measures = quillon::measures;
using testing::DoubleEq;
using testing::ElementsAre;

namespace {

// A graph without the numbers of its vertices: the weights of the cells, the edges between cells, and for
// each star its cells with the weight of their edges.
struct Shape {
  std::vector<std::int64_t> weights;
  std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> edges;  // both directions
  std::multiset<std::vector<std::pair<std::int64_t, std::int64_t>>> stars;
  bool operator==(const Shape&) const = default;
};

struct Net {
  std::int64_t weight;
  std::set<std::int64_t> cells;
};

struct Sample {
  std::vector<std::int64_t> weights;  // of the cells
  std::vector<Net> nets;
};

Shape shape_of(const std::vector<Graph<std::int32_t>>& graphs) {
  Shape shape;
  shape.weights.resize(static_cast<std::size_t>(graphs.front().ncells_in_all));
  std::vector<std::int64_t> cell_of;  // by vertex; -1 for stars
  for (const auto& graph : graphs)
    for (std::int64_t v = 0; v < graph.nvertices(); ++v)
      cell_of.push_back(v < graph.cells.size() ? graph.cells.begin + v : -1);

  std::size_t vertex = 0;
  for (const auto& graph : graphs) {
    for (std::size_t v = 0; v < graph.weights.size(); ++v, ++vertex) {
      std::vector<std::pair<std::int64_t, std::int64_t>> star;
      for (auto k = static_cast<std::size_t>(graph.starts[v]);
           k < static_cast<std::size_t>(graph.starts[v + 1]); ++k) {
        const std::int64_t other = cell_of[static_cast<std::size_t>(graph.ends[k])];
        star.emplace_back(other, graph.edge_weights[k]);
        if (cell_of[vertex] < 0 || other < 0) continue;
        EXPECT_TRUE(shape.edges.emplace(std::pair(cell_of[vertex], other), graph.edge_weights[k]).second);
      }
      std::sort(star.begin(), star.end());
      if (cell_of[vertex] < 0)
        shape.stars.insert(star);
      else
        shape.weights[static_cast<std::size_t>(cell_of[vertex])] = graph.weights[v];
    }
  }
  return shape;
}

// The same by the definition.
Shape expected_shape(const Sample& sample, const ExpandOptions& options, std::int64_t factor) {
  Shape shape;
  shape.weights = sample.weights;
  for (const auto& [weight, cells] : sample.nets) {
    const auto size = static_cast<std::int64_t>(cells.size());
    if (size < 2 || weight == 0) continue;
    const bool is_star = size > 2 && (options.expansion == Expansion::kStar || size > options.largest_clique);
    std::vector<std::pair<std::int64_t, std::int64_t>> star;
    for (const std::int64_t cell : cells) {
      star.emplace_back(cell, factor * weight);
      for (const std::int64_t other : cells)
        if (!is_star && other != cell) {
          const double edge = static_cast<double>(factor * weight) / static_cast<double>(size - 1);
          shape.edges[{cell, other}] += std::max<std::int64_t>(1, static_cast<std::int64_t>(edge + 0.5));
        }
    }
    if (is_star) shape.stars.insert(star);
  }
  return shape;
}

Sample random_sample(unsigned seed) {
  std::mt19937 draw(seed);
  const auto below = [&draw](std::int64_t end) { return static_cast<std::int64_t>(draw()) % end; };
  Sample sample;
  for (std::int64_t i = below(30) + 1; i > 0; --i) sample.weights.push_back(below(5) + (i == 1 ? 1 : 0));
  const auto ncells = static_cast<std::int64_t>(sample.weights.size());
  for (std::int64_t j = below(40); j > 0; --j) {
    Net net{below(4), {}};
    for (std::int64_t k = below(9); k > 0; --k) net.cells.insert(below(ncells));
    sample.nets.push_back(net);
  }
  return sample;
}

std::string text_of(const Sample& sample, FileFormat format) {
  std::ostringstream text;
  std::size_t npins = 0;
  for (const Net& net : sample.nets) npins += net.cells.size();
  if (format == FileFormat::kQuillon)
    text << "1 " << sample.weights.size() << ' ' << sample.nets.size() << ' ' << npins << " 3\n";
  else
    text << sample.nets.size() << ' ' << sample.weights.size() << " 11\n";
  for (const Net& net : sample.nets) {
    text << net.weight;
    for (const std::int64_t cell : net.cells) text << ' ' << cell + 1;
    text << '\n';
  }
  for (const std::int64_t weight : sample.weights) text << weight << '\n';
  return text.str();
}

std::vector<Graph<std::int32_t>> load_on(int nranks, const std::string& file, FileFormat format,
                                         const ExpandOptions& options) {
  std::vector<Graph<std::int32_t>> graphs(static_cast<std::size_t>(nranks));
  run_on_ranks(nranks, [&](const Ranks& ranks) {
    graphs[static_cast<std::size_t>(ranks.rank())] = load_graph<std::int32_t>(file, format, options, ranks);
  });
  return graphs;
}

class LoadGraph : public testing::Test {
 protected:
  quillon::formats::TempFolder folder_;
};

TEST_F(LoadGraph, MakesTheGraphOfTheDefinitionOnAnyNumberOfRanks) {
  const ExpandOptions kinds[] = {{Expansion::kStar, 0}, {Expansion::kClique, 4}, {Expansion::kClique, 100}};
  for (unsigned seed = 1; seed <= 60; ++seed) {
    const Sample sample = random_sample(seed);
    const ExpandOptions& options = kinds[seed % 3];
    const FileFormat format = seed % 2 == 0 ? FileFormat::kQuillon : FileFormat::kHmetis;
    const std::string file = folder_.write("h", text_of(sample, format));
    const Shape expected =
        expected_shape(sample, options, options.expansion == Expansion::kStar ? 1 : kCliqueFactor);
    for (const int nranks : {1, 2, 3, 7})
      EXPECT_EQ(shape_of(load_on(nranks, file, format, options)), expected)
          << "seed " << seed << ", " << nranks;
  }
}

TEST_F(LoadGraph, SharesTheWeightOfANetAmongTheEdgesOfItsClique) {
  // Nets {1, 2}, {1, 2, 3}, {1, 2, 3, 4} of weight 1.
  const std::string file = folder_.write("h", "1 4 3 9\n1 2\n1 2 3\n1 2 3 4\n");
  const auto graphs = load_on(1, file, FileFormat::kQuillon, {Expansion::kClique, 3});
  EXPECT_THAT(graphs[0].starts, ElementsAre(0, 3, 6, 9, 10, 14));
  EXPECT_THAT(graphs[0].ends, ElementsAre(1, 2, 4, 0, 2, 4, 0, 1, 4, 4, 0, 1, 2, 3));
  EXPECT_THAT(graphs[0].edge_weights, ElementsAre(2520 + 1260, 1260, 2520, 2520 + 1260, 1260, 2520, 1260,
                                                  1260, 2520, 2520, 2520, 2520, 2520, 2520));
  EXPECT_THAT(graphs[0].weights, ElementsAre(1, 1, 1, 1, 0));
}

TEST_F(LoadGraph, LowersTheFactorOfHeavyNets) {
  const std::string file = folder_.write("h", "1 3 2 5 2\n4000000 1 2 3\n1000000 1 2\n");
  const auto graphs = load_on(2, file, FileFormat::kQuillon, {Expansion::kClique, 3});
  // (2^30 - 1 - 6) / (3 x 4000000 + 2 x 1000000) = 76
  EXPECT_EQ(shape_of(graphs).edges.at({0, 2}), 76 * 2000000);
  EXPECT_EQ(shape_of(graphs).edges.at({0, 1}), 76 * 3000000);
}

TEST_F(LoadGraph, CountsMissingCellWeightsAsOne) {
  const std::string file = folder_.write("h", "1 4 0 0 1\n7 8\n");
  for (const int nranks : {1, 3})
    EXPECT_THAT(shape_of(load_on(nranks, file, FileFormat::kQuillon, {})).weights, ElementsAre(7, 8, 1, 1));
}

TEST_F(LoadGraph, GivesCellsWeightOneIfAllWeighNothing) {
  const std::string file = folder_.write("h", "1 3 0 0 1\n0 0 0\n");
  const auto graphs = load_on(2, file, FileFormat::kQuillon, {});
  EXPECT_EQ(graphs[0].total_weight, 3);
  EXPECT_THAT(shape_of(graphs).weights, ElementsAre(1, 1, 1));
}

template <typename Error, typename Number>
std::string error_of(const std::string& file, FileFormat format) {
  try {
    load_graph<Number>(file, format, {}, OneRank());
  } catch (const Error& error) {
    return error.what();
  }
  return "none";
}

TEST_F(LoadGraph, RefusesCountsThatDisagreeWithTheHeader) {
  const auto quillon = [&](const std::string& text) {
    return error_of<BadInput, std::int32_t>(folder_.write("h", text), FileFormat::kQuillon);
  };
  EXPECT_THAT(quillon("1 2 2 2\n1 2\n"), testing::EndsWith("h: has 1 lines of nets, expected 2"));
  EXPECT_THAT(quillon("1 2 1 3\n1 2\n"), testing::EndsWith("h: has 2 pins, expected the 3 of the header"));
  EXPECT_THAT((error_of<BadInput, std::int32_t>(folder_.write("h", "1 2 10\n1 2\n5\n"), FileFormat::kHmetis)),
              testing::EndsWith("h: has 1 cell weights, expected 2"));
}

TEST_F(LoadGraph, AsksForWiderNumbers) {
  const std::string many = folder_.write("many", "1 3000000000 1 1\n1\n");
  EXPECT_THAT((error_of<TooLarge, std::int32_t>(many, FileFormat::kQuillon)),
              testing::HasSubstr("3000000000 cells"));
  const std::string heavy_nets = folder_.write("nets", "1 2 2 4 2\n2000000000 1 2\n2000000000 1 2\n");
  EXPECT_THAT((error_of<TooLarge, std::int32_t>(heavy_nets, FileFormat::kQuillon)),
              testing::HasSubstr("edges"));
  EXPECT_EQ((error_of<TooLarge, std::int64_t>(heavy_nets, FileFormat::kQuillon)), "none");
  const std::string heavy_cells = folder_.write("cells", "0 2 10\n2000000000\n2000000000\n");
  EXPECT_EQ((error_of<TooLarge, std::int32_t>(heavy_cells, FileFormat::kHmetis)),
            "the cells weigh too much: 4000000000");
  EXPECT_EQ((error_of<TooLarge, std::int64_t>(heavy_cells, FileFormat::kHmetis)), "none");
}

// Partitions of four cells of weight 1, by rank 0 alone.
struct Tries {
  Graph<std::int32_t> graph;
  EngineOptions options;
  std::vector<double> imbalances;

  std::vector<std::int32_t> run(const std::vector<std::vector<std::int32_t>>& results) {
    return partition_within<std::int32_t>(graph, options, OneRank(), [&](double imbalance) {
      imbalances.push_back(imbalance);
      return results[imbalances.size() - 1];
    });
  }
};

Tries four_cells(int nparts) {
  Tries tries;
  tries.graph.total_weight = 4;
  tries.graph.ncells_in_all = 4;
  tries.graph.cells = {0, 4};
  tries.graph.weights = {1, 1, 1, 1, 0};
  tries.options.nparts = nparts;
  tries.options.limit.value = {4, 1};
  return tries;
}

TEST(PartitionWithin, AsksForHalfTheImbalanceUntilTheLimitHolds) {
  Tries tries = four_cells(2);
  EXPECT_THAT(tries.run({{0, 0, 0, 1, 0}, {0, 0, 0, 0, 0}, {0, 1, 1, 0, 1}}), ElementsAre(0, 1, 1, 0));
  EXPECT_THAT(tries.imbalances, ElementsAre(DoubleEq(0.4), DoubleEq(0.2), DoubleEq(0.1)));
}

TEST(PartitionWithin, ReturnsTheBestOfFourIfNoneKeepsTheLimit) {
  Tries tries = four_cells(2);
  EXPECT_THAT(tries.run({{0, 0, 0, 0, 0}, {0, 0, 0, 1, 0}, {1, 1, 1, 0, 0}, {1, 1, 1, 1, 0}}),
              ElementsAre(0, 0, 0, 1));
  EXPECT_EQ(tries.imbalances.size(), 4);
}

TEST(PartitionWithin, KeepsLowerBoundsToo) {
  Tries tries = four_cells(2);
  tries.graph.total_weight = 8;
  tries.graph.weights = {1, 1, 2, 4, 0};
  tries.options.limit = {measures::BalanceRule::kShare, {125, 1}};  // 3 to 5
  EXPECT_THAT(tries.run({{0, 0, 0, 0, 0}, {0, 1, 1, 1, 0}, {0, 0, 0, 1, 0}}), ElementsAre(0, 0, 0, 1));
  EXPECT_THAT(tries.imbalances, ElementsAre(DoubleEq(0.25), DoubleEq(0.125), DoubleEq(0.0625)));
}

TEST(PartitionWithin, AsksForTheImbalanceThatALimitAllows) {
  const auto asked = [](measures::BalanceRule rule, measures::Decimal value) {
    Tries tries = four_cells(2);
    tries.options.limit = {rule, value};
    tries.run({{0, 0, 1, 1, 0}});
    return tries.imbalances.front();
  };
  using measures::BalanceRule;
  EXPECT_DOUBLE_EQ(asked(BalanceRule::kMondriaan, {6, 1}), 0.5);  // 3 cells of 4
  EXPECT_DOUBLE_EQ(asked(BalanceRule::kUfactor, {30, 0}), 0);
  EXPECT_DOUBLE_EQ(asked(BalanceRule::kUbfactor, {50, 0}), 1);
}

TEST(PartitionWithin, NeedsNoEngineForOnePartOrOneForEachCell) {
  EXPECT_THAT(four_cells(1).run({}), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(four_cells(4).run({}), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(four_cells(9).run({}), ElementsAre(0, 1, 2, 3));
}

EngineOptions parsed(std::vector<const char*> words) {
  words.insert(words.begin(), "quillon-x");
  return parse_options(static_cast<int>(words.size()), const_cast<char**>(words.data()));
}

TEST(ParseOptions, ReadsAllOptions) {
  const EngineOptions options =
      parsed({"--format", "hmetis", "--limit", "share=0.1", "--seed", "7", "f.hgr", "--expand", "clique",
              "--largest-clique", "9", "--threads", "2", "--fixed", "f.fix", "--quiet", "12"});
  EXPECT_EQ(options.file, "f.hgr");
  EXPECT_EQ(options.nparts, 12);
  EXPECT_EQ(options.format, FileFormat::kHmetis);
  EXPECT_EQ(options.expand.expansion, Expansion::kClique);
  EXPECT_EQ(options.expand.largest_clique, 9);
  EXPECT_EQ(options.limit.rule, measures::BalanceRule::kShare);
  EXPECT_EQ(options.limit.value.digits, 1);
  EXPECT_EQ(options.limit.value.places, 1);
  EXPECT_EQ(options.seed, 7);
  EXPECT_EQ(options.threads, 2);
  EXPECT_EQ(options.fixed, "f.fix");
  EXPECT_TRUE(options.quiet);
}

TEST(ParseOptions, RefusesOthers) {
  EXPECT_THROW(parsed({"f"}), BadUsage);
  EXPECT_THROW(parsed({"f", "0"}), BadUsage);
  EXPECT_THROW(parsed({"f", "2", "3"}), BadUsage);
  EXPECT_THROW(parsed({"f", "2", "--seed"}), BadUsage);
  EXPECT_THROW(parsed({"f", "2", "--seed", "x"}), BadUsage);
  EXPECT_THROW(parsed({"f", "2", "--expand", "both"}), BadUsage);
  EXPECT_THROW(parsed({"f", "2", "--other", "1"}), BadUsage);
  for (const char* const limit : {"epsilon", "epsilon=", "epsilon=-1", "=1", "other=1", ""})
    EXPECT_THROW(parsed({"f", "2", "--limit", limit}), BadUsage) << limit;
}

}  // namespace
