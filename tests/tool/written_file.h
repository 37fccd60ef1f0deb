#pragma once
// What the tool writes around the data of a hypergraph.

#include <cstdio>
#include <string>

namespace quillon::tool_test {

/// The statistics that follow the data.
struct Info {
  int ncells;
  int nnets;
  int npins;
  int min_degree;
  int max_degree;
  int min_size;
  int max_size;
};

/// The whole file of a hypergraph that has cells and nets: `data` is the header, the net lines and the cell
/// weights, without its last line end.
inline std::string written_file(const std::string& data, const Info& info) {
  char text[600];
  std::snprintf(text, sizeof text,
                "\n%% ------ Hypergraph info -------"
                "\n #Cells           : %7d\n #Nets            : %7d\n #Pins            : %7d"
                "\n Min. Cells Deg.  : %7d\n Max. Cells Deg.  : %7d\n Avg. Cells Deg.  : %7.3f"
                "\n Min. Nets Size   : %7d\n Max. Nets Size   : %7d\n Avg. Nets Size   : %7.3f",
                info.ncells, info.nnets, info.npins, info.min_degree, info.max_degree,
                1.0 * info.npins / info.ncells, info.min_size, info.max_size, 1.0 * info.npins / info.nnets);
  return "% This file is created by Quillon v1.1\n"
         "% Quillon, a hypergraph partitioning library, by the Quillon authors\n%\n" +
         data + text;
}

}  // namespace quillon::tool_test
