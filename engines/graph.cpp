#include "engines/graph.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace quillon::engines {
namespace {

// An edge on its way to the rank of `from`.
template <typename Number>
struct Arc {
  Number from;  // a cell
  Number to;    // a vertex
  Number weight;
};

template <typename Number>
struct CellWeight {
  Number cell;
  Number weight;
};

// Sums of the entries before each one; the last entry is the sum of all.
std::vector<std::int64_t> running_sums(const std::vector<std::int64_t>& counts) {
  std::vector<std::int64_t> sums{0};
  for (const std::int64_t count : counts) sums.push_back(sums.back() + count);
  return sums;
}

// Where the vertices of the ranks are.
struct Numbering {
  std::int64_t ncells = 0;
  std::vector<std::int64_t> first_vertices;  // by rank, and the number of all

  [[nodiscard]] std::int64_t nranks() const { return static_cast<std::int64_t>(first_vertices.size()) - 1; }
  [[nodiscard]] Range cells_of(std::int64_t rank) const { return share_of(ncells, rank, nranks()); }

  [[nodiscard]] std::int64_t rank_of(std::int64_t cell) const {
    const std::int64_t size = ncells / nranks();
    const std::int64_t larger = ncells % nranks();
    const std::int64_t in_larger = larger * (size + 1);
    return cell < in_larger ? cell / (size + 1) : larger + (cell - in_larger) / size;
  }
  [[nodiscard]] std::int64_t vertex_of(std::int64_t cell) const {
    const std::int64_t rank = rank_of(cell);
    return first_vertices[static_cast<std::size_t>(rank)] + cell - cells_of(rank).begin;
  }
};

// How the nets become edges, and what these weigh.
struct Scheme {
  ExpandOptions options;
  std::int64_t factor = 1;

