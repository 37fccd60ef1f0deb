#pragma once
/// @file
/// What single bytes of a text say of it: line ends, tabs and the like. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "formats/scanner.h"

namespace quillon::formats {

/// How often something is in a text, and where first.
struct Occurrences {
  std::int64_t count = 0;
  Place first;
};

/// Looks at a text piece by piece.
class ByteAudit {
 public:
  /// Looks at the next piece of the text.
  void look_at(std::string_view piece);

  [[nodiscard]] bool is_empty() const { return size_ == 0; }
  [[nodiscard]] bool ends_with_newline() const { return last_byte_ == '\n'; }
  /// The last line, with or without a newline.
  [[nodiscard]] char first_byte_of_last_line() const { return line_start_; }
  [[nodiscard]] Place end() const { return {nlines_ + 1, column_ + 1}; }

  Occurrences crlf;  ///< Lines that end with CR LF.
  Occurrences lf;    ///< Lines that end with LF alone.
  Occurrences cr;    ///< CR without LF.
  Occurrences tab;
  Occurrences long_line;   ///< Longer than `kLongLine`.
  std::vector<Place> nul;  ///< The first bytes of value 0.
  std::int64_t nnul = 0;   ///< Number of them.

  static constexpr std::size_t kLongLine = (std::size_t{16} << 20) - 6;  ///< Bytes, with the newline.

 private:
  void look_closely(std::string_view piece);
  void look_at_lines(std::string_view lines);
  void look_at_odd(std::string_view piece);
  void end_line(std::size_t length);
  void note(Occurrences& occurrences, std::size_t column);

  std::uint64_t size_ = 0;
  std::size_t nlines_ = 0;  // line ends so far
  std::size_t column_ = 0;  // bytes of the current line so far
  char last_byte_ = 0;
  char line_start_ = 0;
};

}  // namespace quillon::formats
