#pragma once
/// @file
/// Hypergraphs of hMETIS. Internal to `formats/`: what the functions do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_hmetis(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_hmetis(const Hypergraph& h, const WriteOptions& options, const char* filename);
void write_hmetis_stream(NetStream& nets, const char* filename);

void find_losses_of_hmetis(const Hypergraph& h, const WriteOptions& options, Losses& losses);
void note_oddities_of_hmetis(const Hypergraph& h, std::vector<std::string>& remarks);

}  // namespace quillon::formats
