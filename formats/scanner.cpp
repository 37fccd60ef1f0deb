#include "formats/scanner.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>

#include "formats/audit.h"
#include "formats/findings.h"
#include "formats/lines.h"
#include "formats/source.h"
#include "formats/stream.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kShownCharacters = 40;

// The bytes from `begin` on for which `belongs` holds.
template <typename Belongs>
Token read_while(Scanner& scanner, std::size_t begin, Belongs belongs) {
  const char* const text = scanner.text.data();
  const std::size_t size = scanner.text.size();
  std::size_t end = begin;
  while (end < size && belongs(text[end])) ++end;
  scanner.at = end;
  scanner.seen.store(end, std::memory_order_relaxed);
  return {scanner.text.substr(begin, end - begin), begin};
}

constexpr std::size_t kMostPlainDigits = 9;  // of any int

// Moves past the next word on this line, if it is a number of a few digits before the end of the block: one
// look at each byte instead of three. Otherwise stays, and returns an empty token. Inlined, or the token
// would be copied right after it was stored, which stalls.
[[gnu::always_inline]] inline Token read_plain(Scanner& scanner) {
  const char* const text = scanner.text.data();
  const std::size_t size = scanner.text.size();
  std::size_t at = scanner.at;
  while (at < size && is_space(text[at]) && text[at] != '\n') ++at;
  const std::size_t begin = at;
  unsigned value = 0;
  for (; at < size && is_digit(text[at]); ++at) value = 10U * value + static_cast<unsigned>(text[at] - '0');
  const std::size_t ndigits = at - begin;
  if (ndigits == 0 || ndigits > kMostPlainDigits || at == size || !is_space(text[at])) return {{}, begin};
  scanner.at = at;
  scanner.seen.store(at, std::memory_order_relaxed);
  return {scanner.text.substr(begin, ndigits), begin, static_cast<int>(value)};
}

// Moves to the next block at the end of one. Returns false at the end of the text.
bool next_block(Scanner& scanner) {
  if (scanner.stream == nullptr) return false;
  Scanner::Stream& stream = *scanner.stream;
  const std::string_view before = scanner.text;
  const std::size_t nlines = stream.block == nullptr ? 0 : stream.block->nline_ends;
  const std::size_t last_line = before.rfind('\n') + 1;  // 0 if there is none
  const Block* const block = stream.queue.next();
  if (block == nullptr) return false;
  scanner.bytes_before += before.size();
  scanner.lines_before += nlines;
  scanner.columns_before = before.size() - last_line + (nlines == 0 ? scanner.columns_before : 0);
  scanner.text = {block->text.data(), block->size};
  scanner.at = 0;
  scanner.counted = {};
  stream.enter(block);
  return true;
}

// As `next_block`. A word that is longer than a block has been cut at the end of it: the rest is no word.
bool next_block_of_line(Scanner& scanner) {
  const bool ends_in_word = !scanner.text.empty() && !is_space(scanner.text.back());
  if (!next_block(scanner)) return false;
  if (ends_in_word) read_while(scanner, 0, [](char c) { return !is_space(c); });
  return true;
}

// Where no word is left in the current block, the line may go on in the next.
template <typename Belongs>
void skip_while(Scanner& scanner, Belongs belongs) {
  do {
    read_while(scanner, scanner.at, belongs);
  } while (scanner.at == scanner.text.size() && next_block_of_line(scanner));
}

void skip_blanks(Scanner& scanner) {
  skip_while(scanner, [](char c) { return is_space(c) && c != '\n'; });
}

Scanner::Read reader_of(std::shared_ptr<const Text> text) {
  return [text, at = std::size_t{0}](char* bytes, std::size_t size) mutable {
    const std::size_t length = text->view().copy(bytes, size, at);
    at += length;
    return length;
  };
}

Scanner::Read reader_of(const std::shared_ptr<Source>& source) {
  return [source](char* bytes, std::size_t size) { return source->read(bytes, size); };
}

Place place_in(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto nlines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  const std::size_t line = before.rfind('\n') + 1;  // 0 if there is none
  return {nlines + 1, offset - line + 1};
}

[[noreturn]] void refuse_zero(const Scanner& scanner) {
  const std::string_view text = scanner.whole->view();
  bad_text(scanner, place_in(text, text.find('\0')), "nul-byte", "found a byte of value 0, expected text");
}

}  // namespace