  [[nodiscard]] bool is_clique(std::int64_t size) const {
    return size == 2 || (options.expansion == Expansion::kClique && size <= options.largest_clique);
  }
  [[nodiscard]] std::int64_t edge_weight(std::int64_t weight, std::int64_t size) const {
    if (!is_clique(size) || size == 2) return factor * weight;
    return std::max<std::int64_t>(1, (2 * factor * weight + size - 1) / (2 * (size - 1)));
  }
};

template <typename Number>
struct NetView {
  const Number* pins;
  std::int64_t size;
  std::int64_t weight;
};

// The nets that can be cut, and at a cost.
template <typename Number, typename Visit>
void for_each_net(const Slice<Number>& slice, Visit visit) {
  for (std::int64_t j = 0; j < slice.nnets(); ++j) {
    const auto at = static_cast<std::size_t>(j);
    const std::int64_t size = slice.starts[at + 1] - slice.starts[at];
    const std::int64_t weight = slice.net_weights.empty() ? 1 : slice.net_weights[at];
    if (size >= 2 && weight > 0) visit(NetView<Number>{slice.pins.data() + slice.starts[at], size, weight});
  }
}

// All edges from cells that the nets of a slice make. `first_star` is the vertex of its first star.
template <typename Number, typename Visit>
void for_each_arc(const Slice<Number>& slice, const Scheme& scheme, const Numbering& numbering,
                  std::int64_t first_star, Visit visit) {
  std::int64_t star = first_star;
  for_each_net(slice, [&](const NetView<Number>& net) {
    const auto weight = static_cast<Number>(scheme.edge_weight(net.weight, net.size));
    if (!scheme.is_clique(net.size)) {
      for (std::int64_t k = 0; k < net.size; ++k)
        visit(Arc<Number>{net.pins[k], static_cast<Number>(star), weight});
      ++star;
      return;
    }
    for (std::int64_t k = 0; k < net.size; ++k) {
      const auto to = static_cast<Number>(numbering.vertex_of(net.pins[k]));
      for (std::int64_t other = 0; other < net.size; ++other)
        if (other != k) visit(Arc<Number>{net.pins[other], to, weight});
    }
  });
}

// Sorts items into parcels. `for_each` calls its argument with every item, in the same order each time.
template <typename Item, typename ForEach, typename RankOf>
Parcels<Item> pack(std::int64_t nranks, ForEach for_each, RankOf rank_of) {
  std::vector<std::int64_t> counts(static_cast<std::size_t>(nranks));
  for_each([&](const Item& item) { ++counts[static_cast<std::size_t>(rank_of(item))]; });
  Parcels<Item> parcels{{}, running_sums(counts)};
  parcels.items.resize(static_cast<std::size_t>(parcels.firsts.back()));
  std::vector<std::int64_t> next = parcels.firsts;
  for_each([&](const Item& item) {
    parcels.items[static_cast<std::size_t>(next[static_cast<std::size_t>(rank_of(item))]++)] = item;
  });
  return parcels;
}

// The factor of the edge weights, so that their sum over all edges, in both directions, fits.
template <typename Number>
std::int64_t factor_of(const Slice<Number>& slice, const Scheme& scheme, const Ranks& ranks) {
  constexpr auto kMost = static_cast<double>(std::numeric_limits<Number>::max()) / 2;
  double with_factor = 0;  // the sum is at most this times the factor ...
  double rounded_up = 0;   // ... plus this
  for_each_net(slice, [&](const NetView<Number>& net) {
    const auto size = static_cast<double>(net.size);
    const bool is_clique = scheme.is_clique(net.size);
    with_factor += static_cast<double>(net.weight) * size * (is_clique ? 1 : 2);
    if (is_clique && net.size > 2) rounded_up += size * (size - 1);
  });
  double total = 0;
  double total_rounded = 0;
  for (const double sum : ranks.gather(with_factor)) total += sum;
  for (const double sum : ranks.gather(rounded_up)) total_rounded += sum;
  if (total + total_rounded > kMost)
    fail_together<TooLarge>(ranks, "the weights of the edges add up to too much");
  if (scheme.options.expansion == Expansion::kStar || total == 0) return 1;
  return std::min(kCliqueFactor, static_cast<std::int64_t>((kMost - total_rounded) / total));
}

// Reads the part of the file that belongs to this rank.
template <typename Number>
Slice<Number> read_share(const std::string& filename, const FileHeader& header, const Ranks& ranks) {
  const Range share = share_of(header.body.size(), ranks.rank(), ranks.count());
  const Range bytes{header.body.begin + share.begin, header.body.begin + share.end};
  const Survey counts = survey(filename, header, bytes);
  const std::vector<std::int64_t> first_lines = running_sums(ranks.gather(counts.nlines));
  if (first_lines.back() < header.nnets)
    fail_together<BadInput>(ranks, filename + ": has " + std::to_string(first_lines.back()) +
                                       " lines of nets, expected " + std::to_string(header.nnets));
  Slice<Number> slice = read_slice<Number>(filename, header, bytes, counts,
                                           first_lines[static_cast<std::size_t>(ranks.rank())]);
  std::vector<std::int64_t> npins{slice.npins_in_file};
  ranks.add_up(npins);
  if (header.npins >= 0 && npins.front() != header.npins)
    fail_together<BadInput>(ranks, filename + ": has " + std::to_string(npins.front()) +
                                       " pins, expected the " + std::to_string(header.npins) +
                                       " of the header");
  return slice;
}

// The weights of the cells of this rank, from the weights in all slices.
template <typename Number>
std::vector<Number> exchange_cell_weights(const std::string& filename, const FileHeader& header,
                                          std::vector<Number>&& numbers, const Numbering& numbering,
                                          const Ranks& ranks) {
  const Range mine = numbering.cells_of(ranks.rank());
  std::vector<Number> weights(static_cast<std::size_t>(mine.size()), 1);
  if (!header.cell_weights) return weights;

  const std::vector<std::int64_t> firsts =
      running_sums(ranks.gather(static_cast<std::int64_t>(numbers.size())));
  if (header.format == FileFormat::kHmetis && firsts.back() != header.ncells)
    fail_together<BadInput>(ranks, filename + ": has " + std::to_string(firsts.back()) +
                                       " cell weights, expected " + std::to_string(header.ncells));
  const std::int64_t first = firsts[static_cast<std::size_t>(ranks.rank())];
  using Item = CellWeight<Number>;
  const auto for_each = [&](const auto& visit) {
    for (std::size_t k = 0; k < numbers.size(); ++k) {
      const std::int64_t at = first + static_cast<std::int64_t>(k);
      const std::int64_t cell = at / header.weights_per_cell;  // the first of its weights counts
      if (at % header.weights_per_cell == 0 && cell < header.ncells)
        visit(Item{static_cast<Number>(cell), numbers[k]});
    }
  };
  const std::vector<Item> items = ranks.exchange(
      pack<Item>(ranks.count(), for_each, [&](const Item& item) { return numbering.rank_of(item.cell); }));
  for (const Item& item : items) weights[static_cast<std::size_t>(item.cell - mine.begin)] = item.weight;
  return weights;
}

// A graph without cell weight cannot be balanced: then each cell weighs 1.
template <typename Number>
void set_cell_weights(Graph<Number>& graph, std::vector<Number>&& weights, const Ranks& ranks) {
  std::vector<std::int64_t> total{std::accumulate(weights.begin(), weights.end(), std::int64_t{0})};
  ranks.add_up(total);
  if (total.front() == 0) {
    std::fill(weights.begin(), weights.end(), Number{1});
    total.front() = graph.ncells_in_all;
  }
  if (total.front() > std::numeric_limits<Number>::max() / 2)
    fail_together<TooLarge>(ranks, "the cells weigh too much: " + std::to_string(total.front()));
  graph.total_weight = total.front();
  graph.weights = std::move(weights);
}

// Groups edges by their cell.
template <typename Number>
void set_edges_of_cells(Graph<Number>& graph, std::vector<Arc<Number>>&& arcs) {
  std::vector<std::int64_t> counts(static_cast<std::size_t>(graph.cells.size()));
  for (const Arc<Number>& arc : arcs) ++counts[static_cast<std::size_t>(arc.from - graph.cells.begin)];
  graph.starts = running_sums(counts);
  graph.ends.resize(arcs.size());
  graph.edge_weights.resize(arcs.size());
  std::vector<std::int64_t> next = graph.starts;
  for (const Arc<Number>& arc : arcs) {
    const auto at = static_cast<std::size_t>(next[static_cast<std::size_t>(arc.from - graph.cells.begin)]++);
    graph.ends[at] = arc.to;
    graph.edge_weights[at] = arc.weight;
  }
}

// Nets that share two cells make parallel edges: merged, they weigh their sum. Sorts the edges of each cell,
// so that they do not depend on the number of ranks.
template <typename Number>
void merge_parallel_edges(Graph<Number>& graph) {
  std::vector<std::pair<Number, Number>> edges;
  std::int64_t written = 0;
  std::int64_t begin = 0;
  for (std::size_t vertex = 0; vertex + 1 < graph.starts.size(); ++vertex) {
    const std::int64_t end = graph.starts[vertex + 1];
    edges.clear();
    for (auto k = static_cast<std::size_t>(begin); k < static_cast<std::size_t>(end); ++k)
      edges.emplace_back(graph.ends[k], graph.edge_weights[k]);
    std::sort(edges.begin(), edges.end());
    const std::int64_t first = written;
    for (const auto& [to, weight] : edges) {
      const auto at = static_cast<std::size_t>(written);
      if (written > first && graph.ends[at - 1] == to) {
        graph.edge_weights[at - 1] += weight;
        continue;
      }
      graph.ends[at] = to;
      graph.edge_weights[at] = weight;
      ++written;
    }
    begin = end;
    graph.starts[vertex + 1] = written;
  }
  graph.ends.resize(static_cast<std::size_t>(written));
  graph.edge_weights.resize(static_cast<std::size_t>(written));
}

template <typename Number>
void add_stars(Graph<Number>& graph, const Slice<Number>& slice, const Scheme& scheme,
               const Numbering& numbering) {
  std::size_t nedges = graph.ends.size();
  for_each_net(slice, [&](const NetView<Number>& net) {
    if (!scheme.is_clique(net.size)) nedges += static_cast<std::size_t>(net.size);
  });
  graph.ends.reserve(nedges);
  graph.edge_weights.reserve(nedges);
  for_each_net(slice, [&](const NetView<Number>& net) {
    if (scheme.is_clique(net.size)) return;
    for (std::int64_t k = 0; k < net.size; ++k)
      graph.ends.push_back(static_cast<Number>(numbering.vertex_of(net.pins[k])));
    graph.edge_weights.resize(graph.ends.size(),
                              static_cast<Number>(scheme.edge_weight(net.weight, net.size)));
    graph.weights.push_back(0);
    graph.starts.push_back(static_cast<std::int64_t>(graph.ends.size()));
  });
}

// Engines add up the edges of all ranks, in both directions.
template <typename Number>
void check_sizes(const Graph<Number>& graph, const Numbering& numbering, const Ranks& ranks) {
  constexpr std::int64_t kMost = std::numeric_limits<Number>::max();
  std::vector<std::int64_t> nedges{static_cast<std::int64_t>(graph.ends.size())};
  ranks.add_up(nedges);
  if (numbering.first_vertices.back() >= kMost || nedges.front() >= kMost)
    fail_together<TooLarge>(ranks, std::to_string(numbering.first_vertices.back()) + " vertices with " +
                                       std::to_string(nedges.front()) + " edges are too many");
}

template <typename Number>
Numbering number_vertices(const Slice<Number>& slice, const FileHeader& header, const Scheme& scheme,
                          const Ranks& ranks) {
  std::int64_t nstars = 0;
  for_each_net(slice, [&](const NetView<Number>& net) { nstars += scheme.is_clique(net.size) ? 0 : 1; });
  const Range cells = share_of(header.ncells, ranks.rank(), ranks.count());
  const std::vector<std::int64_t> first_vertices = running_sums(ranks.gather(cells.size() + nstars));
  if (first_vertices.back() >= std::numeric_limits<Number>::max())
    fail_together<TooLarge>(ranks, std::to_string(first_vertices.back()) + " vertices are too many");
  return {header.ncells, first_vertices};
}

}  // namespace

