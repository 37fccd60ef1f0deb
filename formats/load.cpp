#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "formats/compression.h"
#include "formats/findings.h"
#include "formats/formats.h"
#include "formats/source.h"
#include "hypergraph/detail/lists.h"
#include "util/scope.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

// The readers treat the rest of a longer line as another line, which may look like a comment.
constexpr std::size_t kLongestLine = 16777215;

// A source that knows its last line. The readers of the module skip comments without testing for the end of
// the input; when they ask for more after a last line that is a comment, or may look like one, the read
// fails. An exception must not pass through the C library, so it waits here.
struct GuardedSource {
  explicit GuardedSource(const std::string& name) : source(name) {}

  Source source;
  std::size_t line_length = 0;  // so far, of the last line seen
  bool at_line_start = true;
  bool in_comment = false;  // the last line is a comment
  std::exception_ptr failure;
  std::vector<char> buffer = std::vector<char>(std::size_t{1} << 18);
};

void note_last_line(GuardedSource& guarded, const char* text, std::size_t size) {
  const void* const line_end = memrchr(text, '\n', size - 1);
  const char* const last_line = line_end == nullptr ? text : static_cast<const char*>(line_end) + 1;
  const bool is_new = line_end != nullptr || guarded.at_line_start;
  if (is_new) guarded.in_comment = *last_line == '%';
  guarded.line_length =
      (is_new ? 0 : guarded.line_length) + static_cast<std::size_t>(text + size - last_line);
  guarded.at_line_start = text[size - 1] == '\n';
}

void check_end(const GuardedSource& guarded) {
  if (!guarded.in_comment && guarded.line_length <= kLongestLine) return;
  const std::string& name = guarded.source.name();
  throw BadFile({"ends-in-comment", Severity::kError, name, 0, 0,
                 "'" + name + "' ends in a " +
                     (guarded.in_comment ? "comment line" : "line of more than 16777215 bytes") +
                     ", but its header, a net line or cell weights are still due",
                 ""});
}

ssize_t read_guarded(void* cookie, char* text, std::size_t size) {
  GuardedSource& guarded = *static_cast<GuardedSource*>(cookie);
  try {
    const std::size_t length = guarded.source.read(text, size);
    if (length > 0)
      note_last_line(guarded, text, length);
    else
      check_end(guarded);
    return static_cast<ssize_t>(length);
  } catch (...) {
    guarded.failure = std::current_exception();
    errno = EIO;
    return -1;
  }
}

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Stream open_guarded(GuardedSource& guarded) {
  std::FILE* const stream = fopencookie(&guarded, "r", {read_guarded, nullptr, nullptr, nullptr});
  if (stream == nullptr)
    throw BadFile({"cannot-open", Severity::kError, guarded.source.name(), 0, 0,
                   "cannot open a stream on '" + guarded.source.name() + "': " + std::strerror(errno), ""});
  std::setvbuf(stream, guarded.buffer.data(), _IOFBF, guarded.buffer.size());
  return Stream(stream);
}

// Whether the last line of a file is a comment, or may look like one to the readers.
bool may_end_in_comment(std::FILE* file) {
  constexpr long kTail = 4096;
  char tail[kTail];
  if (std::fseek(file, 0, SEEK_END) != 0) return true;
  const long begin = std::max(0L, std::ftell(file) - kTail);
  std::fseek(file, begin, SEEK_SET);
  const std::size_t size = std::fread(tail, 1, sizeof tail, file);
  std::rewind(file);
  if (size == 0) return false;
  const void* const line_end = memrchr(tail, '\n', size - 1);
  if (line_end == nullptr) return begin > 0 || tail[0] == '%';
  return *(static_cast<const char*>(line_end) + 1) == '%';
}

// By its first bytes, whatever its name.
bool is_compressed(std::FILE* file) {
  char first[kMagicSize];
  const std::size_t size = std::fread(first, 1, sizeof first, file);
  std::rewind(file);
  return compression_of_bytes({first, size}) != Compression::kNone;
}

// An uncompressed regular file that does not end in a comment: the readers get it directly. Null for others.
std::FILE* open_plain(const std::string& name) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(name, ignored)) return nullptr;
  std::FILE* const file = ufopen(name.c_str(), "r", "quillon");
  if (!is_compressed(file) && !may_end_in_comment(file)) return file;
  ufclose(file);
  return nullptr;
}

