#pragma once
/// @file
/// Work on a second thread. Internal to `formats/`.

#include <exception>
#include <functional>
#include <thread>

namespace quillon::formats {

/// Work that goes on beside that of the thread that made it, if it is long and readers may use a second
/// thread; else it is done when somebody waits for it.
class Beside {
 public:
  /// @param work   Allocates nothing from the utility layer, which knows one thread.
  /// @param npins  That it visits.
  Beside(std::function<void()> work, int npins);

  /// Waits, if need be.
  ~Beside();
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

  /// Returns when the work is done; rethrows what it threw. Call it once.
  void wait();

 private:
  std::function<void()> work_;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace quillon::formats
