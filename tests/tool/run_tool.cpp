#include "tests/tool/run_tool.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quillon::tool_test {
namespace {

std::string contents(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace

Workplace::Workplace() {
  std::string name = (std::filesystem::temp_directory_path() / "quillon-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder like " + name);
  folder_ = name;
  std::filesystem::create_directory(folder_ / "work");
}

Workplace::~Workplace() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void Workplace::write(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / "work" / name, std::ios::binary) << text;
}

Outcome Workplace::run(const std::string& command) const {
  const std::filesystem::path out = folder_ / "out";
  const std::filesystem::path err = folder_ / "err";
  const std::string line = "cd '" + (folder_ / "work").string() +
                           "' && QUILLON='" QUILLON_TOOL "' DATA='" QUILLON_DATA "' && { " + command +
                           "; } >'" + out.string() + "' 2>'" + err.string() + "' </dev/null";
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(out), contents(err)};
}

}  // namespace quillon::tool_test
