#pragma once
// Texts read in blocks of any size on any number of threads.

#include <cstddef>
#include <string>

#include "formats/block_queue.h"
#include "formats/scanner.h"
#include "formats/threads.h"

namespace quillon::formats {

/// Settings of all readers, which end with this object.
class Settings {
 public:
  Settings(int nthreads, const BlockSizes& sizes) {
    set_threads(nthreads);
    set_block_sizes(sizes);
  }
  ~Settings() {
    set_threads(0);
    set_block_sizes({});
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;
};

/// Reads a text that outlives the result.
inline Scanner::Read reader_of(const std::string& text) {
  return [&text, at = std::size_t{0}](char* bytes, std::size_t size) mutable {
    const std::size_t length = text.copy(bytes, size, at);
    at += length;
    return length;
  };
}

}  // namespace quillon::formats
