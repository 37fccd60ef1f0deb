#pragma once
/// @file
/// Readers of files that belong to a hypergraph, of any text. Internal to `formats/`.
///
/// If somebody listens to the scanner, the readers go on after errors; the results are then incomplete.

#include <vector>

#include "formats/format.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// As `read_parts` of a file.
std::vector<int> read_parts(Scanner& in, int ncells, int nparts, int first);

/// As `read_fixed_parts` of a file.
std::vector<int> read_fixed_parts(Scanner& in, int ncells, int nparts, int first);

/// As `read_permutation` of a file.
std::vector<int> read_permutation(Scanner& in, int count, const std::string& item);

/// As `read_labels` of a file. For `lint` without names, as it may be told of far more cells than there are.
Labels read_labels(Scanner& in, int ncells, int nnets);

}  // namespace quillon::formats
