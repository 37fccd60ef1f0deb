#include <filesystem>
#include <optional>

#include "bench/cases.h"
#include "bench/rounds.h"
#include "bench/system.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

void build_cell_side(Hypergraph* h) {
  h->_net_list = imalloc(std::int64_t{h->_p} + 2, "bench: net_list");
  int* const work = imalloc(std::int64_t{h->_c} + 1, "bench: work");
  construct_net_list(h, work);
  _usfree(work);
}

// A command of the tool as a whole and the library calls in it.
struct ToolCase {
  const char* command;
  void (*examine)(Hypergraph* h);
};

void run_tool(benchmark::State& state, Input& input, const Options& options, const ToolCase& tool) {
  const char* const path = input.path();
  std::optional<StandardOutput> output;
  Comparison comparison;
  comparison.baseline.prepare = [&] { output.emplace("/dev/null"); };
  comparison.baseline.run = [&] {
    Hypergraph h = {};
    read_hypergraph(&h, path, 0);
    build_cell_side(&h);
    tool.examine(&h);
    free_hypergraph(&h);
  };
  comparison.baseline.release = [&] { output.reset(); };
  comparison.measured.run = [&] { run_program({options.tool, tool.command, path}, "/dev/null"); };
  comparison.difference = [] { return std::string(); };
  const Medians medians = run_rounds(state, comparison);
  state.counters["tool_seconds"] = medians.measured;
  state.counters["library_seconds"] = medians.baseline;
  state.counters["times_library"] = 1 / medians.ratio;
  state.counters["file_bytes"] = static_cast<double>(input.bytes());
}

void print_statistics(Hypergraph* h) {
  set_hypergraph_infos(h);
  pr_detailinfo_hypergraph(h);
}

void check_lists(Hypergraph* h) { CheckListsofHypergraph(h); }

// Allocates as much memory as reading and building fill, in the same way, and writes to every page: the time
// that the system needs to provide that memory.
double time_of_fresh_memory(const Hypergraph& h) {
  const auto ncells = static_cast<std::uint64_t>(h._c);
  const auto nnets = static_cast<std::uint64_t>(h._n);
  const auto npins = static_cast<std::uint64_t>(h._p);
  std::vector<char*> blocks;
  const auto taken = timed([&] {
    for (const std::uint64_t bytes : {ncells * sizeof(Cell), nnets * sizeof(Net), npins * sizeof(int),
                                      npins * sizeof(int), ncells * sizeof(int)}) {
      constexpr std::uint64_t kPage = 4096;
      char* const block = static_cast<char*>(umalloc(bytes, "bench: fresh memory"));
      for (std::uint64_t at = 0; at < bytes; at += kPage) static_cast<volatile char*>(block)[at] = 1;
      blocks.push_back(block);
    }
  });
  for (char* const block : blocks) _usfree(block);
  return taken.wall;
}

void run_growth(benchmark::State& state, int millions, const std::string& folder) {
  const std::string path = folder + "/growth.qhg";
  write_generated(Shape::kLocal, millions * 125000, path);
  settle(path);
  std::vector<double> reading;
  std::vector<double> building;
  std::vector<double> memory;
  Hypergraph h = {};
  for ([[maybe_unused]] const auto& round : state) {
    reading.push_back(timed([&] { read_hypergraph(&h, path.c_str(), 0); }).wall);
    building.push_back(timed([&] { build_cell_side(&h); }).wall);
    free_hypergraph(&h);
    memory.push_back(time_of_fresh_memory(h));
    state.SetIterationTime(reading.back() + building.back());
  }
  state.counters["pins"] = h._p;
  state.counters["file_bytes"] = static_cast<double>(std::filesystem::file_size(path));
  state.counters["read_ns_per_pin"] = 1e9 * median(reading) / h._p;
  state.counters["net_list_ns_per_pin"] = 1e9 * median(building) / h._p;
  state.counters["memory_ns_per_pin"] = 1e9 * median(memory) / h._p;
  std::filesystem::remove(path);
}

}  // namespace

void add_tool(Input& input, const Options& options) {
  for (const ToolCase& tool : {ToolCase{"stats", print_statistics}, ToolCase{"check", check_lists}})
    add_benchmark(
        "tool:" + std::string(tool.command) + "/" + input.name(), options.nrounds,
        [&input, &options, tool](benchmark::State& state) { run_tool(state, input, options, tool); });
}

void add_growth(const Options& options) {
  for (int millions = 1; millions <= options.growth; millions *= 2)
    add_benchmark(
        "growth/" + std::to_string(millions), options.nrounds,
        [millions, &options](benchmark::State& state) { run_growth(state, millions, options.folder); });
}

}  // namespace quillon::bench
