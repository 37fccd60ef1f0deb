#pragma once
// How far a long read has come, on standard error where that is a terminal. A second thread looks now and
// then and draws; the work itself knows nothing of it.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace quillon::tool {

inline constexpr std::chrono::milliseconds kShowAfter{1000};

/// The line for `done` of `total` bytes after so many seconds, at most `columns` wide. What does not fit is
/// left out, the name is cut first.
///
/// @param total  0 if unknown.
std::string progress_line(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds,
                          int columns);

/// Draws from when reading has taken a while until it is destroyed or the program ends. One at a time. What
/// is printed on standard error meanwhile stands above the line.
class Progress {
 public:
  /// @param what   Such as "reading circuit.qhg".
  /// @param total  Bytes in all, 0 if unknown.
  /// @param done   Bytes so far; called by the other thread.
  Progress(std::string what, std::uint64_t total, std::function<std::uint64_t()> done,
           std::chrono::milliseconds show_after = kShowAfter);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  static ssize_t write_message(void* cookie, const char* text, std::size_t size);
  static void stop_at_exit();
  void watch();
  void draw();
  void erase();
  void stop();

  std::string what_;
  std::uint64_t total_;
  std::function<std::uint64_t()> done_;
  std::chrono::milliseconds show_after_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  std::condition_variable wake_;
  bool is_stopping_ = false;
  bool is_drawn_ = false;
  bool is_at_line_start_ = true;         // of what others print
  std::FILE* standard_error_ = nullptr;  // as it was before
  std::thread thread_;
};

/// Watches how far a regular file has been read, by its offset; null for another, and where nothing is to be
/// drawn.
std::unique_ptr<Progress> watch_file(const std::string& name, int descriptor);

/// Watches a count that another thread may read; null where nothing is to be drawn.
std::unique_ptr<Progress> watch_count(const std::string& what, std::uint64_t total,
                                      std::function<std::uint64_t()> done);

}  // namespace quillon::tool
