#include "formats/scanner.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "formats/findings.h"
#include "formats/source.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kShownCharacters = 40;

std::string shown(const Scanner& scanner, const Token& token) {
  if (token.text.empty())
    return token.offset < scanner.text.size() ? "the end of the line" : "the end of the file";
  std::string printable(token.text.substr(0, kShownCharacters));
  for (char& c : printable)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return "\"" + printable + (token.text.size() > kShownCharacters ? "...\"" : "\"");
}

// The bytes from `begin` on for which `belongs` holds.
template <typename Belongs>
Token read_while(Scanner& scanner, std::size_t begin, Belongs belongs) {
  std::size_t end = begin;
  while (end < scanner.text.size() && belongs(scanner.text[end])) ++end;
  scanner.at = end;
  scanner.seen.store(end, std::memory_order_relaxed);
  return {std::string_view(scanner.text).substr(begin, end - begin), begin};
}

void skip_blanks(Scanner& scanner) {
  read_while(scanner, scanner.at, [](char c) { return is_space(c) && c != '\n'; });
}

}  // namespace

Scanner open_scanner(const std::string& name) { return open_scanner(std::make_unique<Source>(name)); }

Scanner open_scanner(std::unique_ptr<Source> source) {
  std::string text = read_rest(*source);
  return Scanner(source->name(), std::move(text));
}

Token next_token(Scanner& scanner) {
  read_while(scanner, scanner.at, is_space);
  return next_on_line(scanner);
}

Token next_on_line(Scanner& scanner) {
  skip_blanks(scanner);
  return read_while(scanner, scanner.at, [](char c) { return !is_space(c); });
}

std::optional<Token> next_integer(Scanner& scanner) {
  const std::size_t before = scanner.at;
  skip_blanks(scanner);
  const std::size_t begin = scanner.at;
  const bool is_signed =
      begin < scanner.text.size() && (scanner.text[begin] == '-' || scanner.text[begin] == '+');
  const Token digits = read_while(scanner, begin + (is_signed ? 1 : 0), is_digit);
  if (digits.text.empty()) {
    scanner.at = before;
    return std::nullopt;
  }
  if (scanner.text[begin] == '+') return digits;
  return Token{std::string_view(scanner.text).substr(begin, scanner.at - begin), begin};
}

void skip_line(Scanner& scanner) {
  const std::size_t line_end = scanner.text.find('\n', scanner.at);
  scanner.at = line_end == std::string::npos ? scanner.text.size() : line_end + 1;
}

void skip_comments(Scanner& scanner) {
  while (!at_end(scanner) && scanner.text[scanner.at] == '%') skip_line(scanner);
}

bool at_end(const Scanner& scanner) { return scanner.at == scanner.text.size(); }

std::size_t line_of(const Scanner& scanner, std::size_t offset) {
  const auto begin = scanner.text.begin();
  return 1 + static_cast<std::size_t>(std::count(begin, begin + static_cast<std::ptrdiff_t>(offset), '\n'));
}

std::optional<int> number_in(const Token& token, const Range& range) {
  int value = 0;
  const char* const end = token.text.data() + token.text.size();
  const auto [stopped, error] = std::from_chars(token.text.data(), end, value);
  if (error != std::errc() || stopped != end || value < range.min || value > range.max) return std::nullopt;
  return value;
}

int as_number(const Scanner& scanner, const Token& token, const Range& range) {
  const std::optional<int> value = number_in(token, range);
  if (!value) unexpected(scanner, token, range.rule, range.meaning);
  return *value;
}

void expect_line_end(Scanner& scanner, const std::string& after, const std::string& hint) {
  const Token token = next_on_line(scanner);
  if (!token.text.empty())
    unexpected(scanner, token, "trailing-text", "the end of the line after " + after, hint);
  skip_line(scanner);
}

void expect_comments(Scanner& scanner, const std::string& after, const std::string& hint) {
  while (!at_end(scanner)) {
    skip_comments(scanner);
    const Token token = next_on_line(scanner);
    if (!token.text.empty()) unexpected(scanner, token, "trailing-text", "nothing after " + after, hint);
    skip_line(scanner);
  }
}

void expect_end(Scanner& scanner, const std::string& after, const std::string& hint) {
  const Token token = next_token(scanner);
  if (!token.text.empty()) unexpected(scanner, token, "trailing-text", "nothing after " + after, hint);
}

void unexpected(const Scanner& scanner, const Token& token, const char* rule, const std::string& expected,
                const std::string& hint) {
  bad_text(scanner, token.offset, rule, "found " + shown(scanner, token) + ", expected " + expected, hint);
}

void bad_text(const Scanner& scanner, std::size_t offset, const char* rule, const std::string& message,
              const std::string& hint) {
  const std::size_t line_end = offset == 0 ? std::string::npos : scanner.text.rfind('\n', offset - 1);
  const std::size_t column = line_end == std::string::npos ? offset + 1 : offset - line_end;
  throw BadFile({rule, Severity::kError, scanner.name, line_of(scanner, offset), column, message, hint});
}

}  // namespace quillon::formats
