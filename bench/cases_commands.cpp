#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "bench/system.h"
#include "formats/formats.h"
#include "formats/threads.h"
#include "hypergraph/detail/lists.h"

namespace quillon::bench {
namespace {

// An input in another format, removed with this object.
class Exported {
 public:
  Exported(Input& input, const Options& options, const std::string& format)
      : path_(options.folder + "/exported." + format) {
    formats::format_named(format)->write(input.record(), {}, path_.c_str());
    settle(path_);
  }
  ~Exported() { std::filesystem::remove(path_); }
  Exported(const Exported&) = delete;
  Exported& operator=(const Exported&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void report_times(benchmark::State& state, const Medians& medians) {
  if (state.error_occurred()) return;
  state.counters["command_seconds"] = medians.measured;
  state.counters["calls_seconds"] = medians.baseline;
  state.counters["times_calls"] = 1 / medians.ratio;
}

// The command as a whole against reading and writing in this process, on one thread.
void run_convert(benchmark::State& state, Input& input, const Options& options, int nthreads) {
  const Exported source(input, options, "hmetis");
  const std::string path_a = options.folder + "/converted.library";
  const std::string path_b = options.folder + "/converted.qhg";
  Comparison comparison;
  comparison.baseline.run = [&] {
    formats::set_threads(1);
    formats::Record record;
    formats::LoadOptions load;
    load.format = formats::format_named("hmetis");
    load.cell_side = false;  // the target does not need it
    formats::load(record, source.path(), load);
    formats::format_named("quillon")->write(record.h, {}, path_a.c_str());
  };
  comparison.baseline.release = [&] { std::filesystem::remove(path_a); };
  comparison.measured.run = [&] {
    run_program({options.tool, "convert", "--quiet", "--from", "hmetis", source.path(), path_b, "--threads",
                 std::to_string(nthreads)},
                "/dev/null");
  };
  comparison.measured.release = [&] { std::filesystem::remove(path_b); };
  comparison.difference = [&] {
    Differences differences;
    differences.files(path_a, path_b);
    return differences.first();
  };
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  report_times(state, medians);
}

// Reading a compressed file on two threads, against decompressing it alone.
void run_compressed(benchmark::State& state, Input& input, const Options& options) {
  const Exported source(input, options, "hmetis");
  const std::string compressed = options.folder + "/exported.gz";
  run_program({"gzip", "-c", source.path()}, compressed);
  formats::NetLists lists;
  Comparison comparison;
  comparison.baseline.run = [&] { run_program({"zcat", compressed}, "/dev/null"); };
  comparison.measured.run = [&] {
    lists = formats::read_file(compressed, *formats::format_named("hmetis"), {});
  };
  comparison.measured.release = [&] { lists = {}; };
  comparison.difference = [&] { return std::string(lists.nnets == input.record()._n ? "" : "the nets"); };
  formats::set_threads(2);
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  std::filesystem::remove(compressed);
  report_times(state, medians);
}

// What people read such a file with otherwise, and a command that reads it.
struct Peer {
  const char* name;
  const char* version;  // prints that of the peer
  const char* reads;    // a statement of Python that reads the file sys.argv[1]; null: the program itself
  const char* format;
  const char* command;
};

constexpr const char* kPython = "/usr/bin/python3";
constexpr std::array<Peer, 4> kPeers{{
    {"scipy.io.mmread", "/usr/bin/python3 -c 'import scipy; print(scipy.__version__)'",
     "import scipy.io, sys; scipy.io.mmread(sys.argv[1])", "mtx", "stats"},
    {"igraph.Graph.Read_Edgelist", "/usr/bin/python3 -c 'import igraph; print(igraph.__version__)'",
     "import igraph, sys; igraph.Graph.Read_Edgelist(sys.argv[1])", "edges", "stats"},
    {"networkx.read_edgelist", "/usr/bin/python3 -c 'import networkx; print(networkx.__version__)'",
     "import networkx, sys; networkx.read_edgelist(sys.argv[1])", "edges", "stats"},
    {"graphchk", "dpkg-query -W -f '${Version}\n' metis", nullptr, "graph", "check"},
}};

std::string output_of(const std::string& command, const std::string& folder) {
  const std::string path = folder + "/answer";
  if (std::system((command + " >" + path + " 2>/dev/null").c_str()) != 0) return "";
  std::string line;
  std::getline(std::ifstream(path), line);
  return line;
}

// The star of the input as the format of the peer: a graph, a list of its edges, or the incidence matrix.
void write_for_peer(const Peer& peer, Input& input, const Options& options, const std::string& path) {
  const std::string format = peer.format;
  if (format == "mtx") {
    formats::format_named(format)->write(input.record(), {}, path.c_str());
  } else if (format == "graph") {
    run_program({options.tool, "expand", "--quiet", input.path(), "-o", path, "--to", "star"}, "/dev/null");
  } else {
    const Hypergraph& h = input.record();
    std::ofstream file(path);
    for (int j = 1; j <= h._n; ++j)
      for (const int i : pins_of(h._nlst[j])) file << h._c + j - 1 << ' ' << i - 1 << '\n';
  }
  settle(path);
}

// Both are whole processes.
void run_peer(benchmark::State& state, Input& input, const Options& options, const Peer& peer) {
  const std::string path = options.folder + "/peer." + peer.format;
  write_for_peer(peer, input, options, path);
  Comparison comparison;
  comparison.baseline.run = [&] {
    if (peer.reads != nullptr)
      run_program({kPython, "-c", peer.reads, path}, "/dev/null");
    else
      run_program({peer.name, path}, "/dev/null");
  };
  comparison.measured.run = [&] { run_program({options.tool, peer.command, "--quiet", path}, "/dev/null"); };
  comparison.difference = [] { return std::string(); };
  const Medians medians = run_rounds(state, comparison);
  if (!state.error_occurred()) {
    state.SetLabel(std::string(peer.name) + " " + output_of(peer.version, options.folder));
    state.counters["tool_seconds"] = medians.measured;
    state.counters["peer_seconds"] = medians.baseline;
    state.counters["times_peer"] = medians.ratio;
  }
  std::filesystem::remove(path);
}

}  // namespace

void add_commands(Input& input, const Options& options) {
  for (const int nthreads : {1, 2})
    add_benchmark("command:convert_" + std::to_string(nthreads) + "/" + input.name(), options.nrounds,
                  [&input, &options, nthreads](benchmark::State& state) {
                    run_convert(state, input, options, nthreads);
                  });
  add_benchmark("command:zcat/" + input.name(), options.nrounds,
                [&](benchmark::State& state) { run_compressed(state, input, options); });
}

void add_peers(const Options& options) {
  // An eighth of the other inputs: some of the peers are slow.
  static Input input("eighth", Shape::kLocal, options.ncells / 8, options.folder);
  for (const Peer& peer : kPeers) {
    if (output_of(peer.version, options.folder).empty()) continue;
    add_benchmark(std::string("peer:") + peer.name + "/" + input.name(), options.nrounds,
                  [&](benchmark::State& state) { run_peer(state, input, options, peer); });
  }
}

}  // namespace quillon::bench
