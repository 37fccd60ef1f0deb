#pragma once
// A hypergraph, and a partition of it, as one page that needs nothing else: no script and no network.

#include <optional>
#include <string>

#include "hypergraph/hypergraph.h"
#include "measures/partition.h"

namespace quillon::tool {

/// The page, which is well-formed XML too. Names may hold anything.
///
/// @param h  Both sides built, with all nets of the file.
std::string html_page(const std::string& name, const Hypergraph& h,
                      const std::optional<measures::Partition>& partition, const std::string& partition_name);

}  // namespace quillon::tool
