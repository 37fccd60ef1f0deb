#pragma once
/// @file
/// The kub format: count-prefixed nets, cells from 0. Internal to `formats/`: what the functions do stands at
/// `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_kub(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_kub(const Hypergraph& h, const WriteOptions& options, const char* filename);
void write_kub_stream(NetStream& nets, const char* filename);

void find_losses_of_kub(const Hypergraph& h, const WriteOptions& options, Losses& losses);

}  // namespace quillon::formats
