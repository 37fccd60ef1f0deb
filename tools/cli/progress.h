#pragma once
// The progress of a long read, on standard error where that is a terminal. A second thread redraws it; the
// work itself knows nothing of it.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "formats/source.h"

namespace quillon::tool {

inline constexpr std::chrono::milliseconds kShowAfter{1000};

/// What progress is counted in.
enum class ProgressUnit { kBytes, kSteps };

/// The line for `done` of `total` bytes after some seconds, at most `columns` wide. Figures that do not fit
/// are left out, and the name is cut first.
///
/// @param total  0 if unknown.
/// @param unit   Of `done` and `total`. Other steps than bytes are not shown by number.
std::string progress_line(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds,
                          int columns, ProgressUnit unit = ProgressUnit::kBytes);

/// Draws the progress line from some time after its construction until it is destroyed. One at a time.
class Progress {
 public:
  /// @param what   Such as "reading circuit.qhg".
  /// @param total  In all, 0 if unknown.
  /// @param done   So far; called by the other thread.
  Progress(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done,
           std::chrono::milliseconds show_after = kShowAfter, ProgressUnit unit = ProgressUnit::kBytes);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  friend class ProgressPause;

  void watch();
  void draw();
  void erase();

  std::string what_;
  std::uint64_t total_;
  std::function<std::uint64_t()> done_;
  std::chrono::milliseconds show_after_;
  ProgressUnit unit_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  std::condition_variable wake_;
  bool is_stopping_ = false;
  bool is_drawn_ = false;
  std::thread thread_;
};

/// Erases the progress line and keeps it away while a message is printed.
class ProgressPause {
 public:
  ProgressPause();
  ~ProgressPause();
  ProgressPause(const ProgressPause&) = delete;
  ProgressPause& operator=(const ProgressPause&) = delete;

 private:
  std::unique_lock<std::mutex> lock_;
};

/// Draws the progress of the reads of `formats`, where it can be drawn and is wanted.
class ProgressWatcher : public formats::Watcher {
 public:
  void begin(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done) override;
  void end() override;

 private:
  std::unique_ptr<Progress> progress_;
};

}  // namespace quillon::tool
