#pragma once
/// @file
/// Matrix Market coordinate files. Internal to `formats/`: what the functions do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_matrix_market(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_matrix_market(const Hypergraph& h, const WriteOptions& options, const char* filename);
void write_matrix_market_stream(NetStream& nets, const char* filename);

std::string refusal_of_matrix_market(const WriteOptions& options);
void find_losses_of_matrix_market(const Hypergraph& h, const WriteOptions& options, Losses& losses);

}  // namespace quillon::formats
