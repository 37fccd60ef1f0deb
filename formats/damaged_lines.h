#pragma once
/// @file
/// Reads lines with errors that `lint` only counts, by the arrays of a scanned block. Internal to `formats/`.
///
/// There may be an error on each of many lines. Most of their words are numbers that the scanner has
/// converted already, so that to read such a line by its words would take several times as long. The results
/// are the same; a line with an error whose text is wanted is left to be read by its words.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "formats/audit.h"
#include "formats/lines.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// Whether errors may be counted without a text, as `lint` does on its first read.
inline bool may_count_errors(const Scanner& in) { return in.audit != nullptr && !in.audit->is_locating(); }

/// The words of lines, one line after another, and the errors in them.
class DamagedLines {
 public:
  /// @param in     `may_count_errors` of it.
  /// @param lines  From `number_lines` or `odd_lines`, valid as long as this object.
  DamagedLines(const Scanner& in, const NumberLines& lines)
      : in_(in), text_(in.text), lines_(lines), odd_(lines.odd), outside_(in.audit->outside) {}
  ~DamagedLines();
  DamagedLines(const DamagedLines&) = delete;
  DamagedLines& operator=(const DamagedLines&) = delete;

  /// Moves to a line, the one after that which ended last.
  ///
  /// @param k  Its index.
  void enter(int k) {
    number_ = lines_.line(k);
    end_ = lines_.line(k + 1);
    rest_ = {};
  }

  /// Words of the line that have not been read.
  [[nodiscard]] int nleft() const { return static_cast<int>(end_ - number_); }

  /// Reads the next word of the line.
  ///
  /// @param range   The values allowed, none negative; without the words of a message.
  /// @param number  Gets the number.
  /// @return        False if it is no number of the range, or there is none, which is counted.
  bool next(const Range& range, int& number) {
    return next_plain(range, number) || next_word(range, number, false);
  }

  /// As `next`, for the number of a cell, which may be numbered otherwise.
  bool next_cell(const Range& range, int& number) {
    return next_plain(range, number) || next_word(range, number, true);
  }

  /// Reads the next word of the line.
  ///
  /// @return  An empty text and no plain value at the end. Its offset does not matter.
  Token word();

  /// Reads the next integer of the line. Other text may follow it directly.
  ///
  /// @return  As `next_integer` of a scanner. None at the end of the line, or at text that is no integer.
  std::optional<Token> next_integer();

  /// Reads plain numbers of a range, up to one that is none.
  ///
  /// @param numbers  Out, room for those that are left on the line. Count from 1: the first of the range
  /// is 1.
  /// @return         How many there were.
  std::size_t next_plain_numbers(const Range& range, int* numbers) {
    if (!rest_.empty()) return 0;
    int* number = numbers;
    for (; number_ != end_ && *number_ >= range.min && *number_ <= range.max; ++number_)
      *number++ = *number_ + 1 - range.min;
    return static_cast<std::size_t>(number - numbers);
  }

  /// The text that `next_integer` stopped at; empty at the end of the line.
  [[nodiscard]] std::string_view text_left() const { return rest_; }

  /// Converts a word of the line.
  ///
  /// @param range    As for `next`; it may be negative.
  /// @param number   Gets the number.
  /// @param is_cell  The number is that of a cell or a part, which may be numbered otherwise.
  /// @return         False if it is no number of the range, which is counted.
  bool convert(const Token& token, const Range& range, int& number, bool is_cell);

  /// Skips the next word of the line, if there is one.
  void skip() {
    if (number_ != end_ && *number_++ < 0) ++odd_;
  }

  /// Counts an error of the line.
  ///
  /// @param rule  A literal.
  void add(const char* rule);

  /// Ends the line.
  ///
  /// @return  False if the text of an error is wanted; then all errors of the line are forgotten.
  bool end_line() {
    for (; number_ != end_; ++number_) odd_ += *number_ < 0 ? 1 : 0;
    if (is_text_wanted_) [[unlikely]]
      in_.audit->outside = outside_;
    for (std::size_t k = 0; k < nrules_; ++k) {
      const std::int64_t on_line = std::exchange(counts_[k].on_line, 0);
      counts_[k].total += is_text_wanted_ ? 0 : on_line;
    }
    if (in_.audit->outside.count != outside_.count) outside_ = in_.audit->outside;
    return !std::exchange(is_text_wanted_, false);
  }

 private:
  struct Count {
    const char* rule;
    std::int64_t total;
    std::int64_t on_line;
  };

  bool next_plain(const Range& range, int& number) {
    if (number_ == end_ || *number_ < range.min || *number_ > range.max) return false;
    number = *number_++;
    return true;
  }

  bool next_word(const Range& range, int& number, bool is_cell);

  const Scanner& in_;
  std::string_view text_;
  const NumberLines& lines_;
  const int* odd_;
  const int* number_ = nullptr;
  const int* end_ = nullptr;
  std::string_view rest_;  // of an odd word that begins with an integer

  Outside outside_;  // before the line
  std::array<Count, 8> counts_;
  std::size_t nrules_ = 0;
  bool is_text_wanted_ = false;
};

}  // namespace quillon::formats
