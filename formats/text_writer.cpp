#include "formats/text_writer.h"

#include <charconv>
#include <utility>

#include "util/util.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kTextBlock = std::size_t{1} << 16;

}  // namespace

// The block is allocated before the file is open.
TextWriter::TextWriter(const char* filename, const char* tag)
    : block_(std::make_unique_for_overwrite<char[]>(kTextBlock)),
      at_(block_.get()),
      limit_(block_.get() + kTextBlock),
      stream_(ufopen(filename, "w", tag)) {}

TextWriter::~TextWriter() {
  // Not `ufclose`, whose fatal error may be an exception.
  if (stream_ != nullptr) std::fclose(stream_);
}

void TextWriter::number(std::int64_t value) {
  char* const at = room(kNumber);
  end(std::to_chars(at, at + kNumber, value).ptr);
}

void TextWriter::text(std::string_view text) {
  if (static_cast<std::size_t>(limit_ - at_) < text.size()) {
    flush();
    if (text.size() > kTextBlock) return write(text);
  }
  at_ += text.copy(at_, text.size());
}

void TextWriter::flush() {
  const std::string_view written(block_.get(), static_cast<std::size_t>(at_ - block_.get()));
  at_ = block_.get();
  write(written);
}

void TextWriter::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stream_) == text.size()) return;
  // `ufclose` does not return after a failure. It names the cause if it meets it: with a byte left to write.
  std::fputc('\n', stream_);
  ufclose(std::exchange(stream_, nullptr));
}

void TextWriter::close() {
  flush();
  ufclose(std::exchange(stream_, nullptr));
}

}  // namespace quillon::formats
