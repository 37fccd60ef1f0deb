#pragma once
/// @file
/// Words of a text that know their place, for messages that say where and what.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "formats/source.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

class Audit;
struct Finding;

/// A line and a column of a text, both from 1.
struct Place {
  std::size_t line = 0;    ///< Line number.
  std::size_t column = 0;  ///< In bytes.
};

/// A text and how far it has been read: a whole text, or one that is read in blocks of whole lines.
///
/// Words are views into the block. The functions below move to the next block where one ends, which ends the
/// words of the block before: convert a word before the next is read. A line longer than 4 MiB is in several
/// blocks.
struct Scanner {
  /// Fills bytes as far as a text goes; returns their number. Called by one thread at a time.
  using Read = std::function<std::size_t(char* bytes, std::size_t size)>;

  std::string name;                ///< Of the file, as in messages.
  std::string_view text;           ///< The current block, or the whole text and a byte of value 0 after it.
  std::size_t at = 0;              ///< Offset of the first byte not read yet.
  std::size_t bytes_before = 0;    ///< Bytes of the blocks before.
  std::size_t lines_before = 0;    ///< Line ends in the blocks before.
  std::size_t columns_before = 0;  ///< Bytes that the first line of this block has in the blocks before.
  std::atomic<std::size_t> seen = 0;  ///< A recent value of `at`, for other threads.

  /// Receives the errors after which a reader goes on at the next line; see `report`. Null: they end the
  /// read.
  std::function<void(const Finding&)> listener;

  /// Whether the text was only read to the end of a block that is no text. Readers need not look: `finish`
  /// does.
  bool is_cut = false;

  Audit* audit = nullptr;  ///< What `lint` wants to know beside errors; null for other readers.

  /// How far `place_of` has counted line ends.
  struct Counted {
    std::size_t end = 0;         ///< Offset in the current block.
    std::size_t nlines = 0;      ///< Line ends before.
    std::size_t line_begin = 0;  ///< Offset after the last of them, or 0.
  };
  mutable Counted counted;  ///< Makes places in ascending order cheap.

  struct Stream;
  std::unique_ptr<Stream> stream;  ///< The blocks; null for a whole text.

  /// A file, read in blocks.
  ///
  /// @param filename  File name, or - for standard input; compressed data is decompressed.
  /// @throws BadFile if it cannot be opened.
  explicit Scanner(const std::string& filename) : Scanner(std::make_unique<Source>(filename)) {}

  /// An open file, read in blocks.
  ///
  /// @param its_source  At its start.
  explicit Scanner(std::unique_ptr<Source> its_source);

  /// A whole text.
  ///
  /// @param its_name         As in messages.
  /// @param its_text         The whole text.
  /// @param is_its_text_cut  Value of `is_cut`.
  Scanner(std::string its_name, Text its_text, bool is_its_text_cut = false);

  /// A copy of a whole text.
  ///
  /// @param its_name  As in messages.
  /// @param its_text  Copied.
  Scanner(std::string its_name, std::string_view its_text) : Scanner(std::move(its_name), Text(its_text)) {}

  /// A text that is read in blocks.
  ///
  /// @param its_name  As in messages.
  /// @param read      Where it comes from.
  Scanner(std::string its_name, Read read);

  ~Scanner();
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  std::shared_ptr<Source> source;     ///< The file; null for other texts.
  std::shared_ptr<const Text> whole;  ///< The whole text, if it is in memory.
  std::string reopened_as;            ///< Name of a file that can be opened again, or empty.
};

/// A word of a text, with its place.
struct Token {
  std::string_view text;  ///< Into the scanner's; empty at the end of the line or of the text.
  std::size_t offset;     ///< Of its first byte.
  int plain = -1;         ///< Its value, if it was found to consist of at most nine digits; else -1.
};

/// The values that a number may have, and what it stands for.
struct Range {
  int min;                          ///< Smallest value.
  int max;                          ///< Largest value.
  std::string meaning;              ///< Such as "a cell number from 1 to 9".
  const char* rule = "bad-number";  ///< Of the finding when the number is out of range.
  const char* if_missing = rule;    ///< Of the finding when the line or the text ends instead.
};

/// Says why a word is refused.
///
/// @param token  A word that is no number of the range.
/// @param range  The range.
/// @return       The rule that it breaks: "not-a-number", "number-too-large" beyond 32 bits, or the range's.
const char* broken_rule(const Token& token, const Range& range);

/// Reads a whole file.
///
/// @param name  File name, or - for standard input; gzip and zstd are decompressed.
/// @return      At the start of the text.
/// @throws BadFile if it cannot be read.
Scanner open_scanner(const std::string& name);

/// Reads an open file.
///
/// @param source  At its start; closed at the end.
/// @return        At the start of the text.
/// @throws BadFile if it cannot be read.
Scanner open_scanner(std::unique_ptr<Source> source);

/// Reads the next word, on whatever line.
///
/// @param scanner  Moves past the word.
/// @return         The word, free of white space; empty at the end of the text.
Token next_token(Scanner& scanner);

/// Reads the next word on this line.
///
/// @param scanner  Moves past the word; at the end of the line it stays before the line end.
/// @return         The word; empty at the end of the line.
Token next_on_line(Scanner& scanner);

/// Reads the digits that come next on this line, also when other text follows them directly.
///
/// @param scanner  Moves past the digits; stays if there are none.
/// @return         The digits, after a minus if there is one; a plus is left out. None if there are none.
std::optional<Token> next_integer(Scanner& scanner);

