#pragma once
/// @file
/// Words of a text that know their place, for messages that say where and what.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "formats/source.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// A text and how far it has been read.
struct Scanner {
  std::string name;                  ///< Of the file, as in messages.
  std::string text;                  ///< All of it; does not change.
  std::size_t at = 0;                ///< Offset of the first byte not read yet.
  std::atomic<std::size_t> seen{0};  ///< A recent value of `at`, for other threads.

  /// @param its_name  As in messages.
  /// @param its_text  The whole text.
  Scanner(std::string its_name, std::string its_text)
      : name(std::move(its_name)), text(std::move(its_text)) {}
  Scanner(const Scanner&) = delete;  // words are views into the text
  Scanner& operator=(const Scanner&) = delete;
};

/// A word of a text, with its place.
struct Token {
  std::string_view text;  ///< Into the scanner's; empty at the end of the line or of the text.
  std::size_t offset;     ///< Of its first byte.
};

/// The values that a number may have, and what it stands for.
struct Range {
  int min;                          ///< Smallest value.
  int max;                          ///< Largest value.
  std::string meaning;              ///< Such as "a cell number from 1 to 9".
  const char* rule = "bad-number";  ///< Of the finding when the number is missing or out of range.
};

/// Reads a whole file.
///
/// @param name  File name, or - for standard input; gzip and zstd are decompressed.
/// @return      At the start of the text.
/// @throws BadFile if it cannot be read.
Scanner open_scanner(const std::string& name);

/// Reads an open file.
///
/// @param source  At its start; closed at the end.
/// @return        At the start of the text.
/// @throws BadFile if it cannot be read.
Scanner open_scanner(std::unique_ptr<Source> source);

/// Reads the next word, on whatever line.
///
/// @param scanner  Moves past the word.
/// @return         The word, free of white space; empty at the end of the text.
Token next_token(Scanner& scanner);

/// Reads the next word on this line.
///
/// @param scanner  Moves past the word; at the end of the line it stays before the line end.
/// @return         The word; empty at the end of the line.
Token next_on_line(Scanner& scanner);

/// Reads the digits that come next on this line, also when other text follows them directly.
///
/// @param scanner  Moves past the digits; stays if there are none.
/// @return         The digits, after a minus if there is one; a plus is left out. None if there are none.
std::optional<Token> next_integer(Scanner& scanner);

/// Moves to the start of the next line.
///
/// @param scanner  On any line; on the last one it moves to the end of the text.
void skip_line(Scanner& scanner);

/// Skips lines that begin with "%".
///
/// @param scanner  At the start of a line; moves to that of the first other line.
void skip_comments(Scanner& scanner);

/// Tests whether the whole text has been read.
///
/// @param scanner  Read only.
/// @return         True if nothing is left, not even white space.
bool at_end(const Scanner& scanner);

/// Finds the line of a byte.
///
/// @param scanner  Read only.
/// @param offset   Of the byte, up to the length of the text.
/// @return         Line number, from 1.
/// @par Cost       O(offset).
std::size_t line_of(const Scanner& scanner, std::size_t offset);

/// Converts a word to a number.
///
/// @param token  Decimal digits, after a minus if the number is negative.
/// @param range  The values allowed.
/// @return       The value; none if the word is not a number, or out of range.
std::optional<int> number_in(const Token& token, const Range& range);

/// Converts a word that must be a number.
///
/// @param scanner  The text of the word, for the message.
/// @param token    As for `number_in`.
/// @param range    The values allowed, and the words for them in the message.
/// @return         The value.
/// @throws BadFile if it is not a number, or out of range.
int as_number(const Scanner& scanner, const Token& token, const Range& range);

/// Moves to the next line.
///
/// @param scanner  On any line.
/// @param after    What the line ends after, for the message.
/// @param hint     What may be wrong with the file, or empty.
/// @throws BadFile if anything is left on this line.
void expect_line_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Reads to the end of the text.
///
/// @param scanner  At the start of a line.
/// @param after    What the text ends after, for the message.
/// @param hint     As for `expect_line_end`.
/// @throws BadFile if anything but comments and blank lines is left.
void expect_comments(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Reads to the end of the text.
///
/// @param scanner  Anywhere.
/// @param after    As for `expect_comments`.
/// @param hint     As for `expect_line_end`.
/// @throws BadFile if anything but white space is left.
void expect_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Refuses a word: "found X, expected Y".
///
/// @param scanner   The text of the word.
/// @param token     The word found; an empty one stands for the end of the line or of the file.
/// @param rule      Name of the kind of finding.
/// @param expected  Y.
/// @param hint      As for `expect_line_end`.
/// @throws BadFile  at the place of the word, always.
[[noreturn]] void unexpected(const Scanner& scanner, const Token& token, const char* rule,
                             const std::string& expected, const std::string& hint = {});

/// Refuses a text.
///
/// @param scanner   The text.
/// @param offset    Of the byte that the message concerns.
/// @param rule      Name of the kind of finding.
/// @param message   What is wrong, without a full stop.
/// @param hint      As for `expect_line_end`.
/// @throws BadFile  with the line and column of that byte, always.
[[noreturn]] void bad_text(const Scanner& scanner, std::size_t offset, const char* rule,
                           const std::string& message, const std::string& hint = {});

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
