#pragma once
// Runs the work of commands so that an error ends one file, and not the program.

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/operations/fatal_error.h"
#include "tools/operations/output.h"

namespace quillon::tool {

inline constexpr int kSuccess = 0;
inline constexpr int kFinding = 1;
inline constexpr int kUsage = 2;

/// Wrong usage that shows only when the options are seen together.
struct UsageError : std::runtime_error {
  using runtime_error::runtime_error;
};

/// Standard output cannot be written: the files that follow cannot be reported either.
struct OutputError : std::runtime_error {
  using runtime_error::runtime_error;
};

/// Turns fatal errors into FatalError, sends warnings to the console and draws progress; memory that runs out
/// where no exception can pass, and signals, end the program without leaving temporary files.
void install_handlers();

/// Prints the exception that is being handled, after the exception nested in it.
void print_current_exception();

/// Runs `work`. When it throws, prints the error and frees what it held.
///
/// @return  What `work` returned, or kFinding. UsageError and OutputError are passed on.
int run_guarded(const std::function<int()>& work);

/// Runs `work` on each file in turn; an error in one does not affect the others.
///
/// @param failed  Called for each file whose status is not kSuccess.
/// @return        The largest status.
int for_each_file(const std::vector<std::string>& files, const std::function<int(const std::string&)>& work,
                  const std::function<void(const std::string&)>& failed);

/// Calls `print`, whose `uprintf` goes to standard output, or to standard error if `target` is standard
/// output.
void print_beside(const std::string& target, const std::function<void()>& print);

/// The --force flag.
bool& force();

/// @throws OutputError if anything written to standard output was lost.
void flush_output();

}  // namespace quillon::tool
