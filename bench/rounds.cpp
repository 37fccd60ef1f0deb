#include "bench/rounds.h"

#include <time.h>

#include <algorithm>
#include <chrono>

namespace quillon::bench {
namespace {

bool any_failed = false;

double cpu_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

Seconds timed_side(const Side& side) {
  side.prepare();
  const Seconds seconds = timed(side.run);
  side.release();
  return seconds;
}

// Also the warm-up.
std::string difference_of(const Comparison& comparison) {
  for (const Side* side : {&comparison.baseline, &comparison.measured}) {
    side->prepare();
    side->run();
  }
  std::string difference = comparison.difference();
  comparison.measured.release();
  comparison.baseline.release();
  return difference;
}

}  // namespace

void add_benchmark(const std::string& name, int nrounds,
                   const std::function<void(benchmark::State& state)>& run) {
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the library keeps it until the program ends
  benchmark::RegisterBenchmark(name.c_str(), run)
      ->Iterations(nrounds)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Seconds timed(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  const double cpu_start = cpu_seconds();
  run();
  const double cpu = cpu_seconds() - cpu_start;
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), cpu};
}

Medians run_rounds(benchmark::State& state, const Comparison& comparison) {
  if (const std::string difference = difference_of(comparison); !difference.empty()) {
    fail(state, "the two results differ: " + difference);
    return {};
  }
  std::vector<double> baseline;
  std::vector<double> measured;
  std::vector<double> ratio;
  std::vector<double> cpu_ratio;
  for ([[maybe_unused]] const auto& round : state) {
    const Seconds a = timed_side(comparison.baseline);
    const Seconds b = timed_side(comparison.measured);
    baseline.push_back(a.wall);
    measured.push_back(b.wall);
    ratio.push_back(a.wall / b.wall);
    cpu_ratio.push_back(a.cpu / b.cpu);
    state.SetIterationTime(b.wall);
  }
  return {median(baseline), median(measured), median(ratio), median(cpu_ratio)};
}

void report(benchmark::State& state, const Medians& medians, const Volume& volume) {
  if (state.error_occurred()) return;
  const auto pins = static_cast<double>(volume.pins);
  state.counters["ratio"] = medians.ratio;
  state.counters["cpu_ratio"] = medians.cpu_ratio;
  state.counters["ns_per_pin"] = 1e9 * medians.measured / pins;
  state.counters["baseline_ns_per_pin"] = 1e9 * medians.baseline / pins;
  if (volume.bytes > 0)
    state.counters["bytes_per_second"] = static_cast<double>(volume.bytes) / medians.measured;
}

void measure(benchmark::State& state, const Comparison& comparison, const Volume& volume) {
  report(state, run_rounds(state, comparison), volume);
}

void fail(benchmark::State& state, const std::string& message) {
  any_failed = true;
  state.SkipWithError(message.c_str());
}

bool failed() { return any_failed; }

}  // namespace quillon::bench
