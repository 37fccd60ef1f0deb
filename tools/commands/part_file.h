#pragma once
// Partitions from files, for the commands that measure them.

#include <algorithm>
#include <string>

#include "formats/part_vector.h"
#include "measures/partition.h"

namespace quillon::tool {

/// @param nparts  0: one above the largest part number in the file.
inline measures::Partition read_partition(const std::string& file, int ncells, int nparts) {
  measures::Partition partition{formats::read_parts(file, ncells, nparts), nparts};
  if (nparts == 0) partition.nparts = *std::max_element(partition.parts.begin(), partition.parts.end()) + 1;
  return partition;
}

}  // namespace quillon::tool
