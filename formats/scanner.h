#pragma once
// Words of a text that know where they stand, for messages that say where and what.

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quillon::tool {

/// A text and how far it has been read.
struct Tokenizer {
  std::string name;  // of the file, as in messages
  std::string text;
  std::size_t at = 0;
  std::atomic<std::size_t> seen{0};  // the same, now and then, for those who watch

  Tokenizer(std::string its_name, std::string its_text)
      : name(std::move(its_name)), text(std::move(its_text)) {}
  Tokenizer(const Tokenizer&) = delete;  // words are views into the text
  Tokenizer& operator=(const Tokenizer&) = delete;
};

struct Token {
  std::string_view text;  // into the tokenizer's; empty at the end of the line or of the text
  std::size_t offset;     // where it begins
};

/// What a number may be, and what it stands for.
struct Range {
  int min;
  int max;
  std::string meaning;  // such as "a cell number from 1 to 9"
};

/// Reads all of a file, or of standard input for -.
Tokenizer open_tokenizer(const std::string& name);

/// The next word, on whatever line.
Token next_token(Tokenizer& tokenizer);

/// The next word on this line; an empty one, which is not passed, at its end.
Token next_on_line(Tokenizer& tokenizer);

/// The digits, with a sign if there is one, that come next on this line, also when other text follows them
/// directly; nothing is passed when there are none.
std::optional<Token> next_integer(Tokenizer& tokenizer);

/// Goes on behind the end of this line, whatever is left on it.
void skip_line(Tokenizer& tokenizer);

/// At the start of a line: passes lines that begin with "%".
void skip_comments(Tokenizer& tokenizer);

/// Whether nothing is left.
bool at_end(const Tokenizer& tokenizer);

/// The number of the line in which the byte at `offset` stands, from 1.
std::size_t line_of(const Tokenizer& tokenizer, std::size_t offset);

/// The number that a word is; none when it is something else, or out of range.
std::optional<int> number_in(const Token& token, const Range& range);

/// The number that a word is; ends the program when it is none, or out of range.
int as_number(const Tokenizer& tokenizer, const Token& token, const Range& range);

/// Ends the program unless nothing is left on the line, and goes to the next.
void expect_line_end(Tokenizer& tokenizer, const std::string& behind, const std::string& hint = {});

/// At the start of a line: ends the program unless nothing is left in the file but comments and blank lines.
void expect_comments(Tokenizer& tokenizer, const std::string& behind, const std::string& hint = {});

/// Ends the program unless nothing is left in the file but white space.
void expect_end(Tokenizer& tokenizer, const std::string& behind, const std::string& hint = {});

/// Ends the program: "FILE:LINE:COLUMN: error: found X, expected Y (hint)".
///
/// @param hint  What may be wrong with the file, or nothing.
[[noreturn]] void unexpected(const Tokenizer& tokenizer, const Token& token, const std::string& expected,
                             const std::string& hint = {});

/// The same in the caller's words.
[[noreturn]] void bad_text(const Tokenizer& tokenizer, std::size_t offset, const std::string& message,
                           const std::string& hint = {});

}  // namespace quillon::tool
