#pragma once
/// @file
/// Where in a file its nets are.

#include <cstddef>
#include <string>
#include <vector>

#include "formats/format.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Finds the lines of a few nets, by reading a file again up to the last of them.
///
/// @param filename  File that `load` has read. Of standard input, pipes and the like no line is found.
/// @param format    Its format. Only quillon, hmetis and kub files have a line for each net.
/// @param nets      Net numbers, in increasing order.
/// @return          A line number for each, from 1; 0 if it is unknown.
/// @throws BadFile  if the file cannot be read.
std::vector<std::size_t> lines_of_nets(const std::string& filename, const Format& format,
                                       const std::vector<int>& nets);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
