#include "oracle/graphs.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quillon::oracle {

EdgeWeights all_pairs(const std::vector<std::vector<int>>& lists, const std::vector<std::int64_t>& weights) {
  EdgeWeights edges;
  for (std::size_t k = 0; k < lists.size(); ++k)
    for (const int a : lists[k])
      for (const int b : lists[k])
        if (a < b) edges[{a, b}] += weights[k];
  return edges;
}

EdgeWeights read_graph(const std::string& filename, std::vector<int>& vertex_weights) {
  std::ifstream file(filename);
  std::string line;
  std::getline(file, line);
  std::istringstream header(line);
  int nvertices = 0;
  std::size_t nedges = 0;
  int fmt = 0;
  header >> nvertices >> nedges >> fmt;

  EdgeWeights arcs;  // by the vertex that names them and the other
  vertex_weights.clear();
  for (int u = 1; u <= nvertices; ++u) {
    std::getline(file, line);
    std::istringstream numbers(line);
    int weight = 1;
    if (fmt >= 10) numbers >> weight;
    vertex_weights.push_back(weight);
    for (int v = 0; numbers >> v;) {
      std::int64_t w = 1;
      if (fmt % 10 == 1) numbers >> w;
      if (!arcs.emplace(std::pair(u, v), w).second) throw std::runtime_error("an edge is named twice");
    }
  }
  EdgeWeights edges;
  for (const auto& [ends, w] : arcs) {
    const auto other = arcs.find({ends.second, ends.first});
    if (other == arcs.end() || other->second != w) throw std::runtime_error("the graph is not symmetric");
    if (ends.first < ends.second) edges.emplace(ends, w);
  }
  if (edges.size() != nedges) throw std::runtime_error("the header does not count the edges");
  return edges;
}

}  // namespace quillon::oracle