template <typename Number>
Graph<Number> load_graph(const std::string& filename, FileFormat format, const ExpandOptions& options,
                         const Ranks& ranks) {
  // Rank 0 first: an error in the header is reported once.
  FileHeader header;
  if (ranks.rank() == 0) header = read_header(filename, format);
  header = ranks.gather(header).front();
  if (header.ncells > std::numeric_limits<Number>::max())
    fail_together<TooLarge>(ranks, filename + ": " + std::to_string(header.ncells) + " cells are too many");
  Slice<Number> slice = read_share<Number>(filename, header, ranks);

  Scheme scheme{options};
  scheme.factor = factor_of(slice, scheme, ranks);
  const Numbering numbering = number_vertices(slice, header, scheme, ranks);

  Graph<Number> graph;
  graph.ncells_in_all = header.ncells;
  graph.cells = numbering.cells_of(ranks.rank());
  set_cell_weights(graph,
                   exchange_cell_weights(filename, header, std::move(slice.weight_numbers), numbering, ranks),
                   ranks);

  const std::int64_t first_star =
      numbering.first_vertices[static_cast<std::size_t>(ranks.rank())] + graph.cells.size();
  using Item = Arc<Number>;
  const auto for_each = [&](const auto& visit) { for_each_arc(slice, scheme, numbering, first_star, visit); };
  Parcels<Item> parcels =
      pack<Item>(ranks.count(), for_each, [&](const Item& arc) { return numbering.rank_of(arc.from); });
  set_edges_of_cells(graph, ranks.exchange(std::move(parcels)));
  merge_parallel_edges(graph);
  add_stars(graph, slice, scheme, numbering);
  check_sizes(graph, numbering, ranks);
  return graph;
}

template Graph<std::int32_t> load_graph(const std::string&, FileFormat, const ExpandOptions&, const Ranks&);
template Graph<std::int64_t> load_graph(const std::string&, FileFormat, const ExpandOptions&, const Ranks&);

}  // namespace quillon::engines
