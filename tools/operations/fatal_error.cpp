#include "tools/operations/fatal_error.h"

#include <cstring>
#include <new>

namespace quillon::tool {

FatalError::FatalError(const char* message) noexcept : short_message_{} {
  std::strncpy(short_message_, message, sizeof short_message_ - 1);
  try {
    message_ = message;
  } catch (const std::bad_alloc&) {
    message_.clear();
  }
}

const char* FatalError::what() const noexcept { return message_.empty() ? short_message_ : message_.c_str(); }

void throw_fatal_error(const char* message) { throw FatalError(message); }

}  // namespace quillon::tool
