#include "formats/expand.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "formats/graph.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

constexpr const char* kGraphTag = "quillon expand: METIS graph";

class CliqueGraph final : public Graph {
 public:
  CliqueGraph(const Hypergraph& h, const ExpandOptions& options) : Graph(h._c), h_(&h), options_(options) {}

  [[nodiscard]] int weight_of(int u) const override { return h_->_clst[u].w; }

 protected:
  void add_edges(int u, EdgeList& edges) const override {
    for (const int j : nets_of(h_->_clst[u])) {
      const std::int64_t w = weight_in(h_->_nlst[j]);
      for (const int i : pins_of(h_->_nlst[j]))
        if (i != u) edges.add(i, w);
    }
  }

 private:
  // Rounded to the nearest number, to 1 at least.
  [[nodiscard]] std::int64_t weight_in(const Net& net) const {
    const std::int64_t size = net_size(net);
    std::int64_t above = std::int64_t{net.w} * options_.scale;
    std::int64_t below = 1;
    if (options_.clique_weight == CliqueWeight::kSize) below = std::max<std::int64_t>(size - 1, 1);
    if (options_.clique_weight == CliqueWeight::kUniform) {
      above *= 2;
      below = std::max<std::int64_t>(size * (size - 1), 1);
    }
    return std::max<std::int64_t>((above + below / 2) / below, 1);
  }

  const Hypergraph* h_;
  ExpandOptions options_;
};

class LineGraph final : public Graph {
 public:
  explicit LineGraph(const Hypergraph& h) : Graph(h._n), h_(&h) {}

  [[nodiscard]] int weight_of(int u) const override { return h_->_nlst[u].w; }

 protected:
  void add_edges(int u, EdgeList& edges) const override {
    for (const int i : pins_of(h_->_nlst[u]))
      for (const int j : nets_of(h_->_clst[i]))
        if (j != u) edges.add(j, 1);
  }

 private:
  const Hypergraph* h_;
};

// Cells, and after them some of the nets.
class StarGraph final : public Graph {
 public:
  // Nets of fewer pins than `smallest` have no vertex: those of two pins are edges.
  StarGraph(const Hypergraph& h, int smallest, bool is_weighted)
      : Graph(h._c + count_centres(h, smallest)),
        h_(&h),
        is_weighted_(is_weighted),
        vertex_of_(static_cast<std::size_t>(h._n) + 1) {
    nets_.push_back(0);
    for (int j = 1; j <= h._n; ++j) {
      if (net_size(h._nlst[j]) < smallest) continue;
      vertex_of_[static_cast<std::size_t>(j)] = h._c + static_cast<int>(nets_.size());
      nets_.push_back(j);
    }
  }

  [[nodiscard]] int weight_of(int u) const override {
    if (u <= h_->_c) return h_->_clst[u].w;
    return is_weighted_ ? 0 : h_->_nlst[net_of(u)].w;
  }

 protected:
  void add_edges(int u, EdgeList& edges) const override {
    if (u > h_->_c) {
      const Net& net = h_->_nlst[net_of(u)];
      for (const int i : pins_of(net)) edges.add(i, weight_in(net));
      return;
    }
    for (const int j : nets_of(h_->_clst[u])) {
      const Net& net = h_->_nlst[j];
      const int vertex = vertex_of_[static_cast<std::size_t>(j)];
      if (vertex > 0)
        edges.add(vertex, weight_in(net));
      else if (net_size(net) == 2)
        edges.add(*net.pins == u ? *net.pinsend : *net.pins, weight_in(net));
    }
  }

 private:
  static int count_centres(const Hypergraph& h, int smallest) {
    const auto count = std::count_if(h._nlst + 1, h._nlst + h._n + 1,
                                     [smallest](const Net& net) { return net_size(net) >= smallest; });
    return static_cast<int>(count);
  }

  [[nodiscard]] int net_of(int u) const { return nets_[static_cast<std::size_t>(u - h_->_c)]; }
  [[nodiscard]] std::int64_t weight_in(const Net& net) const { return is_weighted_ ? std::max(net.w, 1) : 1; }

