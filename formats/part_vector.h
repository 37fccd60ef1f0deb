#pragma once
/// @file
/// Files that hold a number for each cell, in cell order: part vectors and permutations; permutations of nets
/// too.

#include <string>
#include <vector>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Reads a part number for each cell, with any white space between them.
///
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param ncells    Number of cells.
/// @param nparts    Number of parts; 0 if unknown: then at most as many as cells.
/// @param first     Number of the first part in the file, 0 or 1.
/// @return          By cell number, ncells + 1 entries, parts from 0; entry 0 is not used.
/// @throws BadFile  if the file cannot be read, or if a part number is missing, is not one of `nparts`, or
///                  follows that of the last cell.
std::vector<int> read_parts(const std::string& filename, int ncells, int nparts, int first = 0);

/// Reads the part that each cell is fixed to, or -1 for a cell that is free, like `read_parts`.
///
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param ncells    Number of cells.
/// @param nparts    Number of parts; 0 for any.
/// @param first     Number of the first part in the file, 0 or 1.
/// @return          By cell number, ncells + 1 entries, parts from 0 or -1; entry 0 is -1.
/// @throws BadFile  as `read_parts` does.
std::vector<int> read_fixed_parts(const std::string& filename, int ncells, int nparts, int first = 0);

/// Reads numbers, as many as there are, with any white space between them.
///
/// @param filename     File name, or - for standard input; gzip and zstd are decompressed.
/// @param least, most  Their range.
/// @param meaning      Names what is expected, in errors.
/// @return             In the order of the file.
/// @throws BadFile     if the file cannot be read, or has anything but such numbers.
std::vector<int> read_numbers(const std::string& filename, int least, int most, const std::string& meaning);

/// Writes a part vector with one number a line.
///
/// @param parts     By cell number; entry 0 is ignored.
/// @param filename  File to write.
/// @par Errors      Fatal (util/util.h) if the file cannot be written.
void write_parts_by_line(const std::vector<int>& parts, const char* filename);

/// Reads a permutation of the cells or the nets: on each line the old number of a new one, from 1.
///
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param count     Number of cells or nets.
/// @param item      What they are in errors: cell or net.
/// @return          By new number, count + 1 entries; entry 0 is 0.
/// @throws BadFile  if the file cannot be read, or if a number is missing, or there twice.
std::vector<int> read_permutation(const std::string& filename, int count, const std::string& item = "cell");

/// Writes a permutation with one number a line.
///
/// @param order     By new cell number; entry 0 is ignored.
/// @param filename  File to write.
/// @par Errors      Fatal (util/util.h) if the file cannot be written.
void write_permutation(const std::vector<int>& order, const char* filename);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