Scanner::Scanner(std::unique_ptr<Source> its_source) : source(std::move(its_source)) {
  name = source->name();
  stream = std::make_unique<Stream>(reader_of(source));
  if (source->can_be_reopened()) reopened_as = name;
}

Scanner::Scanner(std::string its_name, Text its_text, bool is_its_text_cut)
    : name(std::move(its_name)),
      is_cut(is_its_text_cut),
      whole(std::make_shared<const Text>(std::move(its_text))) {
  text = whole->view();
}

Scanner::Scanner(std::string its_name, Read read)
    : name(std::move(its_name)), stream(std::make_unique<Stream>(std::move(read))) {}

Scanner::~Scanner() = default;

Scanner open_scanner(const std::string& name) { return open_scanner(std::make_unique<Source>(name)); }

Scanner open_scanner(std::unique_ptr<Source> source) {
  Text text;
  const bool is_cut = !read_text(*source, text);
  return Scanner(source->name(), std::move(text), is_cut);
}

void read_whole(Scanner& scanner) {
  if (scanner.stream == nullptr) return;
  if (scanner.whole == nullptr) {
    auto text = std::make_shared<Text>();
    while (!scanner.is_cut && next_block(scanner)) {
      scanner.text.copy(text->extend(scanner.text.size()), scanner.text.size());
      scanner.is_cut = is_no_text(scanner.text);
    }
    scanner.whole = text;
  }
  scanner.stream.reset();
  scanner.text = scanner.whole->view();
  scanner.at = 0;
  scanner.counted = {};
  scanner.bytes_before = 0;
  scanner.lines_before = 0;
  scanner.columns_before = 0;
}

bool move_to_line(Scanner& scanner, std::size_t offset, std::size_t lines_before) {
  if (scanner.source == nullptr || !scanner.source->move_to(offset)) return false;
  scanner.stream->queue.restart();
  scanner.stream->block = nullptr;
  scanner.text = {};
  scanner.at = 0;
  scanner.counted = {};
  scanner.bytes_before = offset;
  scanner.lines_before = lines_before;
  scanner.columns_before = 0;
  return true;
}

void prepare_second_read(Scanner& scanner) {
  if (scanner.whole != nullptr || !scanner.reopened_as.empty()) return;
  read_whole(scanner);
  scanner.stream = std::make_unique<Scanner::Stream>(reader_of(scanner.whole));
  scanner.text = {};
}

std::unique_ptr<Scanner> read_again(Scanner& scanner) {
  scanner.stream.reset();
  scanner.source.reset();  // reads are watched one by one
  scanner.text = {};
  if (scanner.whole == nullptr) return std::make_unique<Scanner>(scanner.reopened_as);
  auto again = std::make_unique<Scanner>(scanner.name, reader_of(scanner.whole));
  again->whole = scanner.whole;
  return again;
}

void finish(Scanner& scanner) {
  if (scanner.stream != nullptr) scanner.stream->queue.stop();
  if (scanner.is_cut) refuse_zero(scanner);
  if (scanner.source != nullptr) scanner.source->finish();
}

void report(const Scanner& scanner, const Finding& finding) {
  if (scanner.listener == nullptr) throw BadFile(finding);
  scanner.listener(finding);
}

Token next_token(Scanner& scanner) {
  skip_while(scanner, is_space);
  return next_on_line(scanner);
}

Token next_on_line(Scanner& scanner) {
  if (const Token number = read_plain(scanner); number.plain >= 0) return number;
  skip_blanks(scanner);
  return read_while(scanner, scanner.at, [](char c) { return !is_space(c); });
}

std::optional<Token> next_integer(Scanner& scanner) {
  if (const Token number = read_plain(scanner); number.plain >= 0) return number;
  skip_blanks(scanner);
  std::string_view rest = scanner.text.substr(scanner.at);
  const std::optional<std::string_view> digits = leading_integer(rest);
  if (!digits) return std::nullopt;
  scanner.at = scanner.text.size() - rest.size();
  scanner.seen.store(scanner.at, std::memory_order_relaxed);
  return Token{*digits, scanner.at - digits->size()};
}

