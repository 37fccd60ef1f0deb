#pragma once
// Options that several commands share.

#include <cstdint>
#include <string>
#include <vector>

#include "tools/cli/options.h"

namespace quillon::tool {

inline void add_own_files(Options& options, std::vector<std::string>& files) {
  options.files("FILE", files, ValueKind::kOwnIn, "Hypergraph files; - is standard input").required();
}

inline void add_own_file(Options& options, const char* name, std::string& file) {
  options.file(name, name, file, ValueKind::kOwnIn, "Hypergraph file; - is standard input").required();
}

inline void add_hypergraph(Options& options, std::string& file) {
  options
      .file("HYPERGRAPH", "HYPERGRAPH", file, ValueKind::kHypergraphIn,
            "Hypergraph file; - is standard input")
      .required();
}

inline void add_from(Options& options, const formats::Format*& format, const char* of) {
  options.format("--from", format, of);
}

inline Option add_json(Options& options, bool& json) {
  return options.flag("--json", json, "Print one JSON object per file, each on one line");
}

inline void add_keep_small_nets(Options& options, bool& keep_small_nets) {
  options.flag("--keep-small-nets", keep_small_nets,
               "Keep nets of one pin or none (default: remove them and add their weights to totals)");
}

inline Option add_nparts(Options& options, int& nparts) {
  return options.number(
      "-k", "K", 1, nparts,
      "Number of parts (default: largest part number + 1; required if it exceeds the number of "
      "cells)");
}

/// Of a random order that is made only if `random` is given.
inline void add_seed(Options& options, std::uint64_t& seed, const Option& random) {
  options
      .number("--seed", "S", seed,
              "Seed of the random order (default 0); the same seed always gives the same order")
      .needs(random);
}

}  // namespace quillon::tool
