#pragma once
// The obvious way to find lines of plain numbers and others, against which the fast one is tested.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/block.h"

namespace quillon {

/// A line of plain numbers, or an odd one.
struct PlainLine {
  std::size_t begin;             ///< Offset in the text.
  std::size_t end;               ///< After its line end, or the end of the text.
  std::vector<int> numbers;      ///< -1 for odd words.
  std::vector<int> odd_words{};  ///< Their offsets in the text.

  bool operator==(const PlainLine&) const = default;
};

/// Parses a line of numbers of one to nine digits with white space between them. Returns false for any other
/// line.
inline bool parse_plain(std::string_view line, std::vector<int>& numbers) {
  int value = 0;
  int ndigits = 0;
  for (const char c : std::string(line) + " ") {
    const bool is_space = c == ' ' || (c >= '\t' && c <= '\r');
    if (!is_space && (c < '0' || c > '9' || ++ndigits > 9)) return false;
    if (!is_space) value = 10 * value + (c - '0');
    if (is_space && ndigits > 0) numbers.push_back(value);
    if (is_space) value = ndigits = 0;
  }
  return true;
}

/// The lines of plain numbers of a text.
inline std::vector<PlainLine> plain_lines_of(const std::string& text) {
  std::vector<PlainLine> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t line_end = text.find('\n', begin);
    const std::size_t end = line_end == std::string::npos ? text.size() : line_end + 1;
    PlainLine line{begin, end, {}};
    if (parse_plain(std::string_view(text).substr(begin, end - begin), line.numbers)) lines.push_back(line);
    begin = end;
  }
  return lines;
}

/// An odd line of a text, by its words.
inline PlainLine odd_line_of(const std::string& text, std::size_t begin, std::size_t end) {
  PlainLine line{begin, end, {}};
  constexpr const char* kSpaces = " \t\n\v\f\r";
  for (std::size_t at = text.find_first_not_of(kSpaces, begin); at < end;) {
    const std::size_t word_end = std::min(text.find_first_of(kSpaces, at), end);
    std::vector<int> number;
    if (parse_plain(std::string_view(text).substr(at, word_end - at), number)) {
      line.numbers.push_back(number.front());
    } else {
      line.numbers.push_back(-1);
      line.odd_words.push_back(static_cast<int>(at));
    }
    at = text.find_first_not_of(kSpaces, word_end);
  }
  return line;
}

/// The lines of a text that are neither plain nor begin with "%".
inline std::vector<PlainLine> odd_lines_of(const std::string& text) {
  std::vector<PlainLine> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    std::vector<int> numbers;
    if (text[begin] != '%' && !parse_plain(std::string_view(text).substr(begin, end - begin), numbers))
      lines.push_back(odd_line_of(text, begin, end));
    begin = end;
  }
  return lines;
}

/// A text as the only block.
inline void fill_block(const std::string& text, formats::Block& block) {
  block.text.make_room(text.size() + formats::kSpareBytes);
  text.copy(block.text.data(), text.size());
  block.size = text.size();
  block.is_last = true;
}

/// The lines of the runs that `scan` finds in a text: of plain lines, or of odd ones.
inline std::vector<PlainLine> scanned_lines_of(const std::string& text, bool are_odd = false) {
  formats::Block block;
  fill_block(text, block);
  formats::scan(block, 0, {});

  std::vector<PlainLine> lines;
  for (const formats::Run& run : block.runs) {
    if (run.is_odd() != are_odd) continue;
    std::size_t begin = run.begin;
    const int* odd_word = block.odd_words.data() + run.odd;
    for (int k = run.line; k < run.line + run.nlines; ++k) {
      const std::size_t end = std::min(text.find('\n', begin), run.end - 1) + 1;
      const int* const numbers = block.numbers.data();
      lines.push_back({begin, end, {numbers + block.starts.data()[k], numbers + block.starts.data()[k + 1]}});
      const auto nodd = std::count(lines.back().numbers.begin(), lines.back().numbers.end(), -1);
      lines.back().odd_words.assign(odd_word, odd_word + nodd);
      odd_word += nodd;
      begin = end;
    }
    if (odd_word != block.odd_words.data() + run.odd + run.nodd) lines.clear();
  }
  return lines;
}

/// The words of the runs that `scan` finds in a text when lines do not matter, as one long line.
inline PlainLine scanned_words_of(const std::string& text) {
  formats::Block block;
  fill_block(text, block);
  formats::scan(block, 0, {.by_line = false});

  PlainLine all{0, 0, {}};
  for (const formats::Run& run : block.runs) {
    if (run.begin != all.end) return {};
    all.end = run.end;
    const int* const numbers = block.numbers.data() + run.number;
    all.numbers.insert(all.numbers.end(), numbers, numbers + run.nnumbers);
    const int* const odd_words = block.odd_words.data() + run.odd;
    all.odd_words.insert(all.odd_words.end(), odd_words, odd_words + run.nodd);
  }
  return all;
}

}  // namespace quillon