std::optional<std::string_view> leading_integer(std::string_view& text) {
  if (text.empty() || text[0] > '9') return std::nullopt;  // most words
  const std::size_t begin = text[0] == '-' || text[0] == '+' ? 1 : 0;
  std::size_t end = begin;
  while (end < text.size() && is_digit(text[end])) ++end;
  if (end == begin) return std::nullopt;
  const std::size_t first = text[0] == '+' ? 1 : 0;
  const std::string_view digits = text.substr(first, end - first);
  text.remove_prefix(end);
  return digits;
}

void skip_line(Scanner& scanner) {
  std::size_t line_end = scanner.text.find('\n', scanner.at);
  while (line_end == std::string::npos) {
    scanner.at = scanner.text.size();
    if (!next_block(scanner)) return;
    line_end = scanner.text.find('\n');
  }
  scanner.at = line_end + 1;
}

void skip_comments(Scanner& scanner) {
  while (!at_end(scanner) && scanner.text[scanner.at] == '%') {
    note_comment(scanner, scanner.at);
    skip_line(scanner);
  }
}

bool skip_to_line(Scanner& scanner) {
  skip_comments(scanner);
  return !at_end(scanner);
}

bool at_end(Scanner& scanner) {
  while (scanner.at == scanner.text.size())  // the only block of an empty file is empty
    if (!next_block(scanner)) return true;
  return false;
}

Place place_of(const Scanner& scanner, std::size_t offset) {
  Scanner::Counted& counted = scanner.counted;
  if (offset < counted.end) counted = {};
  const std::string_view passed = scanner.text.substr(counted.end, offset - counted.end);
  counted.nlines += static_cast<std::size_t>(std::count(passed.begin(), passed.end(), '\n'));
  if (const std::size_t last = passed.rfind('\n'); last != std::string_view::npos)
    counted.line_begin = counted.end + last + 1;
  counted.end = offset;
  return {scanner.lines_before + counted.nlines + 1,
          offset - counted.line_begin + 1 + (counted.nlines == 0 ? scanner.columns_before : 0)};
}

std::optional<int> any_number_in(const Token& token, const Range& range) {
  constexpr std::size_t kLongest = std::size_t{1} << 20;  // a longer word may have been cut
  if (token.text.size() > kLongest) return std::nullopt;
  int value = 0;
  const char* const end = token.text.data() + token.text.size();
  const auto [stopped, error] = std::from_chars(token.text.data(), end, value);
  if (error != std::errc() || stopped != end || value < range.min || value > range.max) return std::nullopt;
  return value;
}

const char* broken_rule(const Token& token, const Range& range) {
  if (token.plain >= 0) return range.rule;
  if (token.text.empty()) return range.if_missing;
  const std::string_view digits = token.text.substr(token.text.starts_with('-') ? 1 : 0);
  if (digits.empty() || !std::all_of(digits.begin(), digits.end(), is_digit)) return "not-a-number";
  return number_in(token, {std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), {}})
             ? range.rule
             : "number-too-large";
}

int as_number(const Scanner& scanner, const Token& token, const Range& range) {
  const std::optional<int> value = number_in(token, range);
  if (!value) unexpected(scanner, token, broken_rule(token, range), range.meaning);
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

std::string shown(const Scanner& scanner, const Token& token) {
  if (token.text.empty())
    return token.offset < scanner.text.size() ? "the end of the line" : "the end of the file";
  std::string printable(token.text.substr(0, kShownCharacters));
  for (char& c : printable)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return "\"" + printable + (token.text.size() > kShownCharacters ? "...\"" : "\"");
}

void unexpected(const Scanner& scanner, const Token& token, const char* rule, const std::string& expected,
                const std::string& hint) {
  bad_text(scanner, token.offset, rule, "found " + shown(scanner, token) + ", expected " + expected, hint);
}

void bad_text(const Scanner& scanner, std::size_t offset, const char* rule, const std::string& message,
              const std::string& hint) {
  bad_text(scanner, place_of(scanner, offset), rule, message, hint);
}

void bad_text(const Scanner& scanner, const Place& place, const char* rule, const std::string& message,
              const std::string& hint) {
  throw BadFile({rule, Severity::kError, scanner.name, place.line, place.column, message, hint});
}

}  // namespace quillon::formats
