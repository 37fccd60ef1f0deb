#pragma once
/// @file
/// Runs of consecutive items, as even as possible: what a matrix or a chart of limited size counts together.

#include <cstdint>

namespace quillon::measures {

/// The run that an item lies in.
///
/// @param index    Item, 0-based, below `count`.
/// @param count    Number of items, at least 1.
/// @param ngroups  Number of runs, 1 .. `count`.
/// @return         Run, 0-based.
inline int group_of(int index, int count, int ngroups) {
  return static_cast<int>(std::int64_t{index} * ngroups / count);
}

/// The first item of a run.
///
/// @param group    Run, 0-based, up to `ngroups`.
/// @param count    As for `group_of`.
/// @param ngroups  As for `group_of`.
/// @return         Item, 0-based; `count` for the run after the last.
inline int group_begin(int group, int count, int ngroups) {
  return static_cast<int>((std::int64_t{group} * count + ngroups - 1) / ngroups);
}

}  // namespace quillon::measures
