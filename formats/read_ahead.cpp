#include "formats/read_ahead.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <utility>

namespace quillon::formats {
namespace {

class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

std::thread start_thread(std::function<void()> work) {
  const SignalsBlocked inherited_by_thread;
  return std::thread(std::move(work));
}

ReadAhead::ReadAhead(ReadBytes read, Stop& stop) : read_(std::move(read)), stop_(stop) {
  thread_ = start_thread([this] { run(); });
}

ReadAhead::~ReadAhead() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_stopping_ = true;
  }
  stop_.request();
  changed_.notify_all();
  thread_.join();
}

void ReadAhead::run() {
  std::exception_ptr failure;
  try {
    fill_blocks();
  } catch (...) {
    failure = std::current_exception();
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  failure_ = failure;
  has_ended_ = true;
  changed_.notify_all();
}

void ReadAhead::fill_blocks() {
  bool is_last = false;
  while (!is_last && wait_for_room()) {
    Block& next = block(nfilled_);
    if (next.bytes == nullptr) next.bytes = std::make_unique_for_overwrite<char[]>(kBlockSize);
    next.size = read_(next.bytes.get(), kBlockSize);
    is_last = next.size < kBlockSize;

    const std::lock_guard<std::mutex> lock(mutex_);
    ++nfilled_;
    changed_.notify_all();
  }
}

bool ReadAhead::wait_for_room() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return is_stopping_ || nfilled_ - nemptied_ < kBlocks; });
  return !is_stopping_;
}

// Null at the end.
const ReadAhead::Block* ReadAhead::wait_for_block() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return has_ended_ || nemptied_ < nfilled_; });
  if (nemptied_ < nfilled_) return &block(nemptied_);
  if (failure_) std::rethrow_exception(failure_);
  return nullptr;
}

void ReadAhead::release_block() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++nemptied_;
  nconsumed_ = 0;
  changed_.notify_all();
}

std::size_t ReadAhead::read(char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    const Block* const next = wait_for_block();
    if (next == nullptr) break;
    const std::size_t length = std::min(size - filled, next->size - nconsumed_);
    std::memcpy(bytes + filled, next->bytes.get() + nconsumed_, length);
    filled += length;
    nconsumed_ += length;
    if (nconsumed_ == next->size) release_block();
  }
  return filled;
}

}  // namespace quillon::formats
