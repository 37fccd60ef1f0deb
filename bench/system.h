#pragma once
/// @file
/// Redirects standard output and runs other programs.

#include <string>
#include <vector>

namespace quillon::bench {

/// Redirects standard output to a file during its lifetime.
class StandardOutput {
 public:
  explicit StandardOutput(const std::string& path);
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

 private:
  int kept_;
};

/// Runs a program and waits for it; its standard output replaces the contents of a file. A program that
/// cannot be run or that fails is a fatal error.
///
/// @param words  Program, looked up in the PATH, and its arguments.
void run_program(std::vector<std::string> words, const std::string& output);

/// Waits until a file is on disk, so that writing it back does not disturb a measurement.
void settle(const std::string& path);

}  // namespace quillon::bench
