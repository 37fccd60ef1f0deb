#include "formats/scanner.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "formats/source.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kShownCharacters = 40;

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string shown(const Tokenizer& tokenizer, const Token& token) {
  if (token.text.empty())
    return token.offset < tokenizer.text.size() ? "the end of the line" : "the end of the file";
  std::string printable(token.text.substr(0, kShownCharacters));
  for (char& c : printable)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return "\"" + printable + (token.text.size() > kShownCharacters ? "...\"" : "\"");
}

// The bytes from `begin` on for which `belongs` holds.
template <typename Belongs>
Token take_while(Tokenizer& tokenizer, std::size_t begin, Belongs belongs) {
  std::size_t end = begin;
  while (end < tokenizer.text.size() && belongs(tokenizer.text[end])) ++end;
  tokenizer.at = end;
  tokenizer.seen.store(end, std::memory_order_relaxed);
  return {std::string_view(tokenizer.text).substr(begin, end - begin), begin};
}

void skip_blanks(Tokenizer& tokenizer) {
  take_while(tokenizer, tokenizer.at, [](char c) { return is_space(c) && c != '\n'; });
}

}  // namespace

Tokenizer open_tokenizer(const std::string& name) { return Tokenizer(shown_name(name), read_all(name)); }

Token next_token(Tokenizer& tokenizer) {
  take_while(tokenizer, tokenizer.at, is_space);
  return next_on_line(tokenizer);
}

Token next_on_line(Tokenizer& tokenizer) {
  skip_blanks(tokenizer);
  return take_while(tokenizer, tokenizer.at, [](char c) { return !is_space(c); });
}

std::optional<Token> next_integer(Tokenizer& tokenizer) {
  const std::size_t before = tokenizer.at;
  skip_blanks(tokenizer);
  const std::size_t begin = tokenizer.at;
  const bool is_signed =
      begin < tokenizer.text.size() && (tokenizer.text[begin] == '-' || tokenizer.text[begin] == '+');
  const Token digits = take_while(tokenizer, begin + (is_signed ? 1 : 0), is_digit);
  if (digits.text.empty()) {
    tokenizer.at = before;
    return std::nullopt;
  }
  if (tokenizer.text[begin] == '+') return digits;
  return Token{std::string_view(tokenizer.text).substr(begin, tokenizer.at - begin), begin};
}

void skip_line(Tokenizer& tokenizer) {
  const std::size_t line_end = tokenizer.text.find('\n', tokenizer.at);
  tokenizer.at = line_end == std::string::npos ? tokenizer.text.size() : line_end + 1;
}

void skip_comments(Tokenizer& tokenizer) {
  while (!at_end(tokenizer) && tokenizer.text[tokenizer.at] == '%') skip_line(tokenizer);
}

bool at_end(const Tokenizer& tokenizer) { return tokenizer.at == tokenizer.text.size(); }

std::size_t line_of(const Tokenizer& tokenizer, std::size_t offset) {
  const auto begin = tokenizer.text.begin();
  return 1 + static_cast<std::size_t>(std::count(begin, begin + static_cast<std::ptrdiff_t>(offset), '\n'));
}

std::optional<int> number_in(const Token& token, const Range& range) {
  int value = 0;
  const char* const end = token.text.data() + token.text.size();
  const auto [stopped, error] = std::from_chars(token.text.data(), end, value);
  if (error != std::errc() || stopped != end || value < range.min || value > range.max) return std::nullopt;
  return value;
}

int as_number(const Tokenizer& tokenizer, const Token& token, const Range& range) {
  const std::optional<int> value = number_in(token, range);
  if (!value) unexpected(tokenizer, token, range.meaning);
  return *value;
}

void expect_line_end(Tokenizer& tokenizer, const std::string& behind, const std::string& hint) {
  const Token token = next_on_line(tokenizer);
  if (!token.text.empty()) unexpected(tokenizer, token, "the end of the line behind " + behind, hint);
  skip_line(tokenizer);
}

void expect_comments(Tokenizer& tokenizer, const std::string& behind, const std::string& hint) {
  while (!at_end(tokenizer)) {
    skip_comments(tokenizer);
    const Token token = next_on_line(tokenizer);
    if (!token.text.empty()) unexpected(tokenizer, token, "nothing behind " + behind, hint);
    skip_line(tokenizer);
  }
}

void expect_end(Tokenizer& tokenizer, const std::string& behind, const std::string& hint) {
  const Token token = next_token(tokenizer);
  if (!token.text.empty()) unexpected(tokenizer, token, "nothing behind " + behind, hint);
}

void unexpected(const Tokenizer& tokenizer, const Token& token, const std::string& expected,
                const std::string& hint) {
  bad_text(tokenizer, token.offset, "found " + shown(tokenizer, token) + ", expected " + expected, hint);
}

}  // namespace quillon::tool
