#pragma once
/// @file
/// What the programs in this folder have in common: their command line, their exit statuses and their
/// messages.
///
///     quillon-NAME [OPTIONS] FILE K
///
/// prints the part of each cell on standard output, one number a line, and nothing else; messages go to
/// standard error. The options are those of `EngineOptions`.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "engines/graph.h"
#include "engines/ranks.h"
#include "measures/balance.h"

namespace quillon::engines {

/// Exit statuses.
inline constexpr int kFailure = 1;
inline constexpr int kUsage = 2;
inline constexpr int kTooLarge = 3;  ///< Beyond the numbers of this program; those of 64 bits may be enough.

struct EngineOptions {
  std::string file;                            ///< FILE, a regular file, not compressed.
  int nparts = 0;                              ///< K, from 1.
  FileFormat format = FileFormat::kQuillon;    ///< --format quillon|hmetis
  ExpandOptions expand{Expansion::kStar, 32};  ///< --expand star|clique, --largest-clique SIZE
  /// --limit RULE=VALUE
  measures::Limit limit{measures::BalanceRule::kEpsilon, {3, 2}};
  int seed = 0;        ///< --seed S
  int threads = 1;     ///< --threads N, of each rank
  std::string fixed;   ///< --fixed FILE; empty: none
  bool quiet = false;  ///< --quiet
};

/// Something is wrong with the command line, or asks for what the engine cannot do.
struct BadUsage : std::runtime_error {
  using runtime_error::runtime_error;
};

/// @throws BadUsage
EngineOptions parse_options(int argc, char** argv);

/// Runs `work`; when it throws, prints the error after the name of the program.
///
/// @return  The exit status.
int run_engine(const char* name, const std::function<void()>& work);

/// The standard output, for the partition alone: what libraries print there goes to standard error from now
/// on.
std::FILE* take_standard_output();

/// Prints a line for each part.
///
/// @throws BadInput if the stream cannot be written.
template <typename Number>
void print_parts(std::FILE* out, const std::vector<Number>& parts);

/// Flushes and closes the stream.
///
/// @throws BadInput if anything written to it was lost.
void finish_output(std::FILE* out);

/// Weights of the parts of all ranks.
///
/// @param parts  Of the cells of this rank, or of all its vertices.
template <typename Number>
std::vector<std::int64_t> part_weights(const Graph<Number>& graph, const std::vector<Number>& parts,
                                       int nparts, const Ranks& ranks);

/// Partitions until a partition keeps the limit of the options: engines exceed the imbalance that they are
/// asked for now and then. Asks for half the imbalance each time, four times at most, and returns the
/// partition that misses the limit least if none keeps it. A single part, or one for each cell, needs no
/// engine.
///
/// @param partition  Returns the parts of the vertices of this rank for an imbalance.
/// @return           The parts of the cells of this rank.
template <typename Number>
std::vector<Number> partition_within(const Graph<Number>& graph, const EngineOptions& options,
                                     const Ranks& ranks,
                                     const std::function<std::vector<Number>(double imbalance)>& partition);

/// On rank 0, prints "NAME: C cells; a graph of V vertices and E edges" on standard error.
template <typename Number>
void print_graph(const char* name, const Graph<Number>& graph, const EngineOptions& options,
                 const Ranks& ranks);

/// On rank 0, prints "NAME: R ranks, at most M MB of memory a rank" on standard error.
void print_summary(const char* name, const EngineOptions& options, const Ranks& ranks);

}  // namespace quillon::engines
