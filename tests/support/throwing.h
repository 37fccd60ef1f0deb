#pragma once
// Fatal errors as exceptions, for tests of their texts.

#include <stdexcept>
#include <string>

#include "util/scope.h"
#include "util/util.h"

namespace quillon {

struct FatalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// During its lifetime, fatal errors throw FatalError.
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

/// The text of the fatal error that a call reports; kNoFatalError if it returns. The blocks and streams of a
/// failed call are released.
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
