#pragma once
/// @file
/// Lines of plain numbers of a text, many at a time. Internal to `formats/`.
///
/// A reader consists of functions that read a line by the words on it (`formats/scanner.h`), and of functions
/// that store many plain lines at once. The latter have no effect if anything about these lines is wrong;
/// then the former read them and say what.

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "formats/block.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// Begins to look for lines of numbers.
///
/// @param in  At the start of a line. If it holds a whole text, nothing happens, and no lines are found.
void begin_lines(Scanner& in, const LineShape& shape);

/// Lines of numbers that follow one another in a text.
struct NumberLines {
  int count = 0;                 ///< Lines, if the shape wants them.
  int nnumbers = 0;              ///< Numbers in all.
  const int* numbers = nullptr;  ///< Line after line; `kSpareNumbers` more can be read.
  const int* starts = nullptr;   ///< Entries k and k + 1: first number of line k, and the end, in `all`.
  const int* all = nullptr;
  const int* odd = nullptr;  ///< Of odd lines: offsets of the odd words, which are -1 among the numbers.

  /// Numbers of line k, from 0.
  [[nodiscard]] int size(int k) const { return starts[k + 1] - starts[k]; }

  /// Numbers of the lines before line k.
  [[nodiscard]] int before(int k) const { return starts[k] - starts[0]; }

  /// The numbers of line k.
  [[nodiscard]] const int* line(int k) const { return all + starts[k]; }
};

/// Finds the lines of numbers that begin here.
///
/// @param in  At the start of a line; moves to the next block at the end of one.
/// @return    Valid until words are read from `in`. None if the next line has to be read by its words.
NumberLines number_lines(Scanner& in);

/// Finds the odd lines that begin here.
///
/// @param in  As for `number_lines`.
/// @return    Likewise. None if the next line is plain, or has to be read by its words.
NumberLines odd_lines(Scanner& in);

/// Moves past lines that `number_lines` or `odd_lines` has just found.
///
/// @param count  Of them.
void skip_lines(Scanner& in, int count);

/// Words that follow one another in a text, for a reader to whom lines do not matter.
struct WordList {
  std::span<const int> numbers;  ///< -1 for those that are no numbers of at most nine digits.
  const int* odd = nullptr;      ///< Offsets of these.
};

/// Finds the words that begin here, if the shape does not want lines.
///
/// @param in  Not within a word; moves to the next block at the end of one.
/// @return    Valid until words are read from `in`. None if the next word has to be read by itself.
WordList words_here(Scanner& in);

/// Moves past words that `words_here` has just found.
///
/// @param count  Of them.
void skip_words(Scanner& in, const WordList& words, std::size_t count);

/// Moves past all lines that `number_lines` or `odd_lines` has just found.
void skip_all_lines(Scanner& in);

/// Finds the digits that a text begins with.
///
/// @param text  Of a word. They are removed from it, also the sign before them.
/// @return      The digits, after a minus if there is one. None if there are none; nothing is removed then.
std::optional<std::string_view> leading_integer(std::string_view& text);

}  // namespace quillon::formats
