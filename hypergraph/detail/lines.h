#pragma once
/// @file
/// Lines of a stream. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace quillon {

/// A stream and the line fetched last. Lines are those of fgets: they keep their line end, and are cut at the
/// size of the buffer. A seekable stream is read far ahead, which saves a copy and lets readers parse many
/// lines at once; from any other (a pipe, a terminal) only the lines themselves are consumed. All positions
/// are offsets into the buffer, which may move as it grows.
struct Lines {
  std::FILE* stream;
  char* text;
  std::size_t size;  // of the buffer
  bool reads_ahead = false;
  std::size_t begin = 0;   // the line fetched last; kept when a fetch finds none
  std::size_t end = 0;     // its end
  std::size_t filled = 0;  // end of the text in the buffer
  std::size_t whole = 0;   // end of the last complete line; cached: a search per line is quadratic
  bool at_end = false;     // the last fetch met the end of the input
};

inline const char* line_begin(const Lines& lines) { return lines.text + lines.begin; }

inline const char* line_end(const Lines& lines) { return lines.text + lines.end; }

/// Length of the line as strlen gives it: up to the first NUL.
inline std::size_t line_length(const Lines& lines) {
  const std::size_t length = lines.end - lines.begin;
  const void* const nul = length > 0 ? std::memchr(line_begin(lines), '\0', length) : nullptr;
  return nul == nullptr ? length
                        : static_cast<std::size_t>(static_cast<const char*>(nul) - line_begin(lines));
}

/// Whether a line of this length is refused, as it may have been cut.
inline bool is_too_long(const Lines& lines, std::size_t length) { return length >= lines.size - 5; }

/// End of the last complete buffered line, or of the line fetched last if there is none. No line before it is
/// too long: where that is not certain, no line counts as buffered.
inline const char* whole_lines_end(const Lines& lines) {
  if (!lines.reads_ahead || is_too_long(lines, lines.filled - lines.end)) return line_end(lines);
  return lines.text + std::max(lines.end, lines.whole);
}

/// Starts to read the stream ahead if it is seekable.
inline void begin_reading_ahead(Lines& lines) {
  lines.reads_ahead = std::ftell(lines.stream) >= 0;
  lines.filled = lines.end;
  lines.whole = lines.end;
}

/// Moves the text from `start`, which holds no line end, to the front of the buffer and reads more.
///
/// @return  Whether anything was read.
inline bool read_ahead(Lines& lines, std::size_t& start) {
  constexpr std::size_t kPiece = std::size_t{1} << 17;  // a part of it stays in the second-level cache
  const std::size_t kept = lines.filled - start;
  const std::size_t wanted = std::min(std::max(kPiece, 2 * kept), lines.size - 1);
  if (start > 0 && kept > 0) std::memmove(lines.text, lines.text + start, kept);
  const std::size_t length = std::fread(lines.text + kept, 1, wanted - kept, lines.stream);
  if (length == 0 && kept == 0) return false;
  start = 0;
  lines.filled = kept + length;
  lines.whole = lines.filled;
  while (lines.whole > kept && lines.text[lines.whole - 1] != '\n') --lines.whole;
  if (lines.whole == kept) lines.whole = 0;
  return length > 0;
}

inline void fetch_from_text(Lines& lines) {
  std::size_t start = lines.end;
  std::size_t searched = 0;  // bytes of the line known to hold no line end
  for (;;) {
    const std::size_t length = std::min(lines.filled - start, lines.size - 1);
    const char* const line = lines.text + start;
    const void* const newline =
        length > searched ? std::memchr(line + searched, '\n', length - searched) : nullptr;
    const bool complete = newline != nullptr || length == lines.size - 1;
    if (!complete && read_ahead(lines, start)) {
      searched = length;
      continue;
    }
    lines.at_end = !complete;
    if (lines.filled == start) return;
    lines.begin = start;
    lines.end = newline != nullptr
                    ? static_cast<std::size_t>(static_cast<const char*>(newline) - lines.text) + 1
                    : start + std::min(lines.filled - start, lines.size - 1);
    return;
  }
}

inline void fetch_from_stream(Lines& lines) {
  const char* const line = std::fgets(lines.text, static_cast<int>(lines.size), lines.stream);
  lines.at_end = std::feof(lines.stream) != 0 || std::ferror(lines.stream) != 0;
  if (line != nullptr) lines.end = std::strlen(line);
}

/// Fetches the next line. At the end of the input there is none, and the line fetched last is kept.
inline void fetch_line(Lines& lines) {
  if (lines.reads_ahead)
    fetch_from_text(lines);
  else
    fetch_from_stream(lines);
}

/// Fetches the next line that is not a comment. Tests the first byte of the buffer, not whether a line was
/// read: when the input ends in a comment, this never returns. Callers document that.
inline void fetch_data_line(Lines& lines) {
  do {
    fetch_line(lines);
  } while (lines.text[lines.begin] == '%' && !(lines.at_end && std::ferror(lines.stream) != 0));
}

/// Moves on to the next line of text that a reader parsed without fetching its lines.
///
/// @param text  In the buffer, at or after the end of the current line.
/// @param end   Offset of the next line's end from `text`.
inline void move_to_line(Lines& lines, const char* text, int end) {
  lines.begin = lines.end;
  lines.end = static_cast<std::size_t>(text - lines.text) + static_cast<std::size_t>(end);
}

/// Sets the stream to the end of the line fetched last, as if nothing had been read ahead. Nothing can be
/// fetched afterwards.
inline void set_back(const Lines& lines) {
  if (!lines.reads_ahead || lines.at_end) return;
  std::fseek(lines.stream, -static_cast<long>(lines.filled - lines.end), SEEK_CUR);
}

/// Feeds data lines to a reader until it needs no more: complete buffered lines to its fast path, then the
/// next line to its slow one, and so on. A Reader has
/// - is_done(): whether it needs no more lines,
/// - read_fast(at, end): parses from `at`, the end of the current line, to `end` at most; moves to each line
///   that it completes and returns where it stopped,
/// - fetch(): fetches and checks the next line; returns false to end reading,
/// - read_line(at): parses the fetched line from `at` on.
template <typename Reader>
void read_lines(Reader& reader, const Lines& lines) {
  while (!reader.is_done()) {
    const char* const stop = reader.read_fast(line_end(lines), whole_lines_end(lines));
    if (reader.is_done()) return;

    const std::ptrdiff_t nparsed = stop - line_end(lines);  // bytes of the next line already parsed
    if (!reader.fetch()) return;
    reader.read_line(line_begin(lines) + nparsed);
  }
}

}  // namespace quillon
