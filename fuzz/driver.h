#pragma once
// Shared by all fuzz targets: texts from inputs, streams and files in memory, reports of finds.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tests/support/reader_outcome.h"

/// Called by the fuzzer with each input. Every target defines it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillon::fuzz {

/// Ends the program: the input is a find.
[[noreturn]] void found(const std::string& what);

/// Ends the program unless `holds`.
inline void expect(bool holds, const char* what) {
  if (!holds) found(what);
}

/// Whether a place lies in the text or at its end. Lines and columns count from 1.
bool is_inside(const std::string& text, std::size_t line, std::size_t column);

/// The text of an input: its bytes, except that byte 1 and a byte b encode 512 (b + 1) blanks. Thus short
/// inputs reach the ends of the blocks in which files are read.
std::string expanded(const std::uint8_t* data, std::size_t size);

/// Whether the header of a text announces more than 20000 of something: too slow for a comparison with a
/// twin.
bool announces_much(const std::string& text);
bool announces_more_than(const std::string& text, int most);

/// A text as a seekable file or as a pipe. It has to outlive its streams.
class Source {
 public:
  explicit Source(const std::string& text) : text_(text) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  /// Opens a stream at the start. One at a time.
  Stream open_file();
  Stream open_pipe();

 private:
  static ssize_t read(void* cookie, char* bytes, std::size_t size);
  static int seek(void* cookie, off64_t* offset, int whence);

  const std::string& text_;
  std::size_t at_ = 0;
};

/// A named file in memory.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] const char* name() const { return name_.c_str(); }
  void fill(const std::string& text) const;
  [[nodiscard]] std::string contents() const;

 private:
  int descriptor_;
  std::string name_;
};

}  // namespace quillon::fuzz
