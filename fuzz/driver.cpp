#include "fuzz/driver.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace quillon::fuzz {

void found(const std::string& what) {
  std::fprintf(stderr, "FOUND: %s\n", what.c_str());
  std::abort();
}

std::string expanded(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLargest = 140000;  // somewhat more than a block of the readers
  std::string text;
  for (std::size_t k = 0; k < size; ++k) {
    if (data[k] == 1 && k + 1 < size && text.size() < kLargest)
      text.append(std::size_t{512} * (data[++k] + 1U), ' ');
    else
      text += static_cast<char>(data[k]);
  }
  return text;
}

bool is_inside(const std::string& text, std::size_t line, std::size_t column) {
  std::size_t start = 0;
  for (; line > 1; --line) {
    start = text.find('\n', start) + 1;
    if (start == 0) return false;
  }
  return line == 1 && column >= 1 && start + column - 1 <= std::min(text.find('\n', start), text.size());
}

bool announces_much(const std::string& text) { return announces_more_than(text, 20000); }

bool announces_more_than(const std::string& text, int most) {
  std::size_t line = 0;
  while (line < text.size() && text[line] == '%') line = std::min(text.find('\n', line), text.size() - 1) + 1;
  int counts[4] = {};
  // NOLINTNEXTLINE(cert-err34-c): any value will do for a number out of range
  std::sscanf(text.c_str() + line, "%d %d %d %d", counts, counts + 1, counts + 2, counts + 3);
  return *std::max_element(counts, counts + 4) > most;
}

ssize_t Source::read(void* cookie, char* bytes, std::size_t size) {
  Source& source = *static_cast<Source*>(cookie);
  const std::size_t length = source.text_.copy(bytes, size, source.at_);
  source.at_ += length;
  return static_cast<ssize_t>(length);
}

int Source::seek(void* cookie, off64_t* offset, int whence) {
  Source& source = *static_cast<Source*>(cookie);
  const auto size = static_cast<off64_t>(source.text_.size());
  const off64_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? static_cast<off64_t>(source.at_) : size;
  const off64_t target = from + *offset;
  if (target < 0 || target > size) return -1;
  source.at_ = static_cast<std::size_t>(target);
  *offset = target;
  return 0;
}

Stream Source::open_file() {
  at_ = 0;
  return Stream(fopencookie(this, "r", {read, nullptr, seek, nullptr}));
}

Stream Source::open_pipe() {
  at_ = 0;
  return Stream(fopencookie(this, "r", {read, nullptr, nullptr, nullptr}));
}

MemoryFile::MemoryFile() : descriptor_(memfd_create("quillon-fuzz", MFD_CLOEXEC)) {
  if (descriptor_ < 0) found("no file in memory to be had");
  name_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

MemoryFile::~MemoryFile() { close(descriptor_); }

void MemoryFile::fill(const std::string& text) const {
  const bool filled = ftruncate(descriptor_, 0) == 0 &&
                      pwrite(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  expect(filled, "the file in memory cannot be filled");
}

std::string MemoryFile::contents() const {
  std::string text(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
  const ssize_t length = pread(descriptor_, text.data(), text.size(), 0);
  expect(length == static_cast<ssize_t>(text.size()), "the file in memory cannot be read");
  return text;
}

}  // namespace quillon::fuzz
