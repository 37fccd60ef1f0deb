#pragma once
// Words of a text file that know where they stand, for messages that say where and what.

#include <cstdio>
#include <string>

namespace quillon::tool {

struct Tokenizer {
  std::string name;
  std::FILE* file;
  int line = 1;
  int column = 1;  // of the next byte
};

struct Token {
  std::string text;  // empty at the end of the file
  int line = 0;
  int column = 0;
};

Tokenizer open_tokenizer(const std::string& name);
void close_tokenizer(Tokenizer& tokenizer);

/// The next word between white space, or an empty one at the end of the file.
Token next_token(Tokenizer& tokenizer);

/// Ends the program: "FILE:LINE:COLUMN: found X, expected Y".
[[noreturn]] void unexpected(const Tokenizer& tokenizer, const Token& token, const std::string& expected);

/// The number that a word is; ends the program when it is none, or out of range.
///
/// @param expected  What the number means, for the message.
int as_number(const Tokenizer& tokenizer, const Token& token, int min, int max, const std::string& expected);

/// Ends the program unless nothing is left in the file.
void expect_end(Tokenizer& tokenizer, const std::string& behind);

}  // namespace quillon::tool
