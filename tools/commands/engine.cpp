#include "tools/commands/engine.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/cli/child.h"
#include "tools/cli/console.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr int kTooLarge = 3;  // exit status: the engine needs numbers of 64 bits

std::vector<std::string> folders_in(const char* variable) {
  const char* const value = std::getenv(variable);
  std::vector<std::string> folders;
  for (std::string_view rest = value == nullptr ? "" : value; !rest.empty();) {
    const std::size_t end = rest.find(':');
    if (end != 0) folders.emplace_back(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return folders;
}

// QUILLON_ENGINES, the folder of the tool, and where a build and an installation have the engines.
std::vector<std::string> engine_folders() {
  std::vector<std::string> folders = folders_in("QUILLON_ENGINES");
  std::error_code error;
  const std::filesystem::path tool = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return folders;
  for (const char* const folder : {".", "../engines", QUILLON_LIBEXEC})
    folders.push_back((tool.parent_path() / folder).lexically_normal().string());
  return folders;
}

// The path of a program in one of the folders; empty if there is none.
std::string program_in(const std::vector<std::string>& folders, const std::string& name) {
  for (const std::string& folder : folders) {
    std::string program = (std::filesystem::path(folder) / name).string();
    std::error_code ignored;
    if (std::filesystem::is_regular_file(program, ignored) && access(program.c_str(), X_OK) == 0)
      return program;
  }
  return "";
}

std::string name_of(Engine engine) { return engine == Engine::kMetis ? "quillon-metis" : "quillon-ptscotch"; }

std::vector<std::string> mpi_command(const EngineRequest& request) {
  const std::string mpirun = program_in(folders_in("PATH"), "mpirun");
  if (mpirun.empty()) errexit("there is no mpirun; install openmpi-bin");
  std::vector<std::string> command{mpirun, "--quiet", "--bind-to",
                                   "none", "-n",      std::to_string(request.ranks)};
  if (geteuid() == 0) command.emplace_back("--allow-run-as-root");
  if (request.hostfile.empty())
    command.emplace_back("--oversubscribe");  // mpirun counts cores, and refuses more ranks
  else
    command.insert(command.end(), {"--hostfile", request.hostfile});
  return command;
}

std::vector<std::string> command_of(const EngineRequest& request, const std::string& program) {
  std::vector<std::string> command;
  if (request.engine == Engine::kPtscotch) command = mpi_command(request);
  command.push_back(program);
  command.insert(command.end(), {"--format", std::string(request.format)});
  command.insert(command.end(), {"--limit", request.limit, "--seed", std::to_string(request.seed)});
  command.insert(command.end(), {"--expand", std::string(request.expansion)});
  command.insert(command.end(), {"--largest-clique", std::to_string(request.largest_clique)});
  command.insert(command.end(), {"--threads", std::to_string(request.threads)});
  if (!request.fixed.empty()) command.insert(command.end(), {"--fixed", request.fixed});
  if (quiet()) command.emplace_back("--quiet");
  command.insert(command.end(), {request.file, std::to_string(request.nparts)});
  return command;
}

int run_program(const EngineRequest& request, const std::string& program,
                const std::function<void(std::string_view)>& read_output) {
  // On other machines the ranks are not those of this mpirun, but of programs that it starts there.
  const int nlaunched = request.hostfile.empty() ? request.ranks : 1;
  Child child(command_of(request, program),
              request.engine == Engine::kPtscotch ? static_cast<std::size_t>(nlaunched) : 0);
  std::vector<char> block(std::size_t{1} << 16);
  read_output({});
  while (const std::size_t size = child.read(block.data(), block.size())) read_output({block.data(), size});
  return child.wait();
}

}  // namespace

void run_engine(const EngineRequest& request, const std::function<void(std::string_view)>& read_output) {
  std::string name = name_of(request.engine);
  std::string program = program_in(engine_folders(), name);
  if (program.empty())
    errexit("there is no %s here; install the package %s, or name its folder in QUILLON_ENGINES",
            name.c_str(), name.c_str());
  int status = run_program(request, program, read_output);
  const std::string wide = program_in(engine_folders(), name + "64");
  if (status == kTooLarge && !wide.empty()) {
    name += "64";
    status = run_program(request, wide, read_output);
  }
  if (status != 0) errexit("%s %s", name.c_str(), end_of_child(status).c_str());
}

}  // namespace quillon::tool
