#pragma once
// Calls of the module from Python: one at a time, without the interpreter lock, and with errors as
// exceptions.

#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/scope.h"

namespace quillon::python {

/// Sends fatal errors, warnings and output of the module to this file's functions, and polls for signals
/// during reads. To be called once, when the extension is loaded.
void install_handlers();

/// The module for one call: no other thread calls it meanwhile, and what the call still holds is freed unless
/// `keep` was called. Made and destroyed with the interpreter lock held; releases it in between.
///
/// The order of the locks is this one, then that of the interpreter: whoever waits for this one must not
/// hold the other.
class Call {
 public:
  Call();
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// The call has succeeded: nothing is freed.
  void keep() { scope_->keep(); }

  /// The warnings so far. They are to be issued after the call.
  static std::vector<std::string> take_warnings();

 private:
  void* thread_;  // state of this thread in the interpreter
  std::unique_lock<std::mutex> lock_;
  std::optional<Scope> scope_;
};

/// Issues each text by `warnings.warn`, for the caller of the package.
///
/// @throws pybind11::error_already_set  if a filter makes one an error.
void issue(const std::vector<std::string>& warnings);

/// Runs work on the module as a `Call`, and issues its warnings.
template <typename Work>
auto call(const Work& work) {
  std::vector<std::string> warnings;
  auto result = [&] {
    Call guard;
    auto made = work();
    guard.keep();
    warnings = Call::take_warnings();
    return made;
  }();
  issue(warnings);
  return result;
}

/// Frees objects that hold memory of the module, at once if no call is running, else when it ends. For
/// destructors, which may run in any thread and must not wait.
void free_later(std::function<void()> free);

}  // namespace quillon::python
