#include "formats/expand.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "formats/record.h"
#include "oracle/graphs.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/records.h"

namespace quillon::formats {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

struct GraphFile {
  oracle::EdgeWeights edges;
  std::vector<int> vertex_weights;
};

GraphFile written(const Hypergraph& h, const ExpandOptions& options) {
  const TempFolder folder;
  std::atomic<std::uint64_t> done = 0;
  write_expanded(h, options, false, folder.at("graph").c_str(), done);
  GraphFile graph;
  graph.edges = oracle::read_graph(folder.at("graph"), graph.vertex_weights);
  EXPECT_EQ(done, 2 * graph.vertex_weights.size());
  const GraphSize size = size_of_graph(h, options.kind);
  EXPECT_EQ(size.nvertices, static_cast<std::int64_t>(graph.vertex_weights.size()));
  EXPECT_GE(size.nedges, static_cast<std::int64_t>(graph.edges.size()));
  return graph;
}

// Weights are from 1, as files of graphs want them.
Shape random_shape_of_graph(unsigned seed) {
  Shape shape = random_shape(seed, {.ncells = 9, .nnets = 9});
  for (int& w : shape.net_weights) ++w;
  for (int& w : shape.cell_weights) ++w;
  return shape;
}

std::vector<std::int64_t> wide(const std::vector<int>& values) { return {values.begin(), values.end()}; }

TEST(WriteExpanded, JoinsCellsOfANetOrNetsOfACell) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape_of_graph(seed);
    const quillon::Record record(shape);
    const GraphFile clique = written(record.h, {GraphKind::kClique, CliqueWeight::kOne, 1});
    EXPECT_EQ(clique.edges, oracle::all_pairs(shape.pins, wide(shape.net_weights)));
    EXPECT_THAT(clique.vertex_weights, ElementsAreArray(shape.cell_weights));

    const GraphFile line = written(record.h, {GraphKind::kLine, CliqueWeight::kOne, 1});
    const Lists nets = nets_of_cells(shape);
    EXPECT_EQ(line.edges, oracle::all_pairs(nets, std::vector<std::int64_t>(nets.size(), 1)));
    EXPECT_THAT(line.vertex_weights, ElementsAreArray(shape.net_weights));
  }
}

// The stars of nets from a size on, and the edges of smaller nets of two pins.
GraphFile stars_of(const Shape& shape, std::size_t smallest, bool is_weighted) {
  GraphFile graph{{}, shape.cell_weights};
  for (std::size_t j = 0; j < shape.pins.size(); ++j) {
    const std::vector<int>& pins = shape.pins[j];
    const int w = is_weighted ? shape.net_weights[j] : 1;
    if (pins.size() >= smallest) {
      graph.vertex_weights.push_back(is_weighted ? 0 : shape.net_weights[j]);
      for (const int i : pins) graph.edges[{i, static_cast<int>(graph.vertex_weights.size())}] += w;
    } else if (pins.size() == 2) {
      graph.edges[std::minmax(pins[0], pins[1])] += w;
    }
  }
  return graph;
}

TEST(WriteExpanded, JoinsNetsToTheirCells) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape_of_graph(seed);
    const quillon::Record record(shape);
    const GraphFile star = written(record.h, {GraphKind::kStar, CliqueWeight::kOne, 1});
    const GraphFile expected_star = stars_of(shape, 3, true);
    EXPECT_EQ(star.edges, expected_star.edges);
    EXPECT_EQ(star.vertex_weights, expected_star.vertex_weights);

    const GraphFile bipartite = written(record.h, {GraphKind::kBipartite, CliqueWeight::kOne, 1});
    const GraphFile expected_bipartite = stars_of(shape, 0, false);
    EXPECT_EQ(bipartite.edges, expected_bipartite.edges);
    EXPECT_EQ(bipartite.vertex_weights, expected_bipartite.vertex_weights);
  }
}

