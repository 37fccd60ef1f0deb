#pragma once
// What all fuzz targets share: texts out of inputs, streams and files in memory, and what counts as a find.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tests/support/slow_reader.h"

/// What the fuzzer calls with each input. Every target defines it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillon::fuzz {

/// Ends the program: the input is a find.
[[noreturn]] void found(const std::string& what);

/// Ends the program unless `holds`.
inline void expect(bool holds, const char* what) {
  if (!holds) found(what);
}

/// The text that an input stands for: its bytes, but that 1 and a byte b make 512 (b + 1) blanks. So short
/// inputs reach the ends of the blocks in which files are read, with the numbers that they announce still
/// right.
std::string expanded(const std::uint8_t* data, std::size_t size);

/// Whether the header of a text announces more than 20000 of something. What is compared with something slow,
/// or is slow itself, is not given such texts: they teach no more.
bool announces_much(const std::string& text);

/// A text to be read, as a file that can be set back or as a pipe that cannot. It has to outlive its streams.
class Source {
 public:
  explicit Source(const std::string& text) : text_(text) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  /// Opens a stream at the start. One at a time.
  slow::Stream open_file();
  slow::Stream open_pipe();

 private:
  static ssize_t read(void* cookie, char* bytes, std::size_t size);
  static int seek(void* cookie, off64_t* offset, int whence);

  const std::string& text_;
  std::size_t at_ = 0;
};

/// A file with a name that lies in memory.
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
