#pragma once
/// @file
/// Slow, obvious twins of the functions that choose and extract parts of hypergraphs, on sets.

#include <set>
#include <vector>

namespace quillon::oracle {

/// Cells of nets, both from 1: net j is entry j - 1.
using NetSets = std::vector<std::vector<int>>;

/// The cells that share a net with some of these, and these.
std::set<int> with_neighbours(const NetSets& nets, const std::set<int>& cells);

/// The connected components, by decreasing number of cells and then by first cell.
std::vector<std::set<int>> components(const NetSets& nets, int ncells);

/// The pins of a net that are on some cells, by their new numbers: 1 for the smallest of the cells, and so
/// on.
std::vector<int> cut_down(const std::vector<int>& net, const std::set<int>& cells);

}  // namespace quillon::oracle
