#include "formats/beside.h"

#include <system_error>
#include <utility>

#include "formats/read_ahead.h"
#include "formats/threads.h"

namespace quillon::formats {

Beside::Beside(std::function<void()> work, int npins) : work_(std::move(work)) {
  constexpr int kFew = 1 << 18;  // of which a thread costs a tenth
  if (npins < kFew || threads() == 1) return;
  try {
    thread_ = start_thread([this] {
      try {
        work_();
      } catch (...) {
        failure_ = std::current_exception();
      }
    });
  } catch (const std::system_error&) {
    // no thread left: `wait` does the work
  }
}

Beside::~Beside() {
  if (thread_.joinable()) thread_.join();
}

void Beside::wait() {
  if (!thread_.joinable()) return work_();
  thread_.join();
  if (failure_ != nullptr) std::rethrow_exception(failure_);
}

}  // namespace quillon::formats
