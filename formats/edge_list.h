#pragma once
/// @file
/// Edge and hyperedge lists of names. Internal to `formats/`: what the functions do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_edge_list(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_edge_list(const Hypergraph& h, const WriteOptions& options, const char* filename);

void find_losses_of_edge_list(const Hypergraph& h, const WriteOptions& options, Losses& losses);

}  // namespace quillon::formats
