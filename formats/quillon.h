#pragma once
/// @file
/// Our own text format Internal to `formats/`: what the functions do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_quillon(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_quillon(const Hypergraph& h, const WriteOptions& options, const char* filename);
void write_quillon_stream(NetStream& nets, const char* filename);

void find_losses_of_quillon(const Hypergraph& h, const WriteOptions& options, Losses& losses);

}  // namespace quillon::formats
