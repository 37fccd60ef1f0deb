#pragma once
// A slow, obvious reader of the Hypergraph Interchange Format, over a library for JSON. Shares no code with
// formats/.

#include <cstddef>
#include <string>
#include <vector>

namespace quillon::oracle {

/// Thrown for a text that breaks a rule.
struct HifFinding {
  std::string rule;
  std::size_t offset;
  std::string message;
};

/// Cells and nets count from 1. Entry 0 of what is indexed by them is not used.
struct HifContents {
  std::vector<std::vector<int>> pins;  ///< By net, the first one at 0.
  std::vector<std::string> cell_names;
  std::vector<std::string> net_names;
  std::vector<int> cell_weights;  ///< Empty if all are 1 because none is given.
  std::vector<int> net_weights;   ///< Likewise.
  std::vector<std::string> remarks;
  std::vector<std::string> losses;
};

HifContents read_hif(const std::string& text);

}  // namespace quillon::oracle
