#pragma once
// A second reader of the text format, which shows what the module's readers have to do by doing it one step
// after the other with the C library, and the means to compare the two.

#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon::slow {

/// The two readers: the one that removes nets with fewer than two pins, and the one that keeps them.
enum class Kind { kStandard, kOnePin };

/// What an int holds in memory of the recorder that nobody wrote to. Only the first 4096 bytes of a block do.
constexpr int kUntouched = static_cast<int>(0xa5a5a5a5);
constexpr std::int64_t kMarkedBytes = 4096;

struct SeenCell {
  int w, inw, pno, wdeg;
  bool null_lists;
  bool operator==(const SeenCell&) const = default;
};

struct SeenNet {
  int w;
  std::int64_t first, last;  ///< Of its pins, as positions in `_cell_list`.
  bool operator==(const SeenNet&) const = default;
};

/// The record as far as a reader gives it a value.
struct SeenRecord {
  int c, n, p, fmt;
  int maxwcd, maxcd, mincd, totcw, totinw, totnw, virtualnets;
  int ninternets, tag;
  bool others_null;             ///< Every pointer but the three arrays.
  std::vector<SeenCell> cells;  ///< 0 .. `_c` + 1, as far as the recorder marks them.
  std::vector<int> weights;     ///< Of cells 1 .. `_c`.
  std::vector<SeenNet> nets;    ///< 1 .. `_n`.
  std::int64_t sentinel;        ///< Start of net `_n` + 1.
  std::vector<int> pins;        ///< Those in use.
  std::vector<int> cell_list;   ///< The array with its spare entries, as far as the recorder marks it.
  bool operator==(const SeenRecord&) const = default;
};

/// What a run of a reader leaves behind.
struct Outcome {
  bool endless = false;  ///< Waits for ever for a line behind a comment. Only the slow reader can tell.
  bool huge = false;  ///< Not read: announces more than a million of something. Only the slow reader says so.
  std::string fatal;  ///< Text of the fatal error that ended it; empty when it returned.
  std::vector<std::string> warnings;
  std::vector<std::string> requests;  ///< For memory, as the recorder writes them down.
  long position = 0;                  ///< Of the stream, afterwards.
  int result = 0;                     ///< This and the record only when it returned.
  SeenRecord record = {};
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

/// A temporary file that holds the text, at its start.
Stream stream_of(const std::string& text);

/// Decides whether the last line of a text is a comment. A reader that needs one line more never returns.
bool ends_in_comment(const std::string& text);

/// Runs the slow reader on a stream.
Outcome read(Kind kind, std::FILE* file, int check);

/// Runs the reader of the module on a stream, over a recorder that starts afresh and a record full of
/// garbage.
Outcome read_with_module(Kind kind, std::FILE* file, int check);

}  // namespace quillon::slow
