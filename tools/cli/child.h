#pragma once
// Another program, run by this one.

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace quillon::tool {

/// A running program. Its standard input is empty, its standard output is read here, its standard error is
/// that of this program. It gets SIGTERM when this program ends, even by a signal.
class Child {
 public:
  /// @param command      Path of the program, and its arguments.
  /// @param is_launcher  It starts other programs and does nothing itself. It is killed when it stays for ten
  ///                     seconds after these have ended: some versions of mpirun hang when a rank has died.
  Child(const std::vector<std::string>& command, bool is_launcher);
  /// Ends the program if it still runs.
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Reads from its standard output.
  ///
  /// @return  Number of bytes; 0 at the end.
  std::size_t read(char* bytes, std::size_t size);

  /// Waits until it has ended.
  ///
  /// @return  Its exit status, or 128 + the number of the signal that killed it.
  int wait();

 private:
  void watch_launcher();
  int wait_for(int options);

  pid_t process_ = -1;
  int output_ = -1;
  bool is_launcher_;
  bool has_launched_ = false;
  int nseconds_alone_ = 0;  // after what it had launched
};

/// What an exit status of `Child::wait` says, such as "exited with status 3" or "was killed (Segmentation
/// fault)".
std::string end_of_child(int status);

}  // namespace quillon::tool
