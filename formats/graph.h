#pragma once
/// @file
/// Graphs that are computed vertex by vertex while they are written. Internal to `formats/`.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillon::formats {

/// An edge as one of its ends has it.
struct Edge {
  int neighbour;   ///< The other end.
  std::int64_t w;  ///< Weight, of all parallel edges together.
};

/// The edges of one vertex after another; parallel ones are merged.
class EdgeList {
 public:
  explicit EdgeList(int nvertices) : places_(static_cast<std::size_t>(nvertices) + 1, kNowhere) {}

  /// Begins with another vertex. O(edges of the last one).
  void clear() {
    for (const Edge& edge : edges_) place_of(edge.neighbour) = kNowhere;
    edges_.clear();
  }

  void add(int neighbour, std::int64_t w) {
    int& place = place_of(neighbour);
    if (place == kNowhere) {
      place = static_cast<int>(edges_.size());
      edges_.push_back({neighbour, 0});
    }
    edges_[static_cast<std::size_t>(place)].w += w;
  }

  [[nodiscard]] std::span<const Edge> edges() const { return edges_; }

 private:
  static constexpr int kNowhere = -1;

  int& place_of(int i) { return places_[static_cast<std::size_t>(i)]; }

  std::vector<Edge> edges_;
  std::vector<int> places_;  // by neighbour, in `edges_`
};

/// A graph without loops. Vertices count from 1.
class Graph {
 public:
  explicit Graph(int nvertices) : list_(nvertices), nvertices_(nvertices) {}
  virtual ~Graph() = default;
  Graph(const Graph&) = delete;
  Graph& operator=(const Graph&) = delete;

  [[nodiscard]] int nvertices() const { return nvertices_; }

  /// Counts the calls of `edges_of`, for other threads.
  void count_in(std::atomic<std::uint64_t>& done) { done_ = &done; }

  [[nodiscard]] virtual int weight_of(int u) const = 0;

  /// @return  The edges of vertex u, each other end once; valid until the next call.
  std::span<const Edge> edges_of(int u) {
    if (done_ != nullptr) done_->fetch_add(1, std::memory_order_relaxed);
    list_.clear();
    add_edges(u, list_);
    return list_.edges();
  }

 protected:
  virtual void add_edges(int u, EdgeList& edges) const = 0;

 private:
  EdgeList list_;
  int nvertices_;
  std::atomic<std::uint64_t>* done_ = nullptr;
};

/// What the header of a graph file says, and what no file holds.
struct GraphTotals {
  std::int64_t nedges = 0;
  std::int64_t nbelow_one = 0;  ///< Edges of a weight below 1.
  std::int64_t nbeyond = 0;     ///< Edges of a weight that 32 bits do not hold.
  bool edge_weights = false;    ///< Not all are 1.
  bool vertex_weights = false;  ///< Not all are 1.
};

/// Goes through a graph once.
GraphTotals totals_of(Graph& graph);

/// Writes a METIS graph, with the weights that are not all 1.
///
/// @param totals    Of the graph.
/// @param filename  File to write.
/// @param tag       Of `ufopen`.
/// @par Errors      Fatal (util/util.h) if the file cannot be written, or a weight has more than 32 bits.
void write_graph(Graph& graph, const GraphTotals& totals, const char* filename, const char* tag);

/// Writes the symmetric matrix of a graph, its lower triangle: a pattern, or integers if edges have weights.
///
/// @param totals    As for `write_graph`.
/// @param filename  As there.
/// @par Errors      As there.
void write_graph_as_matrix(Graph& graph, const GraphTotals& totals, const char* filename);

}  // namespace quillon::formats
