#pragma once
/// @file
/// The header of the text format. Internal to `hypergraph/`.

#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/scan.h"
#include "util/util.h"

namespace quillon {

inline constexpr int kCellWeights = 1;  // bits of fmt
inline constexpr int kNetWeights = 2;

/// What a reader does with nets of fewer than two pins; the two record readers differ in little else.
enum class SmallNets { kFold, kKeep };

struct Header {
  int shift;  // to add to the file's cell numbers
  int ncells;
  int nnets;
  int npins;
  int fmt;
  int weights_per_cell;
};

/// Scans the integers at the start of the header line. Returns their number.
inline int scan_header(const char* at, const char* end, int (&numbers)[6]) {
  int count = 0;
  while (count < 6 && scan_int(at, end, numbers[count])) ++count;
  return count;
}

/// Reads the header, which must be the first line fetched. Counts are not checked.
///
/// @par Errors  Too few numbers, or an fmt or a numbering that does not exist, are fatal.
inline Header read_header(Lines& lines) {
  // Not fetch_data_line: the buffer is uninitialised, and an input without a header must end the loop.
  bool fetched = false;
  do {
    fetched = fetch_line(lines);
  } while (fetched && lines.text[lines.begin] == '%');

  int numbers[6] = {};
  const int count = !fetched ? 0 : scan_header(line_begin(lines), line_end(lines), numbers);
  if (count < 4) errexit("read_hypergraph : cannot read numbering, #cells, #nets, #pins.");

  const int fmt = count > 4 ? numbers[4] : 0;
  if (fmt < 0 || fmt > 3) errexit("read_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbers[0] < 0 || numbers[0] > 1)
    errexit("read_hypergraph : invalid numbering parameter [%d]", numbers[0]);
  return {1 - numbers[0], numbers[1], numbers[2], numbers[3], fmt, count > 5 ? numbers[5] : 1};
}

}  // namespace quillon
