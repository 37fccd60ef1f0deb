#pragma once
// The module ends the process on a fatal error. What is to survive one runs in a process of its own.

#include <functional>
#include <string>
#include <vector>

namespace quillon::tool {

enum class Output {
  kShown,            // as everywhere
  kOnStandardError,  // standard output joins standard error
  kErrorsOnly,       // standard output is dropped
  kHidden,           // both are dropped
};

/// Runs `work` in a child process, which starts with a copy of everything in memory.
///
/// @return  What `work` returned, 1 after a fatal error or when standard output could not be written, 128 +
///          the number of the signal that ended it.
int run_isolated(Output output, const std::function<int()>& work);

/// Has `print` print to standard output, or to standard error if that is where `target` goes.
void print_beside(const std::string& target, const std::function<void()>& print);

/// Runs `work` on each file by itself, so that a bad one does not keep the others from their turn.
///
/// @param failed  Told of each file whose status is not 0, with what to say about it.
/// @return        The largest status, at most 1 for those that ended early. When nobody reads the output any
///                more, 128 + the number of that signal, and the files that follow are left out.
int for_each_file(const std::vector<std::string>& files, const std::function<int(const std::string&)>& work,
                  const std::function<void(const std::string&)>& failed);

/// Ends the program with an error when what was written to standard output has not arrived.
void flush_output();

}  // namespace quillon::tool
