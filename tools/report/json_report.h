#pragma once
// What commands say with --json: an object on a line for each file. docs/json.md explains the members.

#include <string>

#include "formats/record.h"
#include "measures/figures.h"
#include "measures/partition.h"

namespace quillon::tool {

void print_stats_json(const std::string& file, const formats::Record& record, const measures::Figures& figures);

void print_check_json(const std::string& file, const formats::Record& record, bool is_symmetric);

void print_partition_json(const std::string& file, const std::string& part_file, const Hypergraph& h,
                          const measures::PartSizes& sizes, const measures::CutSizes& cut);

/// For a file of which there is nothing to say but that the command failed.
void print_failure_json(const std::string& command, const std::string& file);

}  // namespace quillon::tool
