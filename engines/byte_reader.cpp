#include "engines/byte_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "engines/slice.h"

namespace quillon::engines {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 18;

bool is_line_end(int byte) { return byte == '\n' || byte == ByteReader::kEnd; }

}  // namespace

ByteReader::ByteReader(const std::string& filename, std::int64_t offset)
    : filename_(filename),
      descriptor_(open(filename.c_str(), O_RDONLY | O_CLOEXEC)),
      block_offset_(offset),
      block_(kBlock) {
  struct stat status {};
  if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) {
    const int reason = errno;
    if (descriptor_ >= 0) close(descriptor_);
    throw BadInput("cannot open '" + filename + "': " + std::strerror(reason));
  }
  size_ = status.st_size;
}

ByteReader::~ByteReader() { close(descriptor_); }

void ByteReader::fill() {
  block_offset_ += static_cast<std::int64_t>(filled_);
  at_ = 0;
  filled_ = 0;
  ssize_t nread = 0;
  do nread = pread(descriptor_, block_.data(), block_.size(), block_offset_);
  while (nread < 0 && errno == EINTR);
  if (nread < 0) throw BadInput("cannot read '" + filename_ + "': " + std::strerror(errno));
  filled_ = static_cast<std::size_t>(nread);
}

void ByteReader::fail(const std::string& problem) const {
  throw BadInput(filename_ + ": byte " + std::to_string(offset()) + ": " + problem);
}

void skip_line(ByteReader& in, std::int64_t end) {
  while (!is_line_end(in.peek()) && in.offset() < end) in.skip();
  if (in.peek() == '\n') in.skip();
}

void skip_comments(ByteReader& in) {
  while (in.peek() == '%') skip_line(in);
}

bool find_word(ByteReader& in) {
  while (is_blank(in.peek())) in.skip();
  return !is_line_end(in.peek());
}

std::optional<std::int64_t> next_number(ByteReader& in) {
  if (!find_word(in)) return std::nullopt;
  const bool is_negative = in.peek() == '-';
  if (is_negative || in.peek() == '+') in.skip();
  if (in.peek() < '0' || in.peek() > '9') return std::nullopt;
  std::int64_t number = 0;
  for (int byte = in.peek(); byte >= '0' && byte <= '9'; byte = in.peek()) {
    if (__builtin_mul_overflow(number, std::int64_t{10}, &number) ||
        __builtin_add_overflow(number, std::int64_t{byte - '0'}, &number))
      in.fail("a number does not fit into 64 bits");
    in.skip();
  }
  return is_negative ? -number : number;
}

}  // namespace quillon::engines
