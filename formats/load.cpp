#include "formats/load.h"

#include <sys/types.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "formats/formats.h"
#include "formats/source.h"
#include "tools/cli/progress.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

// Of a longer line the readers take the rest for another line, which may be a comment to them.
constexpr std::size_t kLongestLine = 16777215;

// A file that knows what its last line is. The readers skip comments without asking for the end of the input;
// asked for more when the last line was a comment, or may be one to them, the file ends the program with an
// error instead.
struct GuardedFile {
  Input input;
  std::size_t line_length = 0;  // so far, of the line that ends or does not end what has been read
  bool at_line_start = true;
  bool in_comment = false;  // or just behind one
  std::vector<char> buffer = std::vector<char>(std::size_t{1} << 18);
};

void note_last_line(GuardedFile& guarded, const char* text, std::size_t size) {
  const void* const line_end = memrchr(text, '\n', size - 1);
  const char* const last_line = line_end == nullptr ? text : static_cast<const char*>(line_end) + 1;
  const bool is_new = line_end != nullptr || guarded.at_line_start;
  if (is_new) guarded.in_comment = *last_line == '%';
  guarded.line_length =
      (is_new ? 0 : guarded.line_length) + static_cast<std::size_t>(text + size - last_line);
  guarded.at_line_start = text[size - 1] == '\n';
}

ssize_t read_guarded(void* cookie, char* text, std::size_t size) {
  GuardedFile& guarded = *static_cast<GuardedFile*>(cookie);
  const std::size_t length = read_input(guarded.input, text, size);
  if (length > 0) note_last_line(guarded, text, length);
  if (length == 0 && (guarded.in_comment || guarded.line_length > kLongestLine))
    errexit("'%s' ends in a %s, but its header, a net line or cell weights are still due",
            guarded.input.name.c_str(),
            guarded.in_comment ? "comment line" : "line of more than 16777215 bytes");
  return static_cast<ssize_t>(length);
}

std::FILE* open_guarded(GuardedFile& guarded) {
  std::FILE* const stream = fopencookie(&guarded, "r", {read_guarded, nullptr, nullptr, nullptr});
  if (stream == nullptr)
    errexit("cannot open a stream on '%s': %s", guarded.input.name.c_str(), std::strerror(errno));
  std::setvbuf(stream, guarded.buffer.data(), _IOFBF, guarded.buffer.size());
  return stream;
}

// Whether the last line of a file is a comment, or may be one to the readers.
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

// By its first two bytes, whatever its name.
bool is_compressed(std::FILE* file) {
  const int first = std::fgetc(file);
  const int second = std::fgetc(file);
  std::rewind(file);
  return first == 0x1f && second == 0x8b;
}

// A plain file that the readers can be trusted with is theirs without anything in between.
std::FILE* open_plain(const std::string& name) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(name, ignored)) return nullptr;
  std::FILE* const file = ufopen(name.c_str(), "r", "quillon");
  if (!is_compressed(file) && !may_end_in_comment(file)) return file;
  ufclose(file);
  return nullptr;
}

void read_stream(Loaded& loaded, std::FILE* stream, SmallNets small_nets, bool warn) {
  const int check = warn ? 1 : 0;
  if (small_nets == SmallNets::kFold)
    loaded.nsmall_nets = read_hypergraphFromFile(&loaded.h, stream, check);
  else
    read_hypergraph_with_onepin_netsFromFile(&loaded.h, stream, check);
}

void build_cell_side(Hypergraph* h) {
  const std::uint64_t entries = static_cast<std::uint64_t>(h->_p) + 2;
  h->_net_list = static_cast<int*>(umalloc(entries * sizeof(int), "build_cell_side: net_list"));
  int* const work = imalloc(std::int64_t{h->_c} + 1, "build_cell_side: work");
  construct_net_list(h, work);
  _usfree(work);
}

}  // namespace

void load(Loaded& loaded, const std::string& name, SmallNets small_nets, bool warn) {
  if (format_of_name(name).value_or(Format::kQuillon) != Format::kQuillon)
    uwarning("'%s' is read as quillon; by its name it is of another format, of which convert makes that",
             name.c_str());
  if (std::FILE* const file = open_plain(name)) {
    const std::unique_ptr<Progress> progress = watch_file(name, fileno(file));
    read_stream(loaded, file, small_nets, warn);
    ufclose(file);
  } else {
    GuardedFile guarded{open_input(name)};
    std::FILE* const stream = open_guarded(guarded);
    read_stream(loaded, stream, small_nets, warn);
    std::fclose(stream);
    finish_input(guarded.input);
    close_input(guarded.input);
  }
  build_cell_side(&loaded.h);
}

}  // namespace quillon::tool
