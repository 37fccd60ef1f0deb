#include "util/os.h"

#include <algorithm>
#include <cerrno>

#if (defined(__unix__) || defined(__APPLE__)) && !defined(QUILLON_PORTABLE)
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <cstdlib>
#endif

namespace quillon::os {

#if (defined(__unix__) || defined(__APPLE__)) && !defined(QUILLON_PORTABLE)

std::uint64_t preferred_reservation() {
  constexpr std::uint64_t kPlenty = std::uint64_t{1} << 40;
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kPlenty;
  return std::min<std::uint64_t>(kPlenty, limit.rlim_cur / 4);
}

void* reserve(std::uint64_t bytes) {
  void* const at = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (at == MAP_FAILED) return nullptr;
  advise_huge_pages(at, bytes);
  return at;
}

bool commit(void* at, std::uint64_t bytes) { return mprotect(at, bytes, PROT_READ | PROT_WRITE) == 0; }

void decommit(void* at, std::uint64_t bytes) {
  // If the advice fails, the memory stays allocated until it is used again: a cost in space only.
  madvise(at, bytes, MADV_DONTNEED);
  mprotect(at, bytes, PROT_NONE);
}

void advise_huge_pages([[maybe_unused]] void* at, [[maybe_unused]] std::uint64_t bytes) {
#ifdef MADV_HUGEPAGE
  // Includes the start of the block's first page: a mapping advised only in part is split in two, and then
  // realloc copies a block that it could have moved.
  constexpr std::uint64_t kPage = std::uint64_t{1} << 12;
  const std::uint64_t before = reinterpret_cast<std::uintptr_t>(at) % kPage;
  madvise(static_cast<char*>(at) - before, before + bytes, MADV_HUGEPAGE);
#endif
}

namespace {

// The system gives new descriptors the lowest free number. Above this one, a number is reused only by a
// program that asks for it or that has all lower numbers in use.
constexpr int kFirstMarked = 768;

bool identify(int descriptor, StreamMark& mark) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return false;
  mark = {descriptor, static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
  return true;
}

}  // namespace

std::FILE* open_marked(const char* name, const char* mode, StreamMark& mark) {
  mark = {};
  std::FILE* const stream = std::fopen(name, mode);
  if (stream == nullptr) return nullptr;

  const int descriptor = fileno(stream);
  const bool closed_on_exec = (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
  const int marked = fcntl(descriptor, closed_on_exec ? F_DUPFD_CLOEXEC : F_DUPFD, kFirstMarked);
  if (marked < 0) return stream;
  std::FILE* const result = fdopen(marked, mode);
  if (result == nullptr || !identify(marked, mark)) {
    if (result == nullptr) close(marked);
    if (result != nullptr) std::fclose(result);
    return stream;
  }
  std::fclose(stream);
  return result;
}

bool still_open(const StreamMark& mark) {
  StreamMark now;
  return mark.descriptor >= 0 && identify(mark.descriptor, now) && now.device == mark.device &&
         now.file == mark.file;
}

std::ptrdiff_t read_some(std::FILE* stream, void* to, std::size_t bytes) {
  ssize_t length = 0;
  do {
    length = read(fileno(stream), to, bytes);
  } while (length < 0 && errno == EINTR);
  return length;
}

#else

std::uint64_t preferred_reservation() { return std::uint64_t{1} << 30; }

void* reserve(std::uint64_t bytes) { return std::malloc(bytes); }

bool commit(void* /*at*/, std::uint64_t /*bytes*/) { return true; }

void decommit(void* /*at*/, std::uint64_t /*bytes*/) {}

void advise_huge_pages(void* /*at*/, std::uint64_t /*bytes*/) {}

std::FILE* open_marked(const char* name, const char* mode, StreamMark& mark) {
  mark = {};
  return std::fopen(name, mode);
}

bool still_open(const StreamMark& /*mark*/) { return false; }

// Reads up to a line end: more may not be there yet.
std::ptrdiff_t read_some(std::FILE* stream, void* to, std::size_t bytes) {
  char* const text = static_cast<char*>(to);
  std::size_t length = 0;
  while (length < bytes && (length == 0 || text[length - 1] != '\n')) {
    const int byte = std::fgetc(stream);
    if (byte == EOF)
      return length == 0 && std::ferror(stream) != 0 ? -1 : static_cast<std::ptrdiff_t>(length);
    text[length++] = static_cast<char>(byte);
  }
  return static_cast<std::ptrdiff_t>(length);
}

#endif

}  // namespace quillon::os
