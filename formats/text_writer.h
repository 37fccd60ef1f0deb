#pragma once
/// @file
/// A file that numbers and text are written to, at the speed of the module's writers. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include "hypergraph/detail/printer.h"

namespace quillon::formats {

/// A text file being written, a block at a time.
///
/// The fast way to write is a line at a time, with the cursor in a variable of the caller. A member would be
/// stored and loaded again for each character, which might alias it:
///
///     char* at = out.room(2 * TextWriter::kNumber);
///     at = print_with_blank(at, i);
///     at = print(at, j);
///     *at++ = '\n';
///     out.end(at);
class TextWriter {
 public:
  /// Room for one number and a character, and for what `print` stores after a short number.
  static constexpr std::size_t kNumber = 24;
  /// Most bytes of room that can be asked for at once.
  static constexpr std::size_t kMostRoom = 256;

  /// Creates or empties a file. All functions end in a fatal error (util/util.h) if the file cannot be opened
  /// or written.
  ///
  /// @param filename  File to write.
  /// @param tag       Of `ufopen`.
  TextWriter(const char* filename, const char* tag);

  /// Closes the file without an error message if `close` did not: it is incomplete then.
  ~TextWriter();
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  /// @param size  Bytes wanted, at most `kMostRoom`.
  /// @return      Where to write them. Call `end` before any other function.
  [[nodiscard]] char* room(std::size_t size) {
    if (static_cast<std::size_t>(limit_ - at_) < size) flush();
    return at_;
  }

  /// Ends what the caller wrote into the room.
  ///
  /// @param at  After its last byte.
  void end(char* at) { at_ = at; }

  /// Writes a number as "%d" does.
  void number(int value) { at_ = print(room(kNumber), value); }

  /// Writes a number as "%lld" does.
  void number(std::int64_t value);

  /// Writes a character.
  void character(char c) {
    *room(1) = c;
    ++at_;
  }

  /// Writes a text of any length.
  void text(std::string_view text);

  /// Writes what is left and closes the file.
  ///
  /// @par Errors  Fatal if the file is not complete, with the message of `ufclose`.
  void close();

 private:
  void flush();
  void write(std::string_view text);

  std::unique_ptr<char[]> block_;
  char* at_;     // end of the text in the block
  char* limit_;  // end of the block
  std::FILE* stream_;
};

/// Writes a number and a blank.
inline void write_with_blank(TextWriter& out, int value) {
  out.end(print_with_blank(out.room(TextWriter::kNumber), value));
}

}  // namespace quillon::formats
