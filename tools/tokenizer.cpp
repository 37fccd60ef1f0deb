#include "tools/tokenizer.h"

#include <cctype>
#include <charconv>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kShownCharacters = 40;

int next_byte(Tokenizer& tokenizer) {
  const int byte = std::getc(tokenizer.file);
  if (byte == '\n') {
    ++tokenizer.line;
    tokenizer.column = 1;
  } else {
    ++tokenizer.column;
  }
  return byte;
}

bool is_space(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

std::string shown(const std::string& text) {
  if (text.empty()) return "the end of the file";
  std::string printable = text.substr(0, kShownCharacters);
  for (char& c : printable)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return "\"" + printable + (text.size() > kShownCharacters ? "...\"" : "\"");
}

}  // namespace

Tokenizer open_tokenizer(const std::string& name) { return {name, ufopen(name.c_str(), "r", "quillon")}; }

void close_tokenizer(Tokenizer& tokenizer) { ufclose(tokenizer.file); }

Token next_token(Tokenizer& tokenizer) {
  Token token;
  int byte = 0;
  do {
    token.line = tokenizer.line;
    token.column = tokenizer.column;
    byte = next_byte(tokenizer);
  } while (is_space(byte));
  for (; byte != EOF && !is_space(byte); byte = next_byte(tokenizer)) token.text += static_cast<char>(byte);
  return token;
}

void unexpected(const Tokenizer& tokenizer, const Token& token, const std::string& expected) {
  errexit("%s:%d:%d: found %s, expected %s", tokenizer.name.c_str(), token.line, token.column,
          shown(token.text).c_str(), expected.c_str());
}

int as_number(const Tokenizer& tokenizer, const Token& token, int min, int max, const std::string& expected) {
  int value = 0;
  const char* const end = token.text.data() + token.text.size();
  const auto [stopped, error] = std::from_chars(token.text.data(), end, value);
  if (error != std::errc() || stopped != end || value < min || value > max)
    unexpected(tokenizer, token, expected);
  return value;
}

void expect_end(Tokenizer& tokenizer, const std::string& behind) {
  const Token token = next_token(tokenizer);
  if (!token.text.empty()) unexpected(tokenizer, token, "nothing behind " + behind);
}

}  // namespace quillon::tool
