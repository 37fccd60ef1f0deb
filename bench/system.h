#pragma once
/// @file
/// Standard output and other programs, as the benchmarks need them.

#include <string>
#include <vector>

namespace quillon::bench {

/// Sends standard output to a file while it lives.
class StandardOutput {
 public:
  explicit StandardOutput(const std::string& path);
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

 private:
  int kept_;
};

/// Runs a program to its end, its standard output in a new or emptied file. A program that cannot be run or
/// that fails is fatal.
///
/// @param words  Program, looked up in the PATH, and its arguments.
void run_program(std::vector<std::string> words, const std::string& output);

/// Waits until a file has arrived on its disk, so that its way there does not fall into a measurement.
void settle(const std::string& path);

}  // namespace quillon::bench
