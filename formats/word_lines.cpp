#include "formats/word_lines.h"

#include <bit>

#include "util/digits.h"

namespace quillon::formats {
namespace {

std::uint64_t bit(int place) { return std::uint64_t{1} << place; }

int highest_bit(std::uint64_t bits) { return 63 - std::countl_zero(bits); }

// The start of the word before an end, and its index.
int start_before(const WordPiece& piece, int end) { return highest_bit(piece.starts & (bit(end) - 1)); }
int index_before(const WordPiece& piece, int end) { return count_bits(piece.ends & (bit(end) - 1)); }

}  // namespace

WordPiece find_words(const char* text, const char* end) {
  const ByteClasses classes = classify(text);
  const std::uint64_t inside = end - text < 64 ? bit(static_cast<int>(end - text)) - 1 : ~std::uint64_t{0};
  const std::uint64_t spaces = classes.spaces & inside;
  if (spaces == 0) return {};

  WordPiece piece;
  piece.size = highest_bit(spaces) + 1;
  const std::uint64_t words = ~spaces & (~std::uint64_t{0} >> (64 - piece.size));
  piece.starts = words & ~(words << 1);
  piece.ends = spaces & words << 1;
  piece.line_ends = classes.line_ends & inside;

  const std::uint64_t nine_digits = long_numbers(classes);
  const std::uint64_t ten_digits = nine_digits & nine_digits << 1;
  const std::uint64_t plain = words & classes.digits & ~ten_digits;
  // The carry of a start reaches the end of a word if all of its bytes are plain.
  piece.odd_ends = piece.ends & ~(plain + piece.starts);
  piece.nine_ends = piece.ends & nine_digits << 1 & ~piece.odd_ends;
  return piece;
}

void convert_words(const char* text, const WordPiece& piece, int* numbers, const char* text_begin, int* odd) {
  convert_words_of_eight(text, piece.starts, piece.ends, numbers);
  for (std::uint64_t nines = piece.nine_ends; nines != 0; nines &= nines - 1) {
    const int end = lowest_bit(nines);
    int value = 0;
    for (int k = end - kMostDigits; k < end; ++k) value = 10 * value + (text[k] - '0');
    numbers[index_before(piece, end)] = value;
  }
  for (std::uint64_t odds = piece.odd_ends; odds != 0; odds &= odds - 1) {
    const int end = lowest_bit(odds);
    numbers[index_before(piece, end)] = -1;
    *odd++ = static_cast<int>(text - text_begin) + start_before(piece, end);
  }
}

}  // namespace quillon::formats