  const Hypergraph* h_;
  bool is_weighted_;            // edges have the weights of nets, and the vertices of nets have none
  std::vector<int> vertex_of_;  // by net; 0 without one
  std::vector<int> nets_;       // by vertex after those of the cells; entry 0 is not used
};

constexpr int kSmallestStar = 3;

std::unique_ptr<Graph> graph_of(const Hypergraph& h, const ExpandOptions& options) {
  switch (options.kind) {
    case GraphKind::kStar:
      return std::make_unique<StarGraph>(h, kSmallestStar, true);
    case GraphKind::kBipartite:
      return std::make_unique<StarGraph>(h, 0, false);
    case GraphKind::kLine:
      return std::make_unique<LineGraph>(h);
    case GraphKind::kClique:
      break;
  }
  return std::make_unique<CliqueGraph>(h, options);
}

// Adds the edges of the cliques of all items.
template <typename Item>
void add_cliques(GraphSize& size, const Item* items, int count) {
  for (int k = 1; k <= count; ++k) {
    const auto length = static_cast<std::int64_t>(list_of(items[k]).size());
    size.nedges += length * (length - 1) / 2;
    if (length <= size.largest) continue;
    size.largest = static_cast<int>(length);
    size.owner = k;
  }
}

}  // namespace

GraphSize size_of_graph(const Hypergraph& h, GraphKind kind) {
  GraphSize size;
  size.nvertices = kind == GraphKind::kLine ? h._n : h._c;
  if (kind == GraphKind::kClique) add_cliques(size, h._nlst, h._n);
  if (kind == GraphKind::kLine) add_cliques(size, h._clst, h._c);
  if (kind == GraphKind::kBipartite) {
    size.nvertices += h._n;
    size.nedges = h._p;
  }
  if (kind == GraphKind::kStar) {
    for (int j = 1; j <= h._n; ++j) {
      const int npins = net_size(h._nlst[j]);
      if (npins >= kSmallestStar) ++size.nvertices;
      if (npins >= 2) size.nedges += npins == 2 ? 1 : npins;
    }
  }
  return size;
}

void write_expanded(const Hypergraph& h, const ExpandOptions& options, bool as_matrix, const char* filename,
                    std::atomic<std::uint64_t>& done) {
  const std::unique_ptr<Graph> graph = graph_of(h, options);
  graph->count_in(done);
  const GraphTotals totals = totals_of(*graph);
  if (as_matrix)
    write_graph_as_matrix(*graph, totals, filename);
  else
    write_graph(*graph, totals, filename, kGraphTag);
}

NetLists dual_of(const Hypergraph& h) {
  NetLists lists;
  lists.ncells = h._n;
  begin_nets(lists, h._c);
  lists.net_weights.push_back(0);
  for (int i = 1; i <= h._c; ++i) {
    for (const int j : nets_of(h._clst[i])) lists.nadj.push_back(j);
    end_net(lists);
    lists.net_weights.push_back(h._clst[i].w);
  }
  lists.cell_weights.push_back(0);
  for (int j = 1; j <= h._n; ++j) lists.cell_weights.push_back(h._nlst[j].w);
  return lists;
}

NetLists without_repeated_pins(const Hypergraph& h) {
  NetLists lists;
  lists.ncells = h._c;
  begin_nets(lists, h._n);
  lists.net_weights.push_back(0);
  std::vector<int> last_net_of(static_cast<std::size_t>(h._c) + 1);
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j]))
      if (std::exchange(last_net_of[static_cast<std::size_t>(i)], j) != j) lists.nadj.push_back(i);
    end_net(lists);
    lists.net_weights.push_back(h._nlst[j].w);
  }
  lists.cell_weights.push_back(0);
  for (int i = 1; i <= h._c; ++i) lists.cell_weights.push_back(h._clst[i].w);
  return lists;
}

}  // namespace quillon::formats
