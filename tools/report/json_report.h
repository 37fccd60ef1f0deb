#pragma once
// Output of --json: one object on one line for each file. docs/json.md explains the members.
//
// Names of files are printed as given; malformed UTF-8 becomes U+FFFD.

#include <cstdint>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/components.h"
#include "measures/figures.h"
#include "measures/quantiles.h"
#include "tools/report/model.h"

namespace quillon::tool {

/// Nets of one pin or none that were folded.
struct FoldedNets {
  int count = 0;
  std::int64_t one_pin_weight = 0;
  std::int64_t pinless_weight = 0;
};

/// Quantiles of a figure of cells or nets.
struct NamedQuantiles {
  const char* heading;  // in text
  const char* key;      // in RESULT lines
  const char* member;   // in JSON
  measures::Quantiles quantiles;
};

/// What `stats` prints on request only.
struct StatsExtras {
  std::vector<NamedQuantiles> quantiles;  // none: not wanted
  const measures::Components* components = nullptr;
};

/// The text of a name of a cell or net: a JSON string without its quotes and escapes, other JSON as it is.
std::string text_of_name(const std::string& json);

void print_stats_json(const std::string& file, const FoldedNets& folded, const measures::Figures& figures,
                      const StatsExtras& extras = {});

/// @param nfolded  Nets of one pin or none that were folded.
void print_check_json(const std::string& file, const Hypergraph& h, int nfolded, bool is_symmetric);

/// @param command  "eval" or "partition-info".
void print_partition_json(const std::string& command, const PartitionModel& model);

/// For a file that the command failed on.
///
/// @param partition  The partition of it that could not be read, or empty.
void print_failure_json(const std::string& command, const std::string& file,
                        const std::string& partition = "");

}  // namespace quillon::tool
