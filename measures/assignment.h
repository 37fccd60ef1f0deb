#pragma once
// The assignment of rows to columns that is worth most. Not installed.

#include <cstdint>
#include <vector>

namespace quillon::measures {

/// What it is worth to assign a row to a column.
struct AssignmentEntry {
  int row;
  int column;
  std::int64_t worth;  ///< Above 0.
};

/// Finds an assignment of greatest total worth, each row to at most one column and each column to at most one
/// row, by shortest augmenting paths over the entries alone.
///
/// @param entries  In order of rows, each pair at most once.
/// @return         By row: its column, or -1.
/// @par Cost       O(nrows e log e) time for e entries at worst, and far less if most rows have a column that
///                 is worth most to them and to no other; O(nrows + ncolumns + e) memory.
std::vector<int> best_assignment(int nrows, int ncolumns, const std::vector<AssignmentEntry>& entries);

}  // namespace quillon::measures
