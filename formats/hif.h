#pragma once
/// @file
/// Hypergraph Interchange Format 0.1. Internal to `formats/`: what the functions do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_hif(Scanner& in, NetLists& lists, const ReadOptions& options);
void write_hif(const Hypergraph& h, const WriteOptions& options, const char* filename);

}  // namespace quillon::formats
