#pragma once
/// @file
/// A piece of a text and the numbers in it. Internal to `formats/`.
///
/// Numbers are found many at a time, by `util/digits.h`, on lines that hold nothing else: plain lines. All
/// other lines are odd: those with comments, signs, words, numbers of more than nine digits and the like.
/// They are left to the functions of `formats/scanner.h`, which know how to say what is wrong and where. But
/// if there are many of them, readers can look at their words, most of which are numbers, by array.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace quillon::formats {

/// What the lines of a format consist of.
struct LineShape {
  bool by_line = true;  ///< Whether lines matter to the reader; if not, runs may end within them.
  int nvalues = 0;      ///< 0: lines of any count of numbers; else lines of two and so many real values.
  bool whole_values = false;  ///< The values are integers.
};

/// Consecutive lines of a block that are all plain or all odd. If lines do not matter: words, of which some
/// may be odd.
struct Run {
  std::size_t begin;  ///< Offset of its first line.
  std::size_t end;    ///< Offset after its last line.
  int number;         ///< Index of its first number.
  int nnumbers;
  int line;    ///< Index of its first line; 0 if lines are not wanted.
  int nlines;  ///< Likewise.
  int odd;     ///< Of odd lines: index of their first odd word.
  int nodd;    ///< Number of odd words, one at least on each line; 0 if the lines are plain.

  [[nodiscard]] bool is_odd() const { return nodd > 0; }
};

/// Memory that is used again and again. Its contents are lost when it grows, but for those that are kept.
template <typename Entry>
class Scratch {
 public:
  Entry* data() { return entries_.get(); }
  [[nodiscard]] const Entry* data() const { return entries_.get(); }
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

  /// @param kept  Number of first entries to keep.
  void make_room(std::size_t count, std::size_t kept = 0) {
    if (count <= capacity_) return;
    std::unique_ptr<Entry[]> more(new Entry[count]);  // not initialised
    for (std::size_t k = 0; k < kept; ++k) more[k] = entries_[k];
    entries_ = std::move(more);
    capacity_ = count;
  }

  void free() {
    entries_.reset();
    capacity_ = 0;
  }

 private:
  std::unique_ptr<Entry[]> entries_;
  std::size_t capacity_ = 0;
};

/// Bytes after the text of a block that `scan` may use.
inline constexpr std::size_t kSpareBytes = 80;

/// Entries after the numbers of a block that can be read. Their values do not matter.
inline constexpr int kSpareNumbers = 16;

/// A piece of a text. It ends after a line, or within one that is too long for a block, or with the text.
struct Block {
  Scratch<char> text;          ///< `size` bytes and `kSpareBytes` more.
  std::size_t size = 0;        ///< Bytes of text.
  bool begins_inside = false;  ///< It begins within a line.
  bool is_last = false;        ///< The text ends with it.
  std::size_t nline_ends = 0;  ///< Not set in the last block.

  Scratch<int> numbers;    ///< Of all runs, one after another; -1 for odd words.
  Scratch<int> starts;     ///< By line: index of its first number; one more entry ends the last.
  Scratch<int> odd_words;  ///< Offsets of words that are no numbers of at most nine digits.
  std::vector<Run> runs;   ///< In the order of the text. Some lines, such as comments, are in none.
};

/// Finds the runs of a block. All plain lines are in runs; odd lines only if the shape is that of lines
/// of any count of numbers, and not if they begin with "%" or end in another block. If lines do not matter,
/// all words are in runs but one that ends in another block.
///
/// @param block  Gets `nline_ends`, `numbers`, `starts`, `odd_words` and `runs`. Its spare bytes are
///               overwritten.
/// @param from   Offset of the first byte to scan, the start of a line.
/// @param shape  What lines consist of.
void scan(Block& block, std::size_t from, const LineShape& shape);

/// Sets `nline_ends` of a block that is not scanned.
void count_line_ends(Block& block);

/// @return  Number of line ends in a text.
std::size_t count_line_ends(std::string_view text);

}  // namespace quillon::formats
