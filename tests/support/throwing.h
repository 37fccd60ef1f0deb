#pragma once
// Fatal errors as exceptions, for tests of what a call reports.

#include <stdexcept>
#include <string>

#include "util/scope.h"
#include "util/util.h"

namespace quillon {

struct FatalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Has fatal errors thrown as FatalError as long as it lives.
class ThrowingHandler {
 public:
  ThrowingHandler() : previous_(set_fatal_handler([](const char* message) { throw FatalError(message); })) {}
  ~ThrowingHandler() { set_fatal_handler(previous_); }
  ThrowingHandler(const ThrowingHandler&) = delete;
  ThrowingHandler& operator=(const ThrowingHandler&) = delete;

 private:
  FatalHandler previous_;
};

inline constexpr char kNoFatalError[] = "(no fatal error)";

/// The text of the fatal error that a call reports; kNoFatalError if it returns. What a failed call holds is
/// given back.
template <typename Call>
std::string fatal_text(Call call) {
  const ThrowingHandler throwing;
  Scope scope;
  try {
    call();
    scope.keep();
    return kNoFatalError;
  } catch (const FatalError& error) {
    return error.what();
  }
}

}  // namespace quillon
