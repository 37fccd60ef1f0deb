#pragma once
/// @file
/// Graphs of METIS; an edge is a net of two pins. Internal to `formats/`: what the functions do stands at
/// `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_metis(Scanner& in, NetLists& lists, const ReadOptions& options);

/// Also fatal unless every net has two pins, on different cells.
void write_metis(const Hypergraph& h, const WriteOptions& options, const char* filename);

void find_losses_of_metis(const Hypergraph& h, const WriteOptions& options, Losses& losses);

}  // namespace quillon::formats
