#pragma once
/// @file
/// Lines of a stream. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace quillon {

/// A stream and the line fetched last. Lines are those of fgets: they keep their line end, and are cut at the
/// size of the buffer. A seekable stream is read ahead, which saves a copy and lets readers parse many lines
/// at once; from any other (a pipe, a terminal) only the lines themselves are consumed. All positions are
/// offsets into the buffer, which may move as it grows.
///
/// Only the end of the file ends the lines: a fetch that fails keeps the line fetched last, which is then
/// parsed once more, and the next fetch tries again.
struct Lines {
  std::FILE* stream;
  char* text;
  std::size_t size;  // of the buffer
  bool reads_ahead = false;
  bool had_failed = false;     // the stream's error flag was set before anything was read ahead
  bool needed_more = false;    // a line was due when reading failed
  bool at_end = false;         // the last fetch met the end of the file
  std::size_t begin = 0;       // the line fetched last
  std::size_t end = 0;         // its end
  std::size_t filled = 0;      // end of the text in the buffer
  std::size_t lines_end = 0;   // end of the last complete line in the text; cached: searching is quadratic
  std::size_t next_piece = 0;  // bytes to read ahead next
};

/// The largest piece read ahead: a part of it stays in the second-level cache.
inline constexpr std::size_t kLargestPiece = std::size_t{1} << 17;

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
  return lines.text + std::max(lines.end, lines.lines_end);
}

/// Starts to read the stream ahead if it can be set back, which is tried: some streams only tell their
/// position. Setting back costs two system calls and a buffer, more than a few lines fetched one by one.
///
/// @param expected  About how many bytes will be needed: what is read in vain must be read again.
inline void begin_reading_ahead(Lines& lines, std::int64_t expected) {
  constexpr std::int64_t kWorthwhile = 256;
  if (expected < kWorthwhile || lines.at_end) return;
  const long position = std::ftell(lines.stream);
  lines.reads_ahead = position >= 0 && std::fseek(lines.stream, position, SEEK_SET) == 0;
  lines.had_failed = std::ferror(lines.stream) != 0;
  lines.filled = lines.lines_end = lines.end;
  lines.next_piece = std::min(kLargestPiece, static_cast<std::size_t>(expected));
}

/// Moves the text from `start`, which holds no line end, to the front of the buffer and reads more.
///
/// @return  Whether anything was read.
inline bool read_ahead(Lines& lines, std::size_t& start) {
  const std::size_t kept = lines.filled - start;
  const std::size_t wanted = std::min(kept + std::max(lines.next_piece, kept), lines.size - 1);
  if (start > 0 && kept > 0) std::memmove(lines.text, lines.text + start, kept);
  const std::size_t length = std::fread(lines.text + kept, 1, wanted - kept, lines.stream);
  lines.next_piece = std::min(kLargestPiece, 2 * lines.next_piece);
  if (length == 0 && kept == 0) return false;  // the line fetched last is still in the buffer
  start = 0;
  lines.filled = kept + length;
  lines.lines_end = lines.filled;
  while (lines.lines_end > kept && lines.text[lines.lines_end - 1] != '\n') --lines.lines_end;
  if (lines.lines_end == kept) lines.lines_end = start;
  return length > 0;
}

/// Where a line stands in the text that has been read ahead.
struct FoundLine {
  std::size_t start;
  std::size_t end;   // the end of the text if the line is incomplete
  bool is_complete;  // ends in a line end, or fills the buffer
};

/// Finds the line after the one fetched last, and reads ahead as far as it takes.
inline FoundLine find_next_line(Lines& lines) {
  std::size_t start = lines.end;
  std::size_t searched = 0;  // bytes of the line known to hold no line end
  for (;;) {
    const std::size_t length = std::min(lines.filled - start, lines.size - 1);
    const char* const line = lines.text + start;
    const void* const newline =
        length > searched ? std::memchr(line + searched, '\n', length - searched) : nullptr;
    if (newline != nullptr)
      return {start, static_cast<std::size_t>(static_cast<const char*>(newline) - lines.text) + 1, true};
    if (length == lines.size - 1) return {start, start + length, true};
    if (!read_ahead(lines, start)) return {start, start + length, false};
    searched = length;
  }
}

inline bool fetch_from_text(Lines& lines) {
  const FoundLine found = find_next_line(lines);
  lines.at_end = !found.is_complete && std::feof(lines.stream) != 0;
  lines.needed_more = lines.needed_more || (!found.is_complete && !lines.at_end);
  if (found.end == found.start) return false;
  lines.begin = found.start;
  lines.end = found.end;
  return true;
}

inline bool fetch_from_stream(Lines& lines) {
  const char* const line = std::fgets(lines.text, static_cast<int>(lines.size), lines.stream);
  lines.at_end = std::feof(lines.stream) != 0;
  if (line != nullptr) lines.end = std::strlen(line);
  return line != nullptr;
}

/// Fetches the next line. Returns false if there is none, and keeps the line fetched last.
inline bool fetch_line(Lines& lines) {
  return lines.reads_ahead ? fetch_from_text(lines) : fetch_from_stream(lines);
}

/// Fetches the next line that is not a comment. Tests the first byte of the buffer, not whether a line was
/// read: when the input ends, or cannot be read on, after a comment, this never returns. Callers document
/// that.
inline void fetch_data_line(Lines& lines) {
  do {
    fetch_line(lines);
  } while (lines.text[lines.begin] == '%');
}

/// Moves on to the next line of text that a reader parsed without fetching its lines.
///
/// @param begin  Offset of the line in the buffer.
/// @param end    Offset of its end.
inline void move_to_line(Lines& lines, std::size_t begin, std::size_t end) {
  lines.begin = begin;
  lines.end = end;
}

/// Sets the stream to the end of the line fetched last, as if nothing had been read ahead: an error that
/// nobody would have met then does not show either. Nothing can be fetched afterwards.
inline void set_back(const Lines& lines) {
  if (!lines.reads_ahead || lines.at_end) return;
  if (!lines.had_failed && !lines.needed_more) std::clearerr(lines.stream);
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
