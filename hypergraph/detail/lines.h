#pragma once
/// @file
/// Lines of a stream. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace quillon {

/// A stream and the line fetched from it last. Lines are those of fgets: they keep their line end, and are
/// cut where they reach the size of the buffer. A stream that can be set back may be read far ahead, which
/// saves a copy and lets many lines be looked at together; of any other (a pipe, a terminal) nothing is taken
/// but the lines themselves. All places are offsets into the buffer, which may be moved as it grows.
struct Lines {
  std::FILE* stream;
  char* text;
  std::size_t size;  // of the buffer
  bool reads_ahead = false;
  std::size_t begin = 0;   // the line fetched last; it stays when there is none behind it
  std::size_t end = 0;     // behind it
  std::size_t filled = 0;  // behind what has been read
  std::size_t whole = 0;   // behind the last line end in that; to look for it for each line would add up
  bool at_end = false;     // the last fetch met the end of the input
};

/// From here on the stream is read ahead, if it can be set back.
inline void begin_reading_ahead(Lines& lines) {
  lines.reads_ahead = std::ftell(lines.stream) >= 0;
  lines.filled = lines.end;
  lines.whole = lines.end;
}

/// Reads on, with the text from `start`, which holds no line end, moved to the front of the buffer.
///
/// @return  Whether anything came.
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
  std::size_t searched = 0;  // bytes of the line that are known to hold no line end
  for (;;) {
    const std::size_t length = std::min(lines.filled - start, lines.size - 1);
    const char* const line = lines.text + start;
    const void* const line_end =
        length > searched ? std::memchr(line + searched, '\n', length - searched) : nullptr;
    const bool complete = line_end != nullptr || length == lines.size - 1;
    if (!complete && read_ahead(lines, start)) {
      searched = length;
      continue;
    }
    lines.at_end = !complete;
    if (lines.filled == start) return;
    lines.begin = start;
    lines.end = line_end != nullptr
                    ? static_cast<std::size_t>(static_cast<const char*>(line_end) - lines.text) + 1
                    : start + std::min(lines.filled - start, lines.size - 1);
    return;
  }
}

inline void fetch_from_stream(Lines& lines) {
  const char* const line = std::fgets(lines.text, static_cast<int>(lines.size), lines.stream);
  lines.at_end = std::feof(lines.stream) != 0 || std::ferror(lines.stream) != 0;
  if (line != nullptr) lines.end = std::strlen(line);
}

/// Fetches the next line. At the end of the input there is none, and the line fetched last stays as it is.
inline void fetch_line(Lines& lines) {
  if (lines.reads_ahead)
    fetch_from_text(lines);
  else
    fetch_from_stream(lines);
}

/// Sets the stream behind the line fetched last, as if nothing had been read ahead. Nothing can be fetched
/// after that.
inline void set_back(const Lines& lines) {
  if (!lines.reads_ahead || lines.at_end) return;
  std::fseek(lines.stream, -static_cast<long>(lines.filled - lines.end), SEEK_CUR);
}

}  // namespace quillon