TEST(WriteExpanded, DividesWeightsAmongTheEdgesOfANet) {
  const quillon::Record record({.ncells = 4, .pins = {{1, 2, 3, 4}, {1, 2}}, .net_weights = {9, 5}});
  const GraphFile uniform = written(record.h, {GraphKind::kClique, CliqueWeight::kUniform, 100});
  EXPECT_EQ(uniform.edges.at({1, 2}), 150 + 500);  // 9 * 2 / 12 and 5 * 2 / 2
  EXPECT_EQ(uniform.edges.at({3, 4}), 150);
  const GraphFile size = written(record.h, {GraphKind::kClique, CliqueWeight::kSize, 1});
  EXPECT_EQ(size.edges.at({1, 2}), 3 + 5);  // 9 / 3 and 5 / 1
  EXPECT_EQ(size.edges.at({3, 4}), 3);
}

TEST(SizeOfGraph, NamesTheLargestClique) {
  const quillon::Record record({5, {{1, 2}, {3, 4, 5}, {1, 2, 3}, {}}});
  const GraphSize clique = size_of_graph(record.h, GraphKind::kClique);
  EXPECT_EQ(clique.nedges, 1 + 3 + 3);
  EXPECT_EQ(clique.largest, 3);
  EXPECT_EQ(clique.owner, 2);
  const GraphSize line = size_of_graph(record.h, GraphKind::kLine);
  EXPECT_EQ(line.nvertices, 4);
  EXPECT_EQ(line.nedges, 3);  // cells 1, 2 and 3 are on two nets each
  EXPECT_EQ(line.owner, 1);
}

TEST(DualOf, ExchangesCellsAndNets) {
  const quillon::Record record(
      {.ncells = 3, .pins = {{1, 2}, {3, 1}}, .net_weights = {7, 8}, .cell_weights = {4, 5, 6}});
  const NetLists dual = dual_of(record.h);
  EXPECT_EQ(dual.ncells, 2);
  EXPECT_EQ(dual.nnets, 3);
  EXPECT_THAT(std::vector<int>(dual.nadj.begin(), dual.nadj.end()), ElementsAre(1, 2, 1, 2));
  EXPECT_THAT(std::vector<int>(dual.xnadj.begin() + 1, dual.xnadj.end()), ElementsAre(0, 2, 3, 4));
  EXPECT_THAT(dual.net_weights, ElementsAre(0, 4, 5, 6));
  EXPECT_THAT(dual.cell_weights, ElementsAre(0, 7, 8));
}

TEST(DualOf, AgreesWithTheNetsOfEachCell) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape_of_graph(seed);
    const NetLists dual = dual_of(quillon::Record(shape).h);
    const Lists nets = nets_of_cells(shape);
    ASSERT_EQ(dual.nnets, std::ssize(nets));
    for (std::size_t i = 0; i < nets.size(); ++i)
      EXPECT_THAT(
          std::vector<int>(dual.nadj.begin() + dual.xnadj[i + 1], dual.nadj.begin() + dual.xnadj[i + 2]),
          ElementsAreArray(nets[i]));
  }
}

TEST(WithoutRepeatedPins, KeepsTheFirstOfEach) {
  const quillon::Record record(
      {.ncells = 3, .pins = {{2, 1, 2}, {3, 3}, {1}}, .net_weights = {7, 8, 9}, .cell_weights = {4, 5, 6}});
  const NetLists lists = without_repeated_pins(record.h);
  EXPECT_THAT(std::vector<int>(lists.nadj.begin(), lists.nadj.end()), ElementsAre(2, 1, 3, 1));
  EXPECT_THAT(std::vector<int>(lists.xnadj.begin() + 1, lists.xnadj.end()), ElementsAre(0, 2, 3, 4));
  EXPECT_THAT(lists.net_weights, ElementsAre(0, 7, 8, 9));
  EXPECT_THAT(lists.cell_weights, ElementsAre(0, 4, 5, 6));
}

}  // namespace
}  // namespace quillon::formats
