#pragma once
// Bytes of a file from an offset on, and the words of its lines.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace quillon::engines {

class ByteReader {
 public:
  static constexpr int kEnd = -1;

  /// @throws BadInput if the file cannot be opened.
  ByteReader(const std::string& filename, std::int64_t offset);
  ~ByteReader();
  ByteReader(const ByteReader&) = delete;
  ByteReader& operator=(const ByteReader&) = delete;

  /// The next byte, or kEnd.
  int peek() {
    if (at_ == filled_) fill();
    return at_ == filled_ ? kEnd : static_cast<unsigned char>(block_[at_]);
  }
  void skip() { ++at_; }  // after `peek` returned a byte

  /// Offset in the file of the next byte.
  [[nodiscard]] std::int64_t offset() const { return block_offset_ + static_cast<std::int64_t>(at_); }
  [[nodiscard]] std::int64_t size() const { return size_; }

  /// @throws BadInput  "FILE: byte OFFSET: PROBLEM", always.
  [[noreturn]] void fail(const std::string& problem) const;

 private:
  void fill();

  std::string filename_;
  int descriptor_;
  std::int64_t size_ = 0;
  std::int64_t block_offset_;  // of block_[0]
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
  std::vector<char> block_;
};

/// White space other than a line end.
inline bool is_blank(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r' && byte != '\n'); }

/// Moves to the start of the next line, or to `end` if this line is longer.
void skip_line(ByteReader& in, std::int64_t end = std::numeric_limits<std::int64_t>::max());

/// Moves past lines that begin with "%".
void skip_comments(ByteReader& in);

/// Moves to the next word on this line. Returns false at the line end.
bool find_word(ByteReader& in);

/// The digits that come next on this line, with their sign, as a number. None at the line end and before
/// other text.
///
/// @throws BadInput if the number does not fit into 64 bits.
std::optional<std::int64_t> next_number(ByteReader& in);

}  // namespace quillon::engines
