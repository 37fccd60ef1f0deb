#pragma once
/// @file
/// How the benchmarks measure: two ways to the same result, checked to agree and then timed in turns.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillon::bench {

/// One of the two ways. Only `run` is timed; it takes the memory it needs, and `release` gives it back.
struct Side {
  std::function<void()> prepare = [] {};
  std::function<void()> run;
  std::function<void()> release = [] {};
};

struct Comparison {
  Side baseline;
  Side measured;
  /// Where the results of the two differ, or nothing. Called when both have run and neither is released.
  std::function<std::string()> difference;
};

/// Medians over the rounds, in seconds, and of the ratio within each round.
struct Medians {
  double baseline = 0;
  double measured = 0;
  double ratio = 0;      ///< Baseline by measured: above 1 the measured side is the faster one.
  double cpu_ratio = 0;  ///< The same of the thread's processor time: steadier on a busy machine.
};

/// What the two sides work through, to report the time in terms of it.
struct Volume {
  std::int64_t pins = 0;   ///< Or cells, for what goes through the cells alone.
  std::int64_t bytes = 0;  ///< Of the file read or written, or of the arrays copied; 0: not reported.
};

/// Registers a benchmark, called SUBJECT/INPUT, that has a round for each iteration.
void add_benchmark(const std::string& name, int nrounds,
                   const std::function<void(benchmark::State& state)>& run);

double median(std::vector<double> values);

/// Seconds that one run takes.
struct Seconds {
  double wall = 0;
  double cpu = 0;  ///< Of this thread, what the system does for it included, other programs not.
};

Seconds timed(const std::function<void()>& run);

/// Runs both sides once, untimed, and compares them; then times them alternately, a round for each iteration
/// of the state. When the results differ, nothing is timed and `failed` is true from then on.
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
