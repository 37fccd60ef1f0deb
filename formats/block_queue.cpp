#include "formats/block_queue.h"

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

#include "formats/source.h"
#include "formats/threads.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

BlockSizes sizes_set;

}  // namespace

void set_block_sizes(const BlockSizes& sizes) { sizes_set = sizes; }

BlockQueue::BlockQueue(Read read) : read_(std::move(read)), sizes_(sizes_set), slots_(1) {}

BlockQueue::~BlockQueue() { stop(); }

void BlockQueue::stop() {
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

const Block* BlockQueue::start(const LineShape& shape, std::size_t from) {
  shape_ = shape;
  started_ = true;
  const std::size_t current = nconsumed_ - 1;
  scan(slot(current).block, from, shape_);
  const int count = threads();
  if (!ended_ && count > 1) {
    // The block being consumed, one being scanned by each thread, and one ready. The current block moves to
    // its place among the slots.
    Slot only = std::move(slots_.front());
    slots_ = std::deque<Slot>(static_cast<std::size_t>(count) + 2);
    slot(current) = std::move(only);
    start_threads(count - 1);
  }
  return &slot(current).block;
}

void BlockQueue::restart() {
  carried_.clear();
  inside_line_ = false;
  ended_ = false;
}

// As many as the system allows: the calling thread needs no other.
void BlockQueue::start_threads(int count) try {
  for (int k = 0; k < count; ++k) threads_.emplace_back([this] { work(); });
} catch (const std::system_error&) {
}

bool BlockQueue::can_fill() {
  return !ended_ && !stopped_ && !filling_ && slot(nfilled_).state == State::kFree;
}

// Reads and scans the next block, without the lock.
void BlockQueue::fill_one(std::unique_lock<std::mutex>& lock) {
  Slot& filled = slot(nfilled_);
  filled.state = State::kBusy;
  filling_ = true;
  lock.unlock();
  try {
    fill(filled.block);
  } catch (...) {
    filled.failure = std::current_exception();
  }
  lock.lock();
  filling_ = false;
  ++nfilled_;
  ended_ = filled.failure != nullptr || filled.block.is_last;
  changed_.notify_all();
  lock.unlock();
  make_ready(filled);
  lock.lock();
  filled.state = State::kReady;
  changed_.notify_all();
}

void BlockQueue::make_ready(Slot& filled) {
  if (filled.failure != nullptr) return;
  try {
    if (started_)
      scan(filled.block, 0, shape_);
    else
      count_line_ends(filled.block);
  } catch (...) {
    filled.failure = std::current_exception();
  }
}

void BlockQueue::work() {
  std::unique_lock lock(mutex_);
  while (!stopped_) {
    if (can_fill())
      fill_one(lock);
    else
      changed_.wait(lock);
  }
}

// Blocks that had to grow for a long line give that memory back.
void BlockQueue::release_current() {
  if (nconsumed_ == 0) return;
  Slot& current = slot(nconsumed_ - 1);
  if (current.block.text.capacity() > 2 * sizes_.usual + kSpareBytes) current.block = Block();
  current.state = State::kFree;
  changed_.notify_all();
}

const Block* BlockQueue::next() {
  poll_watcher();
  std::unique_lock lock(mutex_);
  if (ended_ && nconsumed_ == nfilled_) return nullptr;
  release_current();
  while (nconsumed_ == nfilled_ || slot(nconsumed_).state != State::kReady) {
    if (can_fill())
      fill_one(lock);
    else
      changed_.wait(lock);
  }
  Slot& result = slot(nconsumed_++);
  if (result.failure != nullptr) std::rethrow_exception(result.failure);
  return &result.block;
}

// Reads on until the block is as large as it may be. Returns whether there is more text.
bool BlockQueue::read_more(Block& block, std::size_t capacity) {
  block.text.make_room(capacity + kSpareBytes, block.size);
  block.size += read_(block.text.data() + block.size, capacity - block.size);
  return block.size == capacity;
}

// Moves the text after the last complete line, or else after the last white space, to the next block.
void BlockQueue::cut(Block& block) {
  const char* const text = block.text.data();
  const void* const line_end = memrchr(text, '\n', block.size);
  std::size_t size = block.size;
  if (line_end != nullptr) {
    size = static_cast<std::size_t>(static_cast<const char*>(line_end) - text) + 1;
  } else {
    while (size > 0 && !is_space(text[size - 1])) --size;
    if (size == 0) size = block.size;
  }
  carried_.assign(text + size, text + block.size);
  block.size = size;
  inside_line_ = line_end == nullptr;
}

void BlockQueue::fill(Block& block) {
  block.begins_inside = inside_line_;
  block.is_last = false;
  block.runs.clear();
  std::size_t capacity = std::max(sizes_.usual, carried_.size() + 1);
  block.text.make_room(capacity + kSpareBytes);
  block.size = carried_.size();
  std::copy(carried_.begin(), carried_.end(), block.text.data());
  carried_.clear();
  std::size_t searched = 0;  // bytes that hold no line end
  while (read_more(block, capacity)) {
    const bool has_line = std::memchr(block.text.data() + searched, '\n', block.size - searched) != nullptr;
    if (has_line || capacity >= sizes_.most) {
      cut(block);
      // Only then is it known whether this is the last block.
      char byte = 0;
      if (carried_.empty() && read_(&byte, 1) == 1) carried_.push_back(byte);
      block.is_last = carried_.empty();
      return;
    }
    searched = block.size;
    capacity = std::min(2 * capacity, std::max(sizes_.most, capacity + 1));
  }
  block.is_last = true;
}

}  // namespace quillon::formats
