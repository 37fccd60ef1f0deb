#pragma once
/// @file
/// The lines that findings point to, for display. Internal to `formats/`.

#include <cstddef>
#include <vector>

#include "formats/audit.h"
#include "formats/lint.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// Adds an excerpt for each finding, up to damaged data if there is any.
///
/// @param in         At the start of the text, after a byte order mark.
/// @param waypoints  Of the first read; or none.
/// @param nskipped   Bytes of the mark, which columns of the first line count.
/// @param result     Its findings are sorted.
void add_excerpts(Scanner& in, const std::vector<Waypoint>& waypoints, std::size_t nskipped,
                  LintResult& result);

}  // namespace quillon::formats
