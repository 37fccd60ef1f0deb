#pragma once
// Bytes of a file or of standard input, unpacked on the way when they are compressed by gzip.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tools/cli/progress.h"

namespace quillon::tool {

struct Input {
  std::string name;  // as in messages
  void* file;        // of zlib, which hands on what is not compressed as it stands
  std::shared_ptr<std::atomic<std::uint64_t>> nread{};  // bytes handed out
  std::unique_ptr<Progress> progress{};
};

/// @param name  File name, or - for standard input.
Input open_input(const std::string& name);

/// Fills `bytes` as far as the input goes. Ends the program when it cannot be read, or is cut off.
///
/// @return  Number of bytes, less than `size` only at the end.
std::size_t read_input(const Input& input, char* bytes, std::size_t size);

/// Goes to the end of what is compressed, where it turns out whether all of it is sound.
void finish_input(const Input& input);

void close_input(const Input& input);

/// The whole of it.
std::string read_all(const std::string& name);

/// What messages call the input.
std::string shown_name(const std::string& name);

}  // namespace quillon::tool
