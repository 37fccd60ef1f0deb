#include "tools/load.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "util/util.h"

namespace quillon::tool {
namespace {

// A file that knows what its last line is. The readers skip comments without asking for the end of the input;
// asked for more when the last line was a comment, the file ends the program with an error instead.
struct GuardedFile {
  std::string name;
  std::FILE* file;
  bool at_line_start = true;
  bool in_comment = false;  // or just behind one
  std::vector<char> buffer = std::vector<char>(std::size_t{1} << 18);
};

void note_last_line(GuardedFile& guarded, const char* text, std::size_t size) {
  const void* const line_end = memrchr(text, '\n', size - 1);
  const char* const last_line = line_end == nullptr ? text : static_cast<const char*>(line_end) + 1;
  if (line_end != nullptr || guarded.at_line_start) guarded.in_comment = *last_line == '%';
  guarded.at_line_start = text[size - 1] == '\n';
}

ssize_t read_guarded(void* cookie, char* text, std::size_t size) {
  GuardedFile& guarded = *static_cast<GuardedFile*>(cookie);
  ssize_t length = 0;
  do {
    length = read(fileno(guarded.file), text, size);
  } while (length < 0 && errno == EINTR);
  if (length < 0) errexit("cannot read '%s': %s", guarded.name.c_str(), std::strerror(errno));
  if (length > 0) note_last_line(guarded, text, static_cast<std::size_t>(length));
  if (length == 0 && guarded.in_comment)
    errexit("'%s' ends in a comment line, but its header, a net line or cell weights are still due",
            guarded.name.c_str());
  return length;
}

std::FILE* open_guarded(GuardedFile& guarded) {
  std::FILE* const stream = fopencookie(&guarded, "r", {read_guarded, nullptr, nullptr, nullptr});
  if (stream == nullptr)
    errexit("cannot open a stream on '%s': %s", guarded.name.c_str(), std::strerror(errno));
  std::setvbuf(stream, guarded.buffer.data(), _IOFBF, guarded.buffer.size());
  return stream;
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
  const bool standard_input = name == "-";
  GuardedFile guarded{standard_input ? "standard input" : name,
                      standard_input ? stdin : ufopen(name.c_str(), "r", "quillon")};
  std::FILE* const stream = open_guarded(guarded);

  const int check = warn ? 1 : 0;
  if (small_nets == SmallNets::kFold)
    loaded.nsmall_nets = read_hypergraphFromFile(&loaded.h, stream, check);
  else
    read_hypergraph_with_onepin_netsFromFile(&loaded.h, stream, check);

  std::fclose(stream);
  if (!standard_input) ufclose(guarded.file);
  build_cell_side(&loaded.h);
}

}  // namespace quillon::tool
