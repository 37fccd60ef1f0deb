#include "formats/damaged_lines.h"

#include <limits>

#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

const Range kAnyInt{std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), {}};

}  // namespace

DamagedLines::~DamagedLines() {
  for (std::size_t k = 0; k < nrules_; ++k)
    if (counts_[k].total > 0) in_.audit->count(counts_[k].rule, counts_[k].total);
}

void DamagedLines::add(const char* rule) {
  for (std::size_t k = 0; k < nrules_; ++k) {
    if (counts_[k].rule != rule) continue;
    ++counts_[k].on_line;
    return;
  }
  if (nrules_ == counts_.size() || in_.audit->wants(rule))
    is_text_wanted_ = true;
  else
    counts_[nrules_++] = {rule, 0, 1};
}

// An odd word has a text, a number its value, the end of the line neither.
Token DamagedLines::word() {
  if (number_ == end_) return {{}, 0};
  const int number = *number_++;
  if (number >= 0) return {{}, 0, number};
  const auto begin = static_cast<std::size_t>(*odd_++);
  std::size_t end = begin;
  while (end < text_.size() && !is_space(text_[end])) ++end;
  return {text_.substr(begin, end - begin), begin};
}

bool DamagedLines::next_word(const Range& range, int& number, bool is_cell) {
  return convert(word(), range, number, is_cell);
}

bool DamagedLines::convert(const Token& token, const Range& range, int& number, bool is_cell) {
  const std::optional<int> value = number_in(token, kAnyInt);
  if (value && *value >= range.min && *value <= range.max) {
    number = *value;
    return true;
  }
  if (value && is_cell) in_.audit->add_outside(*value);
  add(value ? range.rule : broken_rule(token, range));
  return false;
}

std::optional<Token> DamagedLines::next_integer() {
  if (rest_.empty()) {
    const Token token = word();
    if (token.plain >= 0) return token;
    rest_ = token.text;
  }
  const std::optional<std::string_view> digits = leading_integer(rest_);
  if (!digits) return std::nullopt;
  return Token{*digits, 0};
}

}  // namespace quillon::formats
