#pragma once
// Partitions from files, and what their parts should weigh, for the commands that measure them.

#include <string>
#include <vector>

#include "measures/balance.h"
#include "measures/partition.h"
#include "tools/cli/options.h"
#include "tools/report/model.h"

namespace quillon::tool {

/// How a command reads partitions.
struct PartOptions {
  int nparts = 0;  // -k; 0: as many as the file needs
  int first = 0;   // --parts-from
  bool allow_empty_parts = false;
};

/// Declares -k, --parts-from and --allow-empty-parts, and returns them.
std::vector<Option> add_parts(Options& options, PartOptions& parts);

/// @par Errors  More parts than cells without --allow-empty-parts are fatal.
void check_number_of_parts(const PartOptions& options, int ncells);

/// Reads a partition, and warns of what is odd about its parts.
///
/// @par Errors  As `formats::read_parts` and `check_number_of_parts`.
measures::Partition read_partition(const std::string& file, int ncells, const PartOptions& options);

/// --limit, --targets and --fixed.
struct BalanceOptions {
  std::vector<std::string> limits;
  std::string targets;
  std::string fixed;
};

void add_balance(Options& options, BalanceOptions& balance);

/// Reads RULE=VALUE.
///
/// @throws UsageError  if the text is something else.
NamedLimit limit_of(const std::string& text);

/// Reads a file of a share or weight a line, or of lines like "0-3 = 0.1"; parts that no such line names
/// share what is left. Values that add up to at most 1 are shares.
///
/// @throws formats::BadFile  if it cannot be read, breaks these rules, or has no value for a part.
measures::Targets read_targets(const std::string& file, int nparts);

}  // namespace quillon::tool