void read_stream(Record& record, std::FILE* stream, SmallNets small_nets, bool warn) {
  const int check = warn ? 1 : 0;
  if (small_nets == SmallNets::kFold)
    record.nfolded = read_hypergraphFromFile(&record.h, stream, check);
  else
    read_hypergraph_with_onepin_netsFromFile(&record.h, stream, check);
}

// What failed below the reader comes before what the reader made of it: once the source has failed, warnings
// are dropped, and a fatal error gives way to the failure.
class SourceFirst {
 public:
  explicit SourceFirst(const GuardedSource& guarded) {
    source = &guarded;
    outer_warning = set_warning_handler(on_warning);
    outer_fatal = set_fatal_handler(on_fatal);
  }
  ~SourceFirst() {
    set_warning_handler(outer_warning);
    set_fatal_handler(outer_fatal);
  }
  SourceFirst(const SourceFirst&) = delete;
  SourceFirst& operator=(const SourceFirst&) = delete;

 private:
  static void on_warning(const char* text) {
    if (source->failure) return;
    if (outer_warning != nullptr)
      outer_warning(text);
    else
      uwarning("%s", text);  // inside a handler, this is the default
  }

  static void on_fatal(const char* message) {
    if (source->failure) std::rethrow_exception(source->failure);
    if (outer_fatal != nullptr) outer_fatal(message);
  }

  static constinit const GuardedSource* source;
  static constinit TextHandler outer_warning;
  static constinit FatalHandler outer_fatal;
};

constinit const GuardedSource* SourceFirst::source = nullptr;
constinit TextHandler SourceFirst::outer_warning = nullptr;
constinit FatalHandler SourceFirst::outer_fatal = nullptr;

void read_guarded_stream(Record& record, GuardedSource& guarded, SmallNets small_nets, bool warn) {
  const Stream stream = open_guarded(guarded);
  const SourceFirst source_first(guarded);
  Scope scope;
  try {
    read_stream(record, stream.get(), small_nets, warn);
    if (guarded.failure) std::rethrow_exception(guarded.failure);
  } catch (...) {
    record.h = {};  // the scope frees its arrays
    throw;
  }
  scope.keep();
}

void build_cell_side(Hypergraph* h) {
  const std::uint64_t entries = static_cast<std::uint64_t>(h->_p) + 2;
  h->_net_list = static_cast<int*>(umalloc(entries * sizeof(int), "build_cell_side: net_list"));
  int* const work = imalloc(std::int64_t{h->_c} + 1, "build_cell_side: work");
  construct_net_list(h, work);
  _usfree(work);
}

// Adds the name of the file to an error.
void make_record(Record& record, NetLists&& lists, SmallNets small_nets, const std::string& name) {
  try {
    to_record(std::move(lists), record, small_nets);
  } catch (const BadFile& error) {
    Finding finding = error.finding();
    finding.file = name;
    finding.message = name + ": " + finding.message;
    throw BadFile(finding);
  }
}

}  // namespace

void load_own(Record& record, const std::string& filename, SmallNets small_nets, bool warn) {
  const Format* const other = format_of_file(filename);
  if (other != nullptr && other != &own_format())
    uwarning("'%s' looks like %.*s, but is read as quillon; use convert for other formats", filename.c_str(),
             static_cast<int>(other->name.size()), other->name.data());
  if (std::FILE* const file = open_plain(filename)) {
    const std::unique_ptr<Watch> watch = watch_file(filename, fileno(file));
    read_stream(record, file, small_nets, warn);
    ufclose(file);
  } else {
    GuardedSource guarded(filename);
    read_guarded_stream(record, guarded, small_nets, warn);
    guarded.source.finish();
  }
  build_cell_side(&record.h);
}

Loaded load(Record& record, const std::string& filename, const LoadOptions& options) {
  const Format* format = options.format;
  if (format == nullptr) format = format_of_file(filename);
  if (format == nullptr) format = &own_format();
  NetLists lists = read_file(filename, *format, options.read);
  const int fmt = (lists.cell_weights.empty() ? 0 : 1) | (lists.net_weights.empty() ? 0 : 2);
  make_record(record, std::move(lists), options.small_nets, shown_name(filename));
  return {format,
          fmt,
          std::move(lists.remarks),
          std::move(lists.losses),
          {std::move(lists.cell_names), std::move(lists.net_names)}};
}

}  // namespace quillon::formats
