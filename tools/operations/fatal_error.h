#pragma once
// Fatal errors of the libraries as exceptions.

#include <exception>
#include <string>

namespace quillon::tool {

/// A fatal error of the libraries.
class FatalError : public std::exception {
 public:
  /// @param message  Cut to what fits into the object if there is no memory for it.
  explicit FatalError(const char* message) noexcept;
  [[nodiscard]] const char* what() const noexcept override;

 private:
  std::string message_;
  char short_message_[256];
};

/// For `set_fatal_handler`.
[[noreturn]] void throw_fatal_error(const char* message);

}  // namespace quillon::tool
