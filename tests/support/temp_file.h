#pragma once
// A temporary file, removed at the end of the test.

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace quillon {

class TempFile {
 public:
  explicit TempFile(const std::string& text = "") {
    std::string name = (std::filesystem::temp_directory_path() / "quillon-test-XXXXXX").string();
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) throw std::runtime_error("cannot make a file like " + name);
    close(descriptor);
    name_ = name;
    std::ofstream(name_, std::ios::binary) << text;
  }
  ~TempFile() {
    std::error_code ignored;
    std::filesystem::remove(name_, ignored);
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  [[nodiscard]] const char* name() const { return name_.c_str(); }

  [[nodiscard]] std::string contents() const {
    std::ostringstream text;
    text << std::ifstream(name_, std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  std::string name_;
};

}  // namespace quillon
