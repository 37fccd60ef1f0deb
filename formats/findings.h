#pragma once
/// @file
/// What is wrong with a file, or odd about it: findings, and the exception that ends a read.

#include <cstddef>
#include <stdexcept>
#include <string>

#ifdef QUILLON_SHARED_BUILD  // a shared library exports what public headers declare
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

enum class Severity { kError, kWarning, kNote };

/// One thing that is wrong with a file, or odd about it.
struct Finding {
  std::string rule;  ///< Stable name of the kind of finding, such as "cell-out-of-range".
  Severity severity = Severity::kError;
  std::string file;        ///< As messages name it.
  std::size_t line = 0;    ///< From 1; 0 if the finding concerns the file as a whole.
  std::size_t column = 0;  ///< In bytes, from 1; 0 without a line.
  std::string message;     ///< One sentence without a full stop.
  std::string hint;        ///< What may be the cause, or empty.
};

/// "FILE:LINE:COLUMN: error: MESSAGE (HINT)"; without a line "error: MESSAGE (HINT)".
std::string text_of(const Finding& finding);

/// Ends a read: the file cannot be read, or breaks a rule of its format. `what()` is the finding's text.
class BadFile : public std::runtime_error {
 public:
  explicit BadFile(Finding finding);
  ~BadFile() override;
  BadFile(const BadFile&) = default;
  BadFile& operator=(const BadFile&) = default;

  [[nodiscard]] const Finding& finding() const { return finding_; }

 private:
  Finding finding_;
};

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
