#pragma once
// Files that follow a hypergraph through renumbering: names, part vectors, and maps of old and new numbers.

#include <string>
#include <vector>

#include "formats/sink.h"
#include "tools/cli/options.h"
#include "tools/operations/order.h"

namespace quillon::tool {

/// A file to renumber, and where to write the result.
struct Carried {
  std::string file;
  std::string out;
};

/// Declares --carry.
void add_carry(Options& options, std::vector<std::string>& carry);

/// Splits the values of --carry, FILE:OUT each.
///
/// @throws UsageError  if one has another form.
std::vector<Carried> carried_files(const std::vector<std::string>& carry);

/// Files for the maps of a new hypergraph; empty names stand for none.
struct MapFiles {
  std::string cells;
  std::string nets;
};

/// Declares --cell-map and --net-map.
void add_maps(Options& options, MapFiles& files);

/// Refuses outputs that are also read, or written twice. Only OUT may replace IN.
///
/// @param in       The hypergraph that is read.
/// @param out      The hypergraph that is written.
/// @param inputs   Other files that are read; empty names are ignored.
/// @param outputs  Other files that are written; empty names are ignored.
/// @param carried  What `carried_files` gives.
/// @par Errors     Fatal.
void refuse_outputs_beside(const std::string& in, const std::string& out, std::vector<std::string> inputs,
                           std::vector<std::string> outputs, const std::vector<Carried>& carried);

/// Reads partition files and files of labels of the old hypergraph, and writes those of the new one.
///
/// @param ncells            Of the old hypergraph.
/// @param nnets             Of the old hypergraph.
/// @throws formats::BadFile if a file cannot be read.
void carry(formats::Outputs& outputs, const std::vector<Carried>& carried, const OldNumbers& numbers,
           int ncells, int nnets);

/// Writes a map with one number a line, entry 0 left out; nothing if `file` is empty.
void write_numbers(formats::Outputs& outputs, const std::string& file, const std::vector<int>& numbers);

/// Writes the maps that are wanted.
void write_maps(formats::Outputs& outputs, const MapFiles& files, const OldNumbers& numbers);

}  // namespace quillon::tool
