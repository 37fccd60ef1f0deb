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

/// Reads what `write_labels` wrote; lines may come in any order.
///
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param ncells    Number of cells.
/// @param nnets     Number of nets.
/// @return          The names of all cells and nets.
/// @throws BadFile if the file cannot be read, a line breaks the format, a cell or a net has no name, or two
///                 cells or two nets have the same.
Labels read_labels(const std::string& filename, int ncells, int nnets);

/// Writes names, those of cells first.
///
/// @param labels    Their numbers are their indices.
/// @param filename  File to write.
/// @par Errors      Fatal (util/util.h) if the file cannot be written.
void write_labels(const Labels& labels, const char* filename);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
