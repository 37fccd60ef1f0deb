#pragma once
// Reports as text on standard output.

#include "tools/report/model.h"

namespace quillon::tool {

void print_partition_text(const PartitionModel& model);

}  // namespace quillon::tool
