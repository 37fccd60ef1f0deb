#include "formats/source.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr unsigned kPieceOfFile = 1U << 18;    // what zlib reads at once
constexpr std::size_t kMostAtOnce = 1U << 30;  // what it can be asked for

gzFile gz(const Input& input) { return static_cast<gzFile>(input.file); }

// The offset tells of a file, compressed or not, how much is left; of a pipe nobody knows.
void watch(Input& input, int descriptor) {
  input.nread = std::make_shared<std::atomic<std::uint64_t>>(0);
  input.progress = watch_file(input.name, descriptor);
  if (input.progress == nullptr)
    input.progress = watch_count("reading " + input.name, 0, [nread = input.nread] { return nread->load(); });
}

// At the end of the file: nothing may be missing there.
void check_complete(const Input& input) {
  int status = Z_OK;
  gzerror(gz(input), &status);
  if (status == Z_BUF_ERROR) errexit("cannot read '%s': its compressed data is cut off", input.name.c_str());
}

[[noreturn]] void cannot_read(const Input& input) {
  const int system_error = errno;
  int status = Z_OK;
  const char* const reason = gzerror(gz(input), &status);
  if (status == Z_MEM_ERROR) errexit("cannot read '%s': out of memory", input.name.c_str());
  if (status == Z_ERRNO) errexit("cannot read '%s': %s", input.name.c_str(), std::strerror(system_error));
  // zlib begins with what it takes for the file's name, "<fd:3>: ".
  const char* const name_end = std::strstr(reason, ">: ");
  errexit("cannot read '%s': its compressed data is damaged: %s", input.name.c_str(),
          name_end == nullptr ? reason : name_end + 3);
}

}  // namespace

std::string shown_name(const std::string& name) { return name == "-" ? "standard input" : name; }

Input open_input(const std::string& name) {
  Input input{shown_name(name), nullptr, nullptr, nullptr};
  const int descriptor = name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) errexit("cannot open '%s': %s", input.name.c_str(), std::strerror(errno));
  input.file = gzdopen(descriptor, "r");
  if (input.file == nullptr) errexit("cannot open '%s': out of memory", input.name.c_str());
  gzbuffer(gz(input), kPieceOfFile);
  watch(input, descriptor);
  return input;
}

std::size_t read_input(const Input& input, char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    errno = 0;
    const int length =
        gzread(gz(input), bytes + filled, static_cast<unsigned>(std::min(size - filled, kMostAtOnce)));
    if (length < 0) cannot_read(input);
    if (length == 0) {
      check_complete(input);
      break;
    }
    filled += static_cast<std::size_t>(length);
    *input.nread += static_cast<std::uint64_t>(length);
  }
  return filled;
}

void finish_input(const Input& input) {
  if (gzdirect(gz(input)) != 0) return;
  std::vector<char> ignored(kPieceOfFile);
  while (read_input(input, ignored.data(), ignored.size()) > 0) {
  }
}

void close_input(const Input& input) { gzclose(gz(input)); }

std::string read_all(const std::string& name) {
  const Input input = open_input(name);
  std::string bytes;
  std::size_t filled = 0;
  do {
    bytes.resize(std::max<std::size_t>(kPieceOfFile, 2 * filled));
    filled += read_input(input, bytes.data() + filled, bytes.size() - filled);
  } while (filled == bytes.size());
  bytes.resize(filled);
  close_input(input);
  return bytes;
}

}  // namespace quillon::tool
