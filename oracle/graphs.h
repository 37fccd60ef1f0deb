#pragma once
/// @file
/// Slow, obvious twins of the graphs of hypergraphs, on maps.

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quillon::oracle {

/// The weight of each edge, by its two ends, the smaller first.
using EdgeWeights = std::map<std::pair<int, int>, std::int64_t>;

/// Joins all pairs of each list, each pair once, with the weight of the list.
///
/// @param lists    Numbers from 1, in any order, none twice in a list.
/// @param weights  By list.
EdgeWeights all_pairs(const std::vector<std::vector<int>>& lists, const std::vector<std::int64_t>& weights);

/// Reads a METIS graph with any weights, and checks that both ends name each edge.
///
/// @param vertex_weights  Out; 1 where the file has none.
/// @throws std::runtime_error if an edge is named by one end only, or with another weight, or the header does
///                            not count the edges.
EdgeWeights read_graph(const std::string& filename, std::vector<int>& vertex_weights);

}  // namespace quillon::oracle
