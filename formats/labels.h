#pragma once
/// @file
/// Files of the names of cells and nets: a line "cell NUMBER NAME" or "net NUMBER NAME" each, names as JSON
/// texts.

#include <string>

#include "formats/format.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Reads what `write_labels` wrote.
///
/// @throws BadFile if a cell or a net has no name, or two have the same.
Labels read_labels(const std::string& filename, int ncells, int nnets);

/// @par Errors  Fatal (util/util.h) if the file cannot be written.
void write_labels(const Labels& labels, const char* filename);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
