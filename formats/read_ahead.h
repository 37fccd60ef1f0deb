#pragma once
/// @file
/// Threads of reads and writes. Internal to `formats/`.

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "formats/compression.h"
#include "formats/descriptor.h"

namespace quillon::formats {

/// Starts a thread that gets no signals: the handlers run in the threads of the program.
///
/// @throws std::system_error if the system has no thread left.
std::thread start_thread(std::function<void()> work);

/// Reads on a thread of its own, at most four blocks ahead of its reader.
class ReadAhead {
 public:
  /// @param read  Called by the other thread until it returns less than a block or throws.
  /// @param stop  Requested by the destructor, so that `read` throws if it waits. Must outlive this object.
  /// @throws std::system_error if the system has no thread left.
  ReadAhead(ReadBytes read, Stop& stop);
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  /// Fills `bytes` as far as the input goes; rethrows what `read` threw after all blocks before it.
  std::size_t read(char* bytes, std::size_t size);

 private:
  struct Block {
    std::unique_ptr<char[]> bytes;  // kBlockSize, once it is needed
    std::size_t size = 0;
  };
  static constexpr std::size_t kBlocks = 4;

  void run();
  void fill_blocks();
  bool wait_for_room();
  const Block* wait_for_block();
  void release_block();
  Block& block(std::uint64_t number) { return blocks_[number % kBlocks]; }

  ReadBytes read_;
  Stop& stop_;
  std::array<Block, kBlocks> blocks_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t nfilled_ = 0;   // blocks
  std::uint64_t nemptied_ = 0;  // blocks
  bool has_ended_ = false;      // no block follows
  bool is_stopping_ = false;
  std::exception_ptr failure_;
  std::size_t nconsumed_ = 0;  // bytes of the block that is being emptied
  std::thread thread_;
};

}  // namespace quillon::formats
