#pragma once
/// @file
/// Graphs that stand for a hypergraph, for engines that partition graphs. Each rank reads its slice of the
/// file and gets its vertices: a block of cells and, after them, its nets.
///
/// A net of two pins is an edge. In the star expansion, a larger net is a vertex of weight 0 with an edge to
/// each of its cells; in the clique expansion, it is an edge between each two of them. Nets of weight 0 and
/// nets with fewer than two different cells are left out.

#include <cstdint>
#include <string>
#include <vector>

#include "engines/ranks.h"
#include "engines/slice.h"

namespace quillon::engines {

enum class Expansion { kStar, kClique };

struct ExpandOptions {
  Expansion expansion = Expansion::kStar;
  std::int64_t largest_clique = 0;  ///< Nets of more pins become stars in the clique expansion, too.
};

/// Edges of a clique weigh w / (size - 1), times a factor that is common to all edges, rounded, at least 1.
/// The factor is this, which makes the weights of nets of up to 11 pins exact, or less if the sum of all
/// weights would not fit.
inline constexpr std::int64_t kCliqueFactor = 2520;

/// The vertices of one rank in compressed arrays, numbers from 0. Vertices are numbered rank by rank.
template <typename Number>
struct Graph {
  std::int64_t total_weight = 0;  ///< Of all cells.
  std::int64_t ncells_in_all = 0;
  Range cells;                          ///< Those of this rank; they are its first vertices.
  std::vector<Number> weights;          ///< Of the vertices here.
  std::vector<std::int64_t> starts{0};  ///< One more than vertices: where the edges of each begin in `ends`.
  std::vector<Number> ends;             ///< The other ends of the edges.
  std::vector<Number> edge_weights;

  [[nodiscard]] std::int64_t nvertices() const { return static_cast<std::int64_t>(weights.size()); }
};

/// @tparam Number   std::int32_t or std::int64_t: what the engine counts in.
/// @throws BadInput, TooLarge  on any rank. The others may then wait for it, so the caller has to end them.
template <typename Number>
Graph<Number> load_graph(const std::string& filename, FileFormat format, const ExpandOptions& options,
                         const Ranks& ranks);

}  // namespace quillon::engines
