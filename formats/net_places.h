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

/// Finds the lines of a few nets, by reading a file again.
///
/// The line of a net is its own, or that of its first pin: of the entry of a matrix, the pair of names, the
/// incidence, or the vertex of a graph whose line names the edge first.
///
/// @param filename  File that `load` has read. Of standard input, pipes and the like no line is found.
/// @param format    Its format.
/// @param options   Those that it was read with.
/// @param nets      Net numbers, in increasing order.
/// @return          A line number for each, from 1; 0 if it is unknown, as that of a net without pins in a
///                  file that lists pins.
/// @throws BadFile  if the file cannot be read.
/// @par Cost        One or two reads of the file, the second up to the last line wanted. Formats that list
///                  pins need memory for all of them.
std::vector<std::size_t> lines_of_nets(const std::string& filename, const Format& format,
                                       const ReadOptions& options, const std::vector<int>& nets);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
