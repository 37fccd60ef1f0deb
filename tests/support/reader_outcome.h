#pragma once
// The outcome of a reader over the recording utility layer, to compare the module's readers with their twins.

#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"

namespace quillon {

using StreamReader = int(Hypergraph* h, std::FILE* ifp, int check);

/// A reader and its twin.
struct ReaderPair {
  const char* name;
  StreamReader* module;
  StreamReader* oracle;
};

/// Folds nets with fewer than two pins.
inline constexpr ReaderPair kStandardReader = {"standard", read_hypergraphFromFile,
                                               oracle::read_hypergraphFromFile};
/// Keeps every net.
inline constexpr ReaderPair kOnePinReader = {"one-pin", read_hypergraph_with_onepin_netsFromFile,
                                             oracle::read_hypergraph_with_onepin_netsFromFile};

/// An uninitialised int in memory of the recorder, which marks the first 4096 bytes of a block.
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

/// The fields of a record that a reader sets.
struct SeenRecord {
  int c, n, p, fmt;
  int maxwcd, maxcd, mincd, totcw, totinw, totnw, virtualnets;
  int ninternets, tag;
  bool others_null;             ///< Whether all pointers except the three arrays are null.
  std::vector<SeenCell> cells;  ///< 0 .. `_c` + 1, as far as the recorder marks them.
  std::vector<int> weights;     ///< Of cells 1 .. `_c`.
  std::vector<SeenNet> nets;    ///< 1 .. `_n`.
  std::int64_t sentinel;        ///< Start of net `_n` + 1.
  std::vector<int> pins;        ///< Those in use.
  std::vector<int> cell_list;   ///< The array with its spare entries, as far as the recorder marks it.
  bool operator==(const SeenRecord&) const = default;
};

/// The outcome of a run of a reader.
struct ReaderOutcome {
  bool endless = false;  ///< Would never return. Only the twins detect it.
  std::string fatal;     ///< Text of the fatal error that ended it; empty when it returned.
  std::vector<std::string> warnings;
  std::vector<std::string> requests;  ///< For memory, as the recorder lists them.
  long position = 0;                  ///< Of the stream, afterwards.
  int result = 0;                     ///< Only set if the reader returned, like the record.
  SeenRecord record = {};
  bool operator==(const ReaderOutcome&) const = default;
};

void PrintTo(const ReaderOutcome& outcome, std::ostream* out);

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

/// A temporary file that holds the text, positioned at its start.
Stream stream_of(const std::string& text);

/// Whether the last line of a text is a comment. A reader that needs one more line never returns.
bool ends_in_comment(const std::string& text);

/// Runs a reader or a twin on a stream, over a recorder that starts afresh and a record full of garbage. A
/// request for more than 40 MiB is a fatal error.
ReaderOutcome outcome_of(StreamReader* reader, std::FILE* file, int check);

}  // namespace quillon
