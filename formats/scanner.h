#pragma once
/// @file
/// Words of a text that know their place, for messages that say where and what.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// A text and how far it has been read.
struct Scanner {
  std::string name;  ///< Of the file, as in messages.
  std::string text;
  std::size_t at = 0;
  std::atomic<std::size_t> seen{0};  ///< A recent value of `at`, for other threads.

  Scanner(std::string its_name, std::string its_text)
      : name(std::move(its_name)), text(std::move(its_text)) {}
  Scanner(const Scanner&) = delete;  // words are views into the text
  Scanner& operator=(const Scanner&) = delete;
};

struct Token {
  std::string_view text;  ///< Into the scanner's; empty at the end of the line or of the text.
  std::size_t offset;     ///< Of its first byte.
};

/// The values that a number may have, and what it stands for.
struct Range {
  int min;
  int max;
  std::string meaning;              ///< Such as "a cell number from 1 to 9".
  const char* rule = "bad-number";  ///< Of the finding when the number is missing or out of range.
};

/// Reads all of a file, or of standard input for -.
///
/// @throws BadFile if it cannot be read.
Scanner open_scanner(const std::string& name);

/// The next word, on whatever line.
Token next_token(Scanner& scanner);

/// The next word on this line; at its end an empty one, and the scanner stays before the line end.
Token next_on_line(Scanner& scanner);

/// The digits, with a sign if there is one, that come next on this line, also when other text follows them
/// directly. None, and the scanner stays, when there are no digits.
std::optional<Token> next_integer(Scanner& scanner);

/// Moves to the start of the next line.
void skip_line(Scanner& scanner);

/// At the start of a line: skips lines that begin with "%".
void skip_comments(Scanner& scanner);

/// Whether nothing is left.
bool at_end(const Scanner& scanner);

/// The number of the line that holds the byte at `offset`, from 1.
std::size_t line_of(const Scanner& scanner, std::size_t offset);

/// The value of a word; none if it is not a number, or out of range.
std::optional<int> number_in(const Token& token, const Range& range);

/// The value of a word.
///
/// @throws BadFile if it is not a number, or out of range.
int as_number(const Scanner& scanner, const Token& token, const Range& range);

/// Moves to the next line.
///
/// @param after  What the line ends after, for the message.
/// @throws BadFile if anything is left on this line.
void expect_line_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// At the start of a line: reads to the end.
///
/// @throws BadFile if anything but comments and blank lines is left.
void expect_comments(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Reads to the end.
///
/// @throws BadFile if anything but white space is left.
void expect_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Throws BadFile with "found X, expected Y" at a word.
///
/// @param rule  Name of the kind of finding.
/// @param hint  What may be wrong with the file, or nothing.
[[noreturn]] void unexpected(const Scanner& scanner, const Token& token, const char* rule,
                             const std::string& expected, const std::string& hint = {});

/// Throws BadFile with a message at a place.
[[noreturn]] void bad_text(const Scanner& scanner, std::size_t offset, const char* rule,
                           const std::string& message, const std::string& hint = {});

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
