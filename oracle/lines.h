#pragma once
// Lines of the text format by fgets, and numbers by strtoll.

#include <cstdint>
#include <cstdio>

namespace quillon::oracle {

/// A stream and the buffer for one line of it.
struct Line {
  std::FILE* file;
  char* text;
  int size;
};

struct Header {
  int shift;  ///< Added to the file's cell numbers.
  int ncells;
  int nnets;
  int npins;
  int fmt;
  int weights_per_cell;
};

/// Allocates the line buffer.
Line line_of(std::FILE* file, const char* tag);

/// Grows the buffer to as many bytes as there are pins.
void grow_line(Line& line, int npins, const char* tag);

/// Reads the next line that is no comment. At the end of the input, or when reading fails, the buffer keeps
/// the previous line. Returns whether a line was read, which is only for detecting endless loops.
bool fetch_line(const Line& line);

/// Whether the last attempt to read a line reached the end of the input.
bool is_at_end(const Line& line);

/// Whether a line fills the buffer up to the last five bytes.
bool is_too_long(const Line& line);

/// Reads a number as strtol does and keeps its low 32 bits. Returns false, and the number 0, if there is
/// none.
bool next_number(const char*& at, int& value);

/// Reads the header and checks all of it except the counts.
Header read_header(const Line& line);

}  // namespace quillon::oracle
