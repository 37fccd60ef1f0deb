#pragma once
/// @file
/// The benchmarks, one source per subject.

#include <memory>
#include <string>
#include <vector>

#include "bench/inputs.h"

namespace quillon::bench {

struct Options {
  int ncells = 2000000;
  int nrounds = 5;
  int growth = 0;      ///< Largest input of the growth benchmark in millions of pins; 0: none.
  std::string tool;    ///< Path of the command-line tool; empty: not measured.
  std::string folder;  ///< For generated inputs and outputs.
  std::vector<std::string> files;
};

using Inputs = std::vector<std::unique_ptr<Input>>;

void add_reading(Input& input, const Options& options);
/// A stream of small records, read one after another.
void add_small_records(const Options& options);
void add_writing(Input& input, const Options& options);
void add_incidence(Input& input, const Options& options);
void add_copies(Input& input, const Options& options);
void add_reports(Input& input, const Options& options);
/// Evaluations of partitions against a pass that reads every pin and the part of its cell.
void add_measures(Input& input, const Options& options);
/// Importers against read_hypergraph on the same pins, and two threads against one.
void add_imports(Input& input, const Options& options);
/// lint against the importer: on a clean file, and on files with a finding in every line.
void add_lint(Input& input, const Options& options);
/// Bounds set by the system: writers against cat, copies against memcpy, memory of a read.
void add_bounds(Input& input, const Options& options);
/// The reader of HIF against the module's and Python's, exporters against the module's writers.
void add_hif(Input& input, const Options& options);
/// The command-line tool against the library calls in it.
void add_tool(Input& input, const Options& options);
/// Commands as wholes against calls of the library, and a compressed file against zcat.
void add_commands(Input& input, const Options& options);
/// The command-line tool against other programs that read the same file, those that are installed.
void add_peers(const Options& options);
void add_growth(const Options& options);

/// Runs in a child process of the benchmark program: reads the file, if any, and prints the peak memory of
/// the process in KiB. Returns the exit status.
///
/// @param format  Of the file, to import it; null: reads it by the module.
int print_peak_of_read(const char* file, const char* format);

/// The first argument of such a child process.
constexpr const char* kPeakOfRead = "--peak-of-read";

}  // namespace quillon::bench
