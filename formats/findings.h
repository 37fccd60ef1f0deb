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

/// How much a finding matters.
enum class Severity {
  kError,    ///< The file breaks a rule of its format.
  kWarning,  ///< The file can be read, but probably does not mean what it says.
  kNote,     ///< The file is sound; some programs treat it differently.
};

/// One thing that is wrong with a file, or odd about it.
struct Finding {
  std::string rule;                      ///< Stable name of the kind of finding, such as "cell-out-of-range".
  Severity severity = Severity::kError;  ///< Always an error in a `BadFile`.
  std::string file;                      ///< As messages name it.
  std::size_t line = 0;                  ///< From 1; 0 if the finding concerns the file as a whole.
  std::size_t column = 0;                ///< In bytes, from 1; 0 without a line.
  std::string message;                   ///< One sentence without a full stop.
  std::string hint;                      ///< What may be the cause, or empty.
};

/// Formats a finding as a line of text without a line end.
///
/// @param finding  Its rule is not part of the text.
/// @return         "FILE:LINE:COLUMN: error: MESSAGE (HINT)", or "warning" or "note" by its severity; without
///                 a line "error: MESSAGE (HINT)".
std::string text_of(const Finding& finding);

/// Ends a read: the file cannot be read, or breaks a rule of its format. `what()` is the finding's text.
class BadFile : public std::runtime_error {
 public:
  /// @param finding  What is wrong, with its place.
  explicit BadFile(Finding finding);
  ~BadFile() override;

  /// @return  What is wrong, with its place; valid as long as this object.
  [[nodiscard]] const Finding& finding() const { return finding_; }

 private:
  Finding finding_;
};

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
