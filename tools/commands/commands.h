#pragma once
// The subcommands of `quillon`: what the user may ask of each, and what carries it out. Each returns its
// status: 0 fine, 1 a finding or bad input, 2 usage.

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/formats.h"
#include "formats/readers.h"

namespace quillon::tool {

inline constexpr int kFine = 0;
inline constexpr int kFinding = 1;
inline constexpr int kUsage = 2;

/// Wrong usage that shows only when the options are seen together.
struct UsageError : std::runtime_error {
  using runtime_error::runtime_error;
};

struct StatsOptions {
  std::vector<std::string> files;
  bool table = false;
  bool header = false;
  bool summary = false;
  bool json = false;
  bool keep_small_nets = false;
};

struct CheckOptions {
  std::vector<std::string> files;
  bool symmetric = false;
  bool json = false;
  bool keep_small_nets = false;
};

struct DumpOptions {
  std::string file;
  std::vector<int> nets;
  std::vector<int> cells;
  bool keep_small_nets = false;
};

struct PruneOptions {
  std::string in;
  std::string out;
  int max_size = 0;
  bool shuffle = false;
  std::uint64_t seed = 0;
  std::string map;
  std::string set_aside;
};

struct ReorderOptions {
  std::string in;
  std::string out;
  std::optional<std::string> by_part;  // exactly one of the three
  std::optional<std::string> perm;
  bool random = false;
  std::uint64_t seed = 0;
  std::string write_perm;
  std::string write_inverse;
};

/// The weights that a file gets. The first four have the numbers that the text format gives them.
enum class WrittenWeights { kNone, kCells, kNets, kBoth, kAuto };

struct ConvertOptions {
  std::string in;
  std::string out;
  std::optional<Format> from;
  std::optional<Format> to;
  std::optional<int> numbering;
  std::optional<WrittenWeights> weights;
  Model model = Model::kRowNet;
  bool add_diagonal = false;
  std::string labels;
  bool strict = false;
};

struct PartitionInfoOptions {
  std::string hypergraph;
  std::string part_file;
  std::optional<Format> from;
  int nparts = 0;  // 0: as many as the file needs
  std::string write;
  bool one_per_line = false;
  bool json = false;
};

struct ReportOptions {
  std::string hypergraph;
  std::string part_file;
  std::string out;
  std::string title;
  std::optional<Format> from;
  int nparts = 0;  // 0: as many as the file needs
};

// Each carries its command out; that of `convert` may throw UsageError.
int run(const StatsOptions& options);
int run(const CheckOptions& options);
int run(const DumpOptions& options);
int run(const PruneOptions& options);
int run(const ReorderOptions& options);
int run(ConvertOptions options);
int run(const PartitionInfoOptions& options);
int run(const ReportOptions& options);

/// A command as the user sees it.
struct CommandHelp {
  std::string name;
  std::string summary;
  std::string text;
};

/// Explains a command or a topic, or lists them if `topic` is empty.
int help(const std::string& topic, std::span<const CommandHelp> commands);

}  // namespace quillon::tool
