#pragma once
/// @file
/// Reads a text in blocks of whole lines and scans them on several threads. Internal to `formats/`.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "formats/block.h"

namespace quillon::formats {

/// Sizes of blocks, which tests change. What is read does not depend on them.
struct BlockSizes {
  std::size_t usual = std::size_t{256} << 10;  ///< Its numbers stay in the second-level cache.
  std::size_t most = std::size_t{4} << 20;     ///< A longer line is cut at white space.
};

/// Sets the sizes of the blocks of queues made from now on. For tests.
void set_block_sizes(const BlockSizes& sizes);

/// The blocks of a text in order. A fixed number of them is in memory, and used again and again.
///
/// Until `start` blocks are read when they are asked for, and not scanned. Afterwards other threads read
/// ahead and scan; the calling thread does the same while no block is ready.
class BlockQueue {
 public:
  /// Fills bytes as far as the text goes; returns their number. Called by one thread at a time.
  using Read = std::function<std::size_t(char* bytes, std::size_t size)>;

  explicit BlockQueue(Read read);
  ~BlockQueue();
  BlockQueue(const BlockQueue&) = delete;
  BlockQueue& operator=(const BlockQueue&) = delete;

  /// Moves to the next block. The one before is no longer valid.
  ///
  /// @return  Null at the end, where the last block stays valid.
  /// @throws  What `read` throws.
  const Block* next();

  /// Scans the rest of the current block, which must exist, and all that follow.
  ///
  /// @param from  Offset of the rest in the current block, the start of a line.
  /// @return      The current block, at another address.
  const Block* start(const LineShape& shape, std::size_t from);

  /// Forgets text read ahead: the next block begins where `read` goes on, at the start of a line. Not after
  /// `start`.
  void restart();

  /// Ends the other threads. No block is read afterwards.
  void stop();

 private:
  enum class State { kFree, kBusy, kReady };

  struct Slot {
    Block block;
    State state = State::kFree;
    std::exception_ptr failure;
  };

  Slot& slot(std::size_t number) { return slots_[number % slots_.size()]; }
  [[nodiscard]] bool can_fill();
  void fill_one(std::unique_lock<std::mutex>& lock);
  void make_ready(Slot& filled);
  void start_threads(int count);
  void work();
  void release_current();

  void fill(Block& block);
  bool read_more(Block& block, std::size_t capacity);
  void cut(Block& block);

  Read read_;
  BlockSizes sizes_;
  std::vector<char> carried_;  // text after the end of the block filled last
  bool inside_line_ = false;   // that block ends within a line

  LineShape shape_;
  bool started_ = false;
  std::deque<Slot> slots_;
  std::size_t nfilled_ = 0;    // blocks read so far
  std::size_t nconsumed_ = 0;  // blocks that `next` has returned
  bool filling_ = false;       // some thread reads a block
  bool ended_ = false;         // there is nothing left to read
  bool stopped_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::thread> threads_;
};

}  // namespace quillon::formats
