#pragma once
/// @file
/// Graphs of METIS; an edge becomes a net of two pins. Only read. Internal to `formats/`: what the functions
/// do stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_metis(Scanner& in, NetLists& lists, const ReadOptions& options);

std::string refusal_of_metis(const WriteOptions& options);

}  // namespace quillon::formats
