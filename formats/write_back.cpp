#include "formats/write_back.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <system_error>

#include "formats/read_ahead.h"

namespace quillon::formats {

WriteBack::WriteBack(int descriptor) : descriptor_(descriptor) {
#ifdef SYNC_FILE_RANGE_WRITE
  try {
    thread_ = start_thread([this] { run(); });
  } catch (const std::system_error&) {
    // no thread left
  }
#endif
}

WriteBack::~WriteBack() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_stopping_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

// Looks again and again, as the writer does not say how far it is.
void WriteBack::run() {
#ifdef SYNC_FILE_RANGE_WRITE
  constexpr auto kPause = std::chrono::milliseconds(10);
  constexpr off_t kLeast = off_t{8} << 20;
  off_t nstarted = 0;
  std::unique_lock<std::mutex> lock(mutex_);
  while (!changed_.wait_for(lock, kPause, [this] { return is_stopping_; })) {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) return;
    if (status.st_size - nstarted < kLeast) continue;
    lock.unlock();
    sync_file_range(descriptor_, nstarted, status.st_size - nstarted, SYNC_FILE_RANGE_WRITE);
    lock.lock();
    nstarted = status.st_size;
  }
#endif
}

}  // namespace quillon::formats
