#pragma once
// A hypergraph, and a partition of it, as one page that needs nothing else: no script and no network.

#include <optional>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon::tool {

struct Partition {
  std::string name;
  std::vector<int> parts;  // by cell; entry 0 is not used
  int nparts;
};

/// The page, which is well-formed XML too. Names may hold anything.
///
/// @param h  Both sides built, with all nets of the file.
std::string html_page(const std::string& name, const Hypergraph& h,
                      const std::optional<Partition>& partition);

}  // namespace quillon::tool
