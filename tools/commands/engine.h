#pragma once
// The programs that partition for us, which are installed separately. docs/partition.md describes how they
// are called.

#include <functional>
#include <string>
#include <string_view>

namespace quillon::tool {

enum class Engine { kPtscotch, kMetis };

/// What an engine is asked for. Words are passed on as they are.
struct EngineRequest {
  Engine engine = Engine::kPtscotch;
  std::string file;         // plain, on every machine that runs a rank
  std::string_view format;  // quillon or hmetis
  int nparts = 0;
  std::string limit;  // on the balance, as eval has them
  int seed = 0;
  std::string_view expansion = "star";  // star or clique
  int largest_clique = 32;
  std::string fixed;  // file of fixed cells, or empty
  int ranks = 1;
  std::string hostfile;  // or empty: this machine
  int threads = 1;
};

/// Runs the engine.
///
/// @param read_output  Receives the engine's standard output, piece by piece. An empty piece means that the
///                     engine starts a second time, and the output from the beginning.
/// @par Errors         Fatal (util/util.h) if the engine fails, or if it or a program that it needs is not
///                     installed; the message then names the package.
void run_engine(const EngineRequest& request, const std::function<void(std::string_view)>& read_output);

}  // namespace quillon::tool
