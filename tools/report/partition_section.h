#pragma once
// The part of the page on partitions.

#include "tools/report/model.h"
#include "tools/report/page_data.h"

namespace quillon::tool {

/// Adds the members `comparison`, a table with a column for each of several partitions, and `partitions`, the
/// section of each.
void add_partitions(page::object& page, const PageModel& model);

}  // namespace quillon::tool
