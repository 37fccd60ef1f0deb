#pragma once
/// @file
/// How the benchmarks measure: two ways to the same result are checked to agree, then timed alternately.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillon::bench {

/// One of the two sides. Only `run` is timed; it allocates the memory it needs, and `release` frees it.
struct Side {
  std::function<void()> prepare = [] {};
  std::function<void()> run;
  std::function<void()> release = [] {};
};

struct Comparison {
  Side baseline;
  Side measured;
  /// Describes the first difference between the results, or returns an empty text. Called after both sides
  /// have run, before either is released.
  std::function<std::string()> difference;
};

/// Medians over the rounds, in seconds, and of the ratio within each round.
struct Medians {
  double baseline = 0;
  double measured = 0;
  double ratio = 0;      ///< Baseline / measured: above 1, the measured side is faster.
  double cpu_ratio = 0;  ///< The same for the thread's processor time: steadier on a busy machine.
};

/// The amount of data that each side processes, to report the time per unit.
struct Volume {
  std::int64_t pins = 0;   ///< Or cells, for functions that visit only the cells.
  std::int64_t bytes = 0;  ///< Of the file read or written, or of the arrays copied; 0: not reported.
};

/// Registers a benchmark called SUBJECT/INPUT, with one round per iteration.
void add_benchmark(const std::string& name, int nrounds,
                   const std::function<void(benchmark::State& state)>& run);

double median(std::vector<double> values);

/// Duration of one run, in seconds.
struct Seconds {
  double wall = 0;
  double cpu = 0;  ///< Processor time of this thread, in user and system mode.
};

Seconds timed(const std::function<void()>& run);

/// Runs both sides once, untimed, and compares them; then times them alternately, one round per iteration
/// of the state. If the results differ, nothing is timed and `failed` is true from then on.
Medians run_rounds(benchmark::State& state, const Comparison& comparison);

/// Sets the counters `ratio`, `cpu_ratio`, `ns_per_pin`, `baseline_ns_per_pin` and, given bytes,
/// `bytes_per_second`.
void report(benchmark::State& state, const Medians& medians, const Volume& volume);

/// `run_rounds` and `report`.
void measure(benchmark::State& state, const Comparison& comparison, const Volume& volume);

/// Ends a benchmark with a message, and the program with a status other than 0.
void fail(benchmark::State& state, const std::string& message);

bool failed();

}  // namespace quillon::bench
