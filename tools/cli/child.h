#pragma once
// Another program, run by this one.

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace quillon::tool {

/// A running program. Its standard input is empty, its standard output is read here, its standard error is
/// that of this program. It gets SIGTERM when this program ends, even by a signal. There is one at a time.
class Child {
 public:
  /// @param command    Path of the program, and its arguments.
  /// @param nlaunched  Number of programs that it starts and waits for, 0 if it works itself. When fewer of
  /// them
  ///                   have been running for ten seconds, all are killed: some versions of mpirun hang when
  ///                   a rank has died.
  Child(const std::vector<std::string>& command, std::size_t nlaunched);
  /// Ends the program if it still runs: with SIGTERM, and with SIGKILL five seconds later, which the programs
  /// that it has started get too.
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

  pid_t process_ = -1;
  int output_ = -1;
  std::size_t nlaunched_;
  bool has_launched_ = false;
  int nseconds_short_ = 0;  // since one of them was missing
};

/// Ends the running child, if there is one, as its destructor does. Safe in a signal handler.
void end_running_child();

/// What an exit status of `Child::wait` says, such as "exited with status 3" or "was killed (Segmentation
/// fault)".
std::string end_of_child(int status);

}  // namespace quillon::tool
