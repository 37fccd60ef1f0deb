#pragma once
/// @file
/// A file name whose bytes are compressed on their way to a file. Internal to `formats/`.

#include <memory>
#include <string>
#include <thread>

#include "formats/compression.h"

namespace quillon::formats {

/// A pipe and the thread that empties it.
class CompressingPipe {
 public:
  /// @param compression  Not `kNone`.
  /// @param descriptor   Receives the compressed bytes through a copy of its own.
  /// @throws std::system_error if no pipe or thread can be had.
  CompressingPipe(Compression compression, int descriptor);

  /// Without `finish`, the thread goes on until everyone has closed the pipe, so that what a failed writer
  /// still has in its buffers raises no SIGPIPE.
  ~CompressingPipe();
  CompressingPipe(const CompressingPipe&) = delete;
  CompressingPipe& operator=(const CompressingPipe&) = delete;

  /// The name to write to, once.
  [[nodiscard]] const std::string& name() const;

  /// Waits until everything is compressed; the writer must have closed the file.
  ///
  /// @throws std::system_error if a write failed.
  void finish();

 private:
  struct State;
  std::shared_ptr<State> state_;  // shared with the thread
  std::thread thread_;
};

}  // namespace quillon::formats
