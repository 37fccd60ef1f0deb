#pragma once
// An importer on any text: what it takes becomes a record, a file again, and the same record from that.

#include <cstddef>
#include <cstdint>
#include <functional>

#include "formats/net_lists.h"
#include "formats/readers.h"
#include "formats/writers.h"
#include "hypergraph/hypergraph.h"

namespace quillon::fuzz {

struct RoundTrip {
  std::function<void(tool::Tokenizer&, tool::Arrays&)> import;
  std::function<void(const Hypergraph*, const tool::Labels&, const char* filename)> write;
  std::function<void(tool::Tokenizer&, tool::Arrays&)> import_back;
};

/// Writes the kub format, for what cannot be written in the format that it was read in.
void write_kub(const Hypergraph* h, const tool::Labels& labels, const char* filename);

/// Anything but that, or a refusal that says where and what, is a find.
void try_importer(const RoundTrip& trip, const std::uint8_t* data, std::size_t size);

}  // namespace quillon::fuzz
