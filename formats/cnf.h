#pragma once
/// @file
/// SAT formulas in DIMACS conjunctive normal form. Only read. Internal to `formats/`: what the functions do
/// stands at `Format`.

#include "formats/format.h"

namespace quillon::formats {

void read_cnf(Scanner& in, NetLists& lists, const ReadOptions& options);

std::string refusal_of_cnf(const WriteOptions& options);

}  // namespace quillon::formats
