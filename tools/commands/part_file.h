#pragma once
// The file of a partition.

#include <string>
#include <vector>

namespace quillon::tool {

/// Reads a part number for every cell, separated by any white space. Fatal if one is malformed or out of
/// range, or if there are more or fewer than cells.
///
/// @param nparts  Number of parts; 0 if not known, then the number of cells bounds it.
/// @return        By cell number; entry 0 is not used.
std::vector<int> read_parts(const std::string& file, int ncells, int nparts);

}  // namespace quillon::tool
