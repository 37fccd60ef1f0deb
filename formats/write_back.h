#pragma once
/// @file
/// Files on their way to the disk. Internal to `formats/`.

#include <condition_variable>
#include <mutex>
#include <thread>

namespace quillon::formats {

/// Has the system write a growing file to the disk while it grows, so that fsync finds little left to do. A
/// hint for speed, no effect on results.
class WriteBack {
 public:
  /// @param descriptor  Of a regular file; open until this object is gone.
  explicit WriteBack(int descriptor);
  ~WriteBack();
  WriteBack(const WriteBack&) = delete;
  WriteBack& operator=(const WriteBack&) = delete;

 private:
  void run();

  int descriptor_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_stopping_ = false;
  std::thread thread_;
};

}  // namespace quillon::formats