/// Moves to the start of the next line.
///
/// @param scanner  On any line; on the last one it moves to the end of the text.
void skip_line(Scanner& scanner);

/// Skips lines that begin with "%".
///
/// @param scanner  At the start of a line; moves to that of the first other line.
void skip_comments(Scanner& scanner);

/// Skips comments up to a line to read.
///
/// @param scanner  At the start of a line; moves to that of the first line that is no comment.
/// @return         False if the text ends first.
bool skip_to_line(Scanner& scanner);

/// Tests whether the whole text has been read.
///
/// @param scanner  Moves to the next block at the end of one.
/// @return         True if nothing is left, not even white space.
bool at_end(Scanner& scanner);

/// Moves back to the start of a word.
///
/// @param scanner  Moves back.
/// @param token    Read last.
inline void put_back(Scanner& scanner, const Token& token) { scanner.at = token.offset; }

/// Finds the line and the column of a byte.
///
/// @param scanner  Read only.
/// @param offset   Of the byte in the current block, up to its length.
/// @return         Its place.
/// @par Cost       O(offset); after a smaller offset in the same block, O(difference).
Place place_of(const Scanner& scanner, std::size_t offset);

/// Makes it possible to read the text a second time. A text that comes from a pipe is read into memory.
///
/// @param scanner  At the start of the text.
void prepare_second_read(Scanner& scanner);

/// Begins to read a text once more. The first scanner cannot be used any longer.
///
/// @param scanner  After `prepare_second_read`.
/// @return         At the start of the text.
std::unique_ptr<Scanner> read_again(Scanner& scanner);

/// Ends reading: reads a compressed file to its end, where its checksum is verified, and refuses a text that
/// was cut.
///
/// @param scanner  Anywhere.
/// @throws BadFile if the file is damaged, or is no text and no reader refused it.
void finish(Scanner& scanner);

/// Reports an error.
///
/// @param scanner  Its listener gets the error, and may throw.
/// @param finding  The error.
/// @throws BadFile if there is no listener.
void report(const Scanner& scanner, const Finding& finding);

/// As `number_in`, which is inline for plain words.
///
/// @param token  Any word.
/// @param range  The values allowed.
/// @return       As from `number_in`.
std::optional<int> any_number_in(const Token& token, const Range& range);

/// Converts a word to a number.
///
/// @param token  Decimal digits, after a minus if the number is negative.
/// @param range  The values allowed.
/// @return       The value; none if the word is not a number, or out of range.
inline std::optional<int> number_in(const Token& token, const Range& range) {
  if (token.plain < 0) {
    if (token.text.empty() || token.text.front() > '9') return std::nullopt;  // most words
    return any_number_in(token, range);
  }
  if (token.plain < range.min || token.plain > range.max) return std::nullopt;
  return token.plain;
}

/// Converts a word that must be a number.
///
/// @param scanner  The text of the word, for the message.
/// @param token    As for `number_in`.
/// @param range    The values allowed, and the words for them in the message.
/// @return         The value.
/// @throws BadFile if it is not a number, or out of range.
int as_number(const Scanner& scanner, const Token& token, const Range& range);

/// Moves to the next line.
///
/// @param scanner  On any line.
/// @param after    What the line ends after, for the message.
/// @param hint     What may be wrong with the file, or empty.
/// @throws BadFile if anything is left on this line.
void expect_line_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Reads to the end of the text.
///
/// @param scanner  At the start of a line.
/// @param after    What the text ends after, for the message.
/// @param hint     As for `expect_line_end`.
/// @throws BadFile if anything but comments and blank lines is left.
void expect_comments(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Reads to the end of the text.
///
/// @param scanner  Anywhere.
/// @param after    As for `expect_comments`.
/// @param hint     As for `expect_line_end`.
/// @throws BadFile if anything but white space is left.
void expect_end(Scanner& scanner, const std::string& after, const std::string& hint = {});

/// Names a word as messages do.
///
/// @param scanner  The text of the word.
/// @param token    An empty one stands for the end of the line or of the file.
/// @return         At most its first 40 characters, in double quotes, unprintable ones as question marks.
std::string shown(const Scanner& scanner, const Token& token);

/// Refuses a word: "found X, expected Y".
///
/// @param scanner   The text of the word.
/// @param token     The word found; an empty one stands for the end of the line or of the file.
/// @param rule      Name of the kind of finding.
/// @param expected  Y.
/// @param hint      As for `expect_line_end`.
/// @throws BadFile  at the place of the word, always.
[[noreturn]] void unexpected(const Scanner& scanner, const Token& token, const char* rule,
                             const std::string& expected, const std::string& hint = {});

/// Refuses a text.
///
/// @param scanner   The text.
/// @param offset    Of the byte that the message concerns, in the current block.
/// @param rule      Name of the kind of finding.
/// @param message   What is wrong, without a full stop.
/// @param hint      As for `expect_line_end`.
/// @throws BadFile  with the line and column of that byte, always.
[[noreturn]] void bad_text(const Scanner& scanner, std::size_t offset, const char* rule,
                           const std::string& message, const std::string& hint = {});

/// Refuses a text, at a place that may be in an earlier block.
///
/// @param scanner   The text.
/// @param place     What the message concerns.
/// @param rule      Name of the kind of finding.
/// @param message   What is wrong, without a full stop.
/// @param hint      As for `expect_line_end`.
/// @throws BadFile  with that place, always.
[[noreturn]] void bad_text(const Scanner& scanner, const Place& place, const char* rule,
                           const std::string& message, const std::string& hint = {});

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
