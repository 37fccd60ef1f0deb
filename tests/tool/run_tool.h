#pragma once
// Runs the tool as a user does, from a shell, in an empty folder.

#include <filesystem>
#include <string>

namespace quillon::tool_test {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

/// A folder of its own for each test, removed with everything in it.
class Workplace {
 public:
  Workplace();
  ~Workplace();
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  /// Writes a file in the folder.
  void write(const std::string& name, const std::string& text) const;

  /// Runs a shell command in the folder, with $QUILLON as the tool and $DATA as the folder of data files.
  [[nodiscard]] Outcome run(const std::string& command) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace quillon::tool_test
