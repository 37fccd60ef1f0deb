#pragma once
/// @file
/// Finds words of any kind in a text, many at a time. Internal to `formats/`.

#include <cstdint>

namespace quillon::formats {

/// The words of up to 64 bytes, the last of which is white space. One bit for each byte, the first byte in
/// the lowest bit.
struct WordPiece {
  std::uint64_t starts = 0;     ///< Of each word.
  std::uint64_t ends = 0;       ///< The white space after each.
  std::uint64_t odd_ends = 0;   ///< Those after words that are no numbers of one to nine digits.
  std::uint64_t nine_ends = 0;  ///< Those after numbers of nine digits.
  std::uint64_t line_ends = 0;
  int size = 0;  ///< Bytes; 0 if all bytes belong to one word, of which there may be more.
};

/// Finds the words at the start of a text.
///
/// @param text  At the start of a word or at white space; `kRunText` bytes (util/digits.h) can be read.
/// @param end   End of the text, after `text`.
WordPiece find_words(const char* text, const char* end);

/// Converts the words of a piece.
///
/// @param text     Of the piece.
/// @param numbers  Gets the values, -1 for words that are no numbers of one to nine digits. Three entries
///                 after them are overwritten.
/// @param odd      Gets where these words begin, as offsets from `text_begin`.
void convert_words(const char* text, const WordPiece& piece, int* numbers, const char* text_begin, int* odd);

}  // namespace quillon::formats
