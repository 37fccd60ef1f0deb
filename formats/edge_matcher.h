#pragma once
/// @file
/// Finds the edges of a graph that are not named once by either end, with one weight. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/block.h"
#include "formats/ints.h"
#include "formats/net_lists.h"

namespace quillon::formats {

/// The vertices that one vertex names, in the order of its line.
struct VertexLine {
  const int* numbers;  ///< For each edge the vertex, and the weight if edges have weights.
  int count;           ///< Of numbers.
  int step;            ///< Numbers of an edge.
  int shift;           ///< What is added to a number to get a vertex from 1.

  [[nodiscard]] int vertex(int k) const { return numbers[k] + shift; }
  [[nodiscard]] int weight(int k) const { return step == 2 ? numbers[k + 1] : 1; }
};

/// An edge that is not named once by either end, or with two weights.
struct BadEdge {
  enum Kind {
    kOneSided,  ///< Vertex u names v, which does not name u.
    kRepeated,  ///< Vertex u names v twice.
    kUnequal,   ///< The weights differ.
  };

  Kind kind;
  int u;           ///< The vertex on whose line the mention is that messages concern.
  int v;           ///< The vertex that it names there.
  int index;       ///< Of the mention, from 0, among those on the line that name a smaller vertex than u if v
                   ///< is one, or else a larger one.
  int w;           ///< Weight there.
  int expected_w;  ///< If the weights differ: that on the line of v.

  [[nodiscard]] bool names_larger() const { return v > u; }
  [[nodiscard]] const char* rule() const { return kind == kRepeated ? "repeated-edge" : "asymmetric-edge"; }
};

/// All are counted, those with the smallest keys are kept.
class FewBadEdges {
 public:
  /// @param most_kept  Of edges.
  explicit FewBadEdges(std::size_t most_kept) : most_kept_(most_kept) {}

  /// @param key  No other edge has it.
  void add(std::uint64_t key, const BadEdge& edge) {
    ++count_;
    if (key < limit_) keep(key, edge);
  }

  [[nodiscard]] std::int64_t count() const { return count_; }

  /// Appends those that are kept, in any order.
  void append_to(std::vector<BadEdge>& edges);

 private:
  struct Kept {
    std::uint64_t key;
    BadEdge edge;
  };

  void keep(std::uint64_t key, const BadEdge& edge);
  void drop_surplus();

  std::size_t most_kept_;
  std::int64_t count_ = 0;
  std::uint64_t limit_ = ~std::uint64_t{0};  // what is not below has no place among the smallest
  std::vector<Kept> kept_;
};

/// The edges of a graph by their larger ends, for larger ends that ascend.
class EdgesByLargerEnd {
 public:
  /// An edge on the line of its smaller end.
  struct Mention {
    int by;     ///< The smaller end.
    int names;  ///< The larger end.
    int net;    ///< Number of the net.
  };

  /// @param lists  Each net has two cells, the smaller one first.
  /// @par Cost     O(nets) time; memory for a mention for each net, and once more for each of those whose
  ///               larger ends are near each other.
  explicit EdgesByLargerEnd(const NetLists& lists);

  /// @param v  A cell.
  /// @return   The mentions of it, by ascending nets; valid until the next call.
  std::span<const Mention> of(int v) {
    const auto vertex = static_cast<unsigned>(v);
    if (vertex >> shift_ != bucket_) sort_bucket(vertex >> shift_);
    const unsigned k = vertex & mask_;
    return {sorted_.data() + starts_[k], sorted_.data() + starts_[k + 1]};
  }

 private:
  void sort_bucket(unsigned bucket);

  int shift_;  // of a vertex, to get its bucket
  unsigned mask_;
  Ints memory_{"EdgesByLargerEnd: mentions"};
  Mention* mentions_;                  // by bucket
  std::vector<unsigned> bucket_ends_;  // by bucket, in `mentions_`
  unsigned bucket_ = ~0U;
  Scratch<Mention> sorted_;       // of the current bucket
  std::vector<unsigned> starts_;  // by vertex of the current bucket, in `sorted_`
};

/// What there is to say of the edges of a graph.
struct EdgeFindings {
  std::int64_t nasymmetric = 0;  ///< Edges that only one end names, or with two weights.
  std::int64_t nrepeated = 0;    ///< Edges that one end names twice.
  std::vector<BadEdge> edges;    ///< Some of them.
  std::int64_t nparallel = 0;    ///< Nets that have the same cells as an earlier one.
  int first_parallel = 0;        ///< The first of them, or 0.
};

/// Compares the edges that smaller ends name, which are nets, with those that larger ends name.
class EdgeMatcher {
 public:
  /// Of bad edges: that of the text, or by the smaller end, then by the larger one.
  enum class Order { kText, kEnds };

  /// @param lists      The nets are the edges named by their smaller ends, in the order of the text: the
  ///                   smaller end is the first cell. Must outlive this object.
  /// @param order      Which bad edges are kept: by ends, the first one; in the order of the text, the first
  ///                   of each rule, among mentions of larger vertices and of smaller ones.
  /// @param most_kept  Of each rule.
  /// @par Cost         As `EdgesByLargerEnd`.
  EdgeMatcher(const NetLists& lists, Order order, std::size_t most_kept);

  /// @param u     Larger than in the call before.
  /// @param line  Of vertex u; those that it names and that are larger are ignored.
  void add_line(int u, const VertexLine& line);

  /// Ends after the line of the last vertex.
  EdgeFindings finish();

 private:
  using Nets = std::span<const EdgesByLargerEnd::Mention>;

  // On the line of a larger end.
  struct Backward {
    int v;
    int index;  // among those of the line
    int w;
  };
  using Backwards = std::span<const Backward>;

  [[nodiscard]] int weight_of(int net) const {
    return lists_.net_weights.empty() ? 1 : lists_.net_weights[static_cast<std::size_t>(net)];
  }

  Backwards list_backwards(int u, const VertexLine& line);
  void compare(int u, Nets nets, Backwards backwards);
  [[nodiscard]] std::size_t count_alike(Nets nets, Backwards backwards) const;
  void judge(int u, int v, Nets nets, Backwards backwards);
  void add_forward(BadEdge::Kind kind, int u, int v, int net);
  void add_backward(BadEdge::Kind kind, int u, const Backward& backward, int expected_w = 0);
  void count_parallel(Nets nets);

  const NetLists& lists_;
  Order order_;
  EdgesByLargerEnd edges_;  // of the nets
  Scratch<Backward> backwards_;
  FewBadEdges one_sided_forward_;
  FewBadEdges repeated_forward_;
  FewBadEdges asymmetric_backward_;
  FewBadEdges repeated_backward_;
  std::int64_t nparallel_ = 0;
  int first_parallel_ = 0;
};

}  // namespace quillon::formats
